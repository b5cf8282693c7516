// The trace log itself, the library's own exports and the text of the last failure, against their records.

#include <fstream>

#include "kit/kit.h"

namespace {

using namespace std::string_literals;
using FrameRecords = kit::BehaviorTest;
using kit::Stage;

/** Where the classic start looks, cleared before and after, with a configuration. The clock and the thread are told. */
class LogPlaces {
public:
    explicit LogPlaces(Stage& stage, std::string_view config = {})
        : time_("GetLocalTime", &GetLocalTime), ticks_("GetTickCount", &GetTickCount),
          thread_("GetCurrentThreadId", &GetCurrentThreadId)
    {
        char windows[MAX_PATH] = {};
        GetWindowsDirectoryA(windows, sizeof windows);
        log_ = std::string(windows) + "\\TARVO.log";
        stage.HideText(log_, "<windows>\\TARVO.log"); // "<windows>" alone would stand in other paths
        stage.HideText(windows, "<windows>");
        Clear();
        if (!config.empty())
            WriteConfig(config);
        time_.Answer([this](SYSTEMTIME* time) { *time = time_now; });
        ticks_.Answer([this] { return tick; });
        thread_.Answer([] { return DWORD{0xBEEF}; });
    }
    ~LogPlaces() { Clear(); }

    const std::string& Log() const { return log_; }
    std::string Content() const { return kit::FileExists(log_) ? kit::ReadFile(log_) : ""; }
    std::vector<std::string> Lines() const { return kit::SplitLines(Content()); }
    static std::string Program(const std::string& name) { return kit::ProgramFolder() + "\\" + name; }
    /** Others, too, may have the file open. */
    static void WriteConfig(std::string_view content)
    {
        std::ofstream(Program("TARVO.cfg"), std::ios::binary) << content;
    }

    SYSTEMTIME time_now = {2024, 5, 1, 6, 7, 8, 9, 0}; // the sixth of May
    DWORD tick = 0xFFFFFF00;                           // runs over before long

private:
    void Clear() const
    {
        for (const std::string& path : {log_, Program("TARVO.cfg"), Program("TARVO.log"), Program("my.log")})
            DeleteFileA(path.c_str());
    }

    std::string log_;
    kit::ImportHook<decltype(&GetLocalTime)> time_;
    kit::ImportHook<decltype(&GetTickCount)> ticks_;
    kit::ImportHook<decltype(&GetCurrentThreadId)> thread_;
};

const std::pair<const char*, std::string> kConfigs[] = {
    {"an empty line leaves the severity", "\n"},
    {"tid", "tid"},
    {"dt", "dt\r\n"},
    {"columns keep their own order", "tc\ndt\ntid\n"},
    {"notrace leaves the header", "notrace\n"},
    {"the first key of the table decides, not of the line", "tl = 0 dt notrace\n"},
    {"tf to a name with dt is the key dt", "tf = dt.log\n"},
    {"a key inside a word", "Mostly = 0\n"},
    {"a comment", "#notrace\n"},
    {"comment signs count in the first place alone", " #notrace\n"},
    {"tl hides lines of more detail", "tl = 0\n"},
    {"tl without blanks", "tl=0"},
    {"tl below 0 hides all", "tl = -1\n"},
    {"a number ends where it is none", "tl =   0x1\n"},
    {"no =", "tl 0\n"},
    {"nothing behind =", "tl =   \n"},
    {"ts selects errors", "ts = 1\n"},
    {"nid takes the indentation away", "ts = 1\nnid\n"},
    {"ts selects warnings", "ts = 2\n"},
    {"the last line of a key counts", "tl = 0\ntl = 1\n"},
    {"a line of 5000 bytes", std::string(5000, 'x') + "\nts = 8\n"},
};

TEST_F(FrameRecords, Configuration)
{
    Open("frame/configuration");
    for (const auto& [fact, config] : kConfigs) {
        Case(fact, {.failures = false, .allocations = false, .ownLog = true}, [&config = config](Stage& stage) {
            const LogPlaces places(stage, config);
            TARVO_StartDebugLogging2();
            const size_t banner = places.Lines().size();
            TARVO_GetTarvoDllInstance();
            TARVO_SetLanguage();
            TARVO_GetLastErrorMessage(nullptr, 0);
            const auto lines = places.Lines();
            stage.Tell("header", kit::Quoted(lines.at(0) + (banner > 1 ? "|" + lines.at(1) : "")));
            stage.Tell(std::to_string(lines.size() - banner) + " lines",
                       kit::Quoted(lines.size() > banner ? lines[banner] : ""));
        });
    }
}

TEST_F(FrameRecords, Output)
{
    Open("frame/output");
    for (const char* file : {"my.log", "my.log, a+", "my.log,a", "my.log,", "my.log, wb", "my.log, r+", "my.log, q",
                             "my.log, w++++++", "the open log"}) {
        Case("tf = "s + file, {.failures = false, .allocations = false, .ownLog = true}, [&](Stage& stage) {
            const LogPlaces places(stage);
            LogPlaces::WriteConfig("tf =   " + (file == "the open log"s ? places.Log() : file) + "\n");
            kit::WriteFile(LogPlaces::Program("my.log"), "old\n");
            stage.Call(&TARVO_StartDebugLogging2);
            stage.TellFile(LogPlaces::Program("my.log"));
        });
    }
}

TEST_F(FrameRecords, ClassicStart)
{
    constexpr Ways kOwnLog = {.allocations = false, .ownLog = true};
    Open("frame/classic_start");
    Case("without a configuration; a second start does nothing", kOwnLog, [](Stage& stage) {
        LogPlaces places(stage);
        stage.Call(&TARVO_StartDebugLogging);
        stage.Call(&TARVO_StartDebugLogging2);
        stage.Call(&TARVO_CloseRollBackLog);
        places.time_now = {2103, 12, 0, 31, 23, 59, 58, 999};
        places.tick += 16;
        stage.Call(&TARVO_CloseRollBackLog);
        stage.TellFile(places.Log());
    });
    Case("with a configuration", kOwnLog, [](Stage& stage) {
        const LogPlaces places(stage, "tc\ntfr = 2\n");
        stage.Call(&TARVO_StartDebugLogging2);
        stage.TellFile(places.Log());
    });
    Case("after a declared setup the second export starts it", {.failures = false, .ownLog = true}, [](Stage& stage) {
        const LogPlaces places(stage);
        stage.Call(&TARVO_LoadedInSetup);
        stage.Call(&TARVO_StartDebugLogging);
        stage.Call(&TARVO_StartDebugLogging2);
    });
    for (const LONG size : {10485760, 10485761}) {
        Case("a log of " + std::to_string(size) + " bytes", kOwnLog, [size](Stage& stage) {
            const LogPlaces places(stage);
            stage.Hide(DWORD(size), size == 10485760 ? "<10 MiB>" : "<10 MiB and 1>"); // not for an address
            kit::WriteFile(places.Log(), std::string(static_cast<size_t>(size), '\0'));
            stage.Call(&TARVO_StartDebugLogging2);
            const size_t now = places.Content().size();
            stage.Tell(now > 10485760 ? "kept, behind it" : "new", std::to_string(now % 10485760) + " bytes");
        });
    }
    Case("the configuration is read again when due", {.failures = false, .ownLog = true}, [](Stage& stage) {
        static int reads;
        reads = 0;
        using ReadLine = char*(__cdecl*)(char*, int, FILE*);
        const ReadLine count = [](char* line, int size, FILE* file) { return ++reads, fgets(line, size, file); };
        const kit::ImportPatch patch(kit::HookedModule(), "fgets", reinterpret_cast<void*>(count));
        LogPlaces places(stage, "tfr = 2\n");
        TARVO_StartDebugLogging2();
        LogPlaces::WriteConfig("tfr = -3\ntl = 0\n");
        for (const DWORD later : {0, 1999, 1, 0, 100000}) {
            places.tick += later;
            const size_t before = places.Lines().size();
            TARVO_GetTarvoDllInstance();
            stage.Tell("after " + std::to_string(later),
                       std::to_string(places.Lines().size() - before) + " lines, reads " + std::to_string(reads));
        }
    });
    Case("a configuration that names a log gets a title's line into it", {.failures = false, .ownLog = true},
         [](Stage& stage) {
             LogPlaces places(stage, "tfr = 2\ntf = no folder\\no file\n");
             TARVO_StartDebugLogging2();
             const std::string log = Stage::Folder("new.log");
             LogPlaces::WriteConfig("tf = " + log + "\n");
             places.tick += 2000;
             TARVO_GetLastErrorMessage(nullptr, 0);
             stage.TellFile(log);
         });
}

TEST_F(FrameRecords, RunTimeStart)
{
    constexpr Ways kOwnLog = {.allocations = false, .ownLog = true};
    Open("frame/run_time_start");
    Case("missing folders are made; each call writes a banner", kOwnLog, [](Stage& stage) {
        const LogPlaces places(stage);
        const std::string log = Stage::Folder("a\\my.txt");
        stage.Call(&TARVO_StartDebugLoggingRunTime, log, 0);
        stage.Call(&TARVO_StartDebugLoggingRunTime, log, 1);
        stage.TellFile(log);
    });
    Case("a folder's log is tarvo.log, emptied on demand", kOwnLog, [](Stage& stage) {
        const LogPlaces places(stage, "notrace\n"); // is not read
        const std::string log = Stage::File("tarvo.log", "before");
        stage.Call(&TARVO_StartDebugLoggingRunTime, Stage::Folder() + "\\", 1);
        stage.TellFile(log);
    });
    Case("a bare name lies beside the program; the log is added to", kOwnLog, [](Stage& stage) {
        const LogPlaces places(stage);
        kit::WriteFile(LogPlaces::Program("my.log"), "before\n");
        stage.Call(&TARVO_StartDebugLoggingRunTime, "my.log", 0);
        stage.TellFile(LogPlaces::Program("my.log"));
    });
    for (const std::string path : {"", "NULL"}) {
        Case("without a path it lies in the common folder: " + path, kOwnLog, [&](Stage& stage) {
            const LogPlaces places(stage);
            using GetFolder = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, char*);
            kit::ImportHook folder("SHGetFolderPathA", GetFolder());
            folder.Answer([](HWND, int, HANDLE, DWORD, char* place) {
                return strcpy(place, Stage::Folder("common").c_str()), S_OK;
            });
            stage.Call(&TARVO_StartDebugLoggingRunTime, path.empty() ? "" : nullptr, 0);
            stage.TellFolder();
        });
    }
    Case("a path without room leaves no log open", {.failures = false, .ownLog = true}, [](Stage& stage) {
        const LogPlaces places(stage);
        TARVO_StartDebugLoggingRunTime(Stage::Folder("log").c_str(), 0);
        for (const size_t length : {259, 260, 300, 5000, 1000000}) {
            const std::string name(length, 'x');
            TARVO_StartDebugLoggingRunTime((name + "\\").c_str(), 0);
            TARVO_StartDebugLoggingRunTime(Stage::Folder(name).c_str(), 0);
        }
        TARVO_SetLanguage();
        stage.TellFile(Stage::Folder("log"));
    });
}

TEST_F(FrameRecords, Lines)
{
    constexpr Ways kOnce = {.failures = false, .allocations = false, .ownLog = true};
    Open("frame/lines");
    Case("a message is cut to 1023 bytes", kOnce, [](Stage& stage) {
        const LogPlaces places(stage, "ts = 4\n"); // no error's text: each system's is as long as it is
        TARVO_StartDebugLogging2();
        const size_t before = places.Content().size();
        TARVO_OpenRollBackLog(std::string(1000000, 'x').c_str());
        for (const std::string& line : kit::SplitLines(places.Content().substr(before)))
            stage.Tell(std::to_string(line.size()) + " bytes", kit::Quoted(line.substr(0, 20)));
    });
    Case("writing a line leaves the last error as it was", kOnce, [](Stage& stage) {
        const LogPlaces places(stage, "dt\ntfr = 1\n");
        TARVO_StartDebugLogging2();
        kit::ImportHook write("WriteFile", &WriteFile, ERROR_DISK_FULL, FALSE);
        SetLastError(1234);
        TARVO_GetTarvoDllInstance();
        stage.Tell("last error", std::to_string(GetLastError()) + ", lines " + std::to_string(write.Calls()));
    });
    Case("arguments are no formats", {.failures = false, .allocations = false},
         [](Stage& stage) { stage.Call(&TARVO_CreateDirectory, "%n%n%s%s%1000000d%x"); });
}

TEST_F(FrameRecords, Messages)
{
    Open("frame/messages");
    Case("a failure's text outlives success, but not the next failure", [](Stage& stage) {
        stage.HideText(kit::SystemText(ERROR_INVALID_FUNCTION), "<text of 1>");
        stage.Call(&TARVO_GetLastErrorMessage, stage.Text("buffer", 40), 40);
        stage.Call(&TARVO_SetLanguage);
        stage.Call(&TARVO_GetString, 5, nullptr, 10);
        stage.Call(&TARVO_GetLastErrorMessage, stage.Text("buffer", 40), 40);
        stage.Call(&TARVO_CloseRollBackLog);
        for (const int size : {24, 23, 22, 10, 1, 0, -1})
            stage.Call(&TARVO_GetLastErrorMessage, stage.Text("buffer", 26), size);
        stage.Call(&TARVO_GetLastErrorMessage, nullptr, 10);
    });
    Case("there are no texts but one", {.failures = false, .allocations = false}, [](Stage& stage) {
        for (const int size : {39, 38, 37, 1, 0, -1})
            stage.Call(&TARVO_GetString, -5, stage.Text("buffer", 40), size);
    });
    Case("the system's text is asked for on one line, and cut to 1023 bytes", {.failures = false}, [](Stage& stage) {
        kit::ImportHook format("FormatMessageA", &FormatMessageA);
        format.Answer([&](DWORD flags, const void*, DWORD code, DWORD language, char* buffer, DWORD, va_list*) {
            stage.Tell("flags, code, language",
                       std::to_string(flags) + " " + std::to_string(code) + " " + std::to_string(language));
            auto* const text = static_cast<char*>(LocalAlloc(LPTR, 2001));
            memset(text, 'm', 2000);
            memcpy(buffer, &text, sizeof text);
            return DWORD{2000};
        });
        TARVO_SetLanguage();
        stage.Tell("kept", std::to_string(kit::LastMessage().size()));
        format.FailAll(ERROR_NOT_ENOUGH_MEMORY, 0);
        stage.Call(&TARVO_SetLanguage);
    });
    Case("the library tells its instance; a declared setup tells nothing", [](Stage& stage) {
        stage.Hide(reinterpret_cast<DWORD>(kit::HookedModule()), "<instance>");
        const HINSTANCE instance = stage.Call(&TARVO_GetTarvoDllInstance);
        stage.Tell("the system's", instance == kit::HookedModule() ? "yes" : "no");
        stage.Call(&TARVO_LoadedInSetup);
    });
}

} // namespace
