// The uninstall log as it is written: the bytes of the platform's own writer, whole whenever the setup is killed.

#include <random>

#include "kit/kit.h"

namespace {

using LogWriter = kit::LibraryTest;

/** Random records, given to the library and to the platform's private-profile writer alike. */
class TwoLogs {
public:
    TwoLogs(unsigned seed, std::string ours, std::string theirs)
        : random_(seed), ours_(std::move(ours)), theirs_(std::move(theirs))
    {
    }

    void Record()
    {
        const std::string section =
            Pick({"Things", "things", "Registry entries", "Services", "Custom", "Custom", "Other one"});
        const std::string key = Pick({"C:\\dir\\", "HKEY_LOCAL_MACHINE\\a\\", "n"}) + std::to_string(Below(40)) +
                                Pick({"", "\\\\name", ".TXT", ".txt", ";", "]"});
        // A custom value may hold "=", and its line is then no item's.
        if (section == "Custom") {
            const std::string value = Pick({"", "1", "two words", "[x]", "; y", "a=b", "=", "long "}) +
                                      std::string(Below(60) == 0 ? 5000 : 1, 'v');
            EXPECT_EQ(0U, TARVO_AddRollbackEntry(section.c_str(), key.c_str(), value.c_str(), TRUE));
            ByPlatform(theirs_, section, key, value);
        } else {
            EXPECT_EQ(0U, TARVO_AddRollbackEntry(section.c_str(), nullptr, key.c_str(), FALSE));
            ByPlatform(theirs_, section, key, "1");
        }
        if (Below(30) == 0) { // another writer comes between
            ByPlatform(ours_, "Services", key, "0");
            ByPlatform(theirs_, "Services", key, "0");
        }
    }

private:
    static void ByPlatform(const std::string& file, const std::string& section, const std::string& key,
                           const std::string& value)
    {
        WritePrivateProfileStringA(section.c_str(), key.c_str(), value.c_str(), file.c_str());
    }

    unsigned Below(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }
    std::string Pick(const std::vector<const char*>& texts)
    {
        return texts[Below(static_cast<unsigned>(texts.size()))];
    }

    std::mt19937 random_;
    std::string ours_;
    std::string theirs_;
};

TEST_F(LogWriter, BytesAreThoseOfThePlatformsWriter)
{
    AllowOpenHandles(); // the platform's writer keeps some
    const std::string ours = Record();
    for (const unsigned seed : {1U, 2U, 3U}) {
        const std::string theirs = Scratch().Path("theirs" + std::to_string(seed) + ".ini");
        DeleteFileA(ours.c_str());
        TwoLogs logs(seed, ours, theirs);
        for (int step = 1; step <= 300; ++step) {
            logs.Record();
            if (step % 20 == 0) {
                ASSERT_EQ(kit::ReadFile(theirs), kit::ReadFile(ours)) << "seed " << seed << ", step " << step;
            }
        }
    }
}

TEST_F(LogWriter, FilesOfOthersKeepWhatTheyHold)
{
    struct Row {
        const char* fact;
        std::string before;
        const char* section;
        const char* item;
        std::string after;
    };
    const std::string wide("\xFF\xFE[\0O\0l\0d\0]\0\r\0\n\0", 16);
    const Row rows[] = {
        {"no line end at the end", "[A]\r\nx=1", "A", "y", "[A]\r\nx=1\r\ny=1\r\n"},
        {"no line end, new section", "[A]\r\nx=1", "B", "y", "[A]\r\nx=1\r\n[B]\r\ny=1\r\n"},
        {"in front of the blank lines", "[A]\r\nx=1\r\n\r\n[B]\r\n", "A", "y", "[A]\r\nx=1\r\ny=1\r\n\r\n[B]\r\n"},
        {"the first of two sections", "[A]\r\n[B]\r\n[a]\r\n", "A", "y", "[A]\r\ny=1\r\n[B]\r\n[a]\r\n"},
        {"line feeds, comments, a preamble", "pre\n;c\n[A]\n; d\nX = 2\n", "A", "y",
         "pre\n;c\n[A]\n; d\nX = 2\ny=1\r\n"},
        {"an item in other letters keeps its line", "[A]\r\nX=0\r\nz=1\r\n", "A", "x", "[A]\r\nX=1\r\nz=1\r\n"},
        {"items that differ behind an equals sign", "[A]\r\na=b=1\r\n", "A", "a", "[A]\r\na=b=1\r\na=1\r\n"},
        {"an item with an equals sign stands once", "[A]\r\na=b=1\r\n", "A", "A=B", "[A]\r\na=b=1\r\n"},
        {"blanks at an item's end", "[A]\r\nn=1\r\n", "A", "n ", "[A]\r\nn=1\r\nn =1\r\n"},
        {"wide text stays wide", wide, "Old", "y", wide + std::string("y\0=\0001\0\r\0\n\0", 10)},
    };
    AllowOpenHandles(); // the platform's writer keeps some
    const std::string log = Record();
    for (const Row& row : rows) {
        kit::WriteFile(log, row.before);
        EXPECT_EQ(0U, TARVO_AddRollbackEntry(row.section, nullptr, row.item, FALSE));
        EXPECT_EQ(row.after, kit::ReadFile(log)) << row.fact;
    }
}

TEST_F(LogWriter, LogThatTookAnothersPlaceIsReadAgain)
{
    const std::string log = Record();
    kit::ImportHook times("GetFileTime", &GetFileTime);
    times.Answer([](HANDLE, FILETIME* created, FILETIME*, FILETIME* written) { // Wine lets nobody set the first
        return *created = *written = {}, TRUE;
    });
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("A", nullptr, "ours", FALSE));
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("B", nullptr, "b", FALSE));
    const std::string other = Scratch().Path("other.ini");
    kit::WriteFile(other, "[A]\r\nhers=1\r\n[B]\r\nb=1\r\n");
    EXPECT_TRUE(MoveFileExA(other.c_str(), log.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("A", nullptr, "new", FALSE));
    EXPECT_EQ("[A]\r\nhers=1\r\nnew=1\r\n[B]\r\nb=1\r\n", kit::ReadFile(log));
}

/** How far a recording child has come: whether it is at the moment to be killed, calls begun and finished. */
struct Progress {
    volatile LONG ready;
    volatile LONG begun;
    volatile LONG finished;
};

/** The same memory in parent and child. */
class SharedProgress {
public:
    SharedProgress()
        : mapping_(
              CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Progress), "tarvo-kill")),
          view_(static_cast<Progress*>(MapViewOfFile(mapping_, FILE_MAP_WRITE, 0, 0, 0)))
    {
    }
    ~SharedProgress()
    {
        UnmapViewOfFile(view_);
        CloseHandle(mapping_);
    }
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;
    Progress* operator->() const { return view_; }

private:
    HANDLE mapping_;
    Progress* view_;
};

/** The same program as it records; killed in the midst of things when this goes away. */
class RecordingChild {
public:
    /** Returns once the child is ready, or has ended. */
    RecordingChild(const std::string& argument, const SharedProgress& progress)
    {
        char program[MAX_PATH] = {};
        GetModuleFileNameA(nullptr, program, sizeof program);
        std::string line = std::string(program) + " --child record \"" + argument + "\"";
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        EXPECT_TRUE(
            CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child_));
        while (!progress->ready && WaitForSingleObject(child_.hProcess, 1) == WAIT_TIMEOUT) {
        }
    }
    ~RecordingChild()
    {
        TerminateProcess(child_.hProcess, 99);
        WaitForSingleObject(child_.hProcess, 10000);
        CloseHandle(child_.hThread);
        CloseHandle(child_.hProcess);
    }
    RecordingChild(const RecordingChild&) = delete;
    RecordingChild& operator=(const RecordingChild&) = delete;

private:
    PROCESS_INFORMATION child_ = {};
};

[[noreturn]] void StopHere()
{
    SharedProgress()->ready = 1;
    Sleep(INFINITE);
    abort();
}

std::string FileName(LONG number)
{
    return "file-" + std::string(60, 'x') + std::to_string(number);
}

/** Stops for good at the n-th call of a function, after doing part of its work if that is a write. */
void StopAt(const std::string& function, int n)
{
    static int left;
    left = n;
    if (function == "MoveFileExA") {
        static kit::ImportHook move("MoveFileExA", &MoveFileExA);
        move.Answer([](const char* from, const char* to, DWORD flags) {
            if (--left == 0)
                StopHere();
            return move.Original()(from, to, flags);
        });
    } else if (function == "WriteFile") {
        static kit::ImportHook write("WriteFile", &WriteFile);
        write.Answer([](HANDLE file, const void* bytes, DWORD size, DWORD* written, OVERLAPPED* overlapped) {
            // A write that the system may tear is one of more than a page.
            if (--left <= 0 && size > 4096)
                write.Original()(file, bytes, 4096, written, overlapped), StopHere();
            return write.Original()(file, bytes, size, written, overlapped);
        });
    }
}

const kit::ChildRole recorder("record", [](const std::string& argument) {
    const kit::Library library;
    const SharedProgress progress;
    const size_t bar = argument.find('|');
    const size_t colon = argument.find(':', bar);
    const std::string folder = argument.substr(0, bar);
    TARVO_StartUninstallLogging((folder + "\\uninstall.ini").c_str(), nullptr);
    if (colon != std::string::npos)
        StopAt(argument.substr(bar + 1, colon - bar - 1), std::stoi(argument.substr(colon + 1)));
    else
        progress->ready = 1;
    for (LONG number = 0; number < 150; ++number) {
        progress->begun = number + 1;
        TARVO_CopyFile((folder + "\\source").c_str(), (folder + "\\" + FileName(number)).c_str(), TRUE);
        if (number % 3 == 0) // a section in front of another one: not all lines come to the end
            TARVO_SetCustomUnInstallString(("n" + std::to_string(number)).c_str(), "value");
        progress->finished = number + 1;
    }
});

TEST_F(LogWriter, KilledSetupLeavesAWholeLog)
{
    AllowOpenHandles(); // the system lets go of killed children in its own time
    const SharedProgress progress;
    std::vector<std::string> moments;
    for (int n = 0; n < 60; ++n) // spread over the run, then amid a record
        moments.push_back(n < 40 ? std::to_string(n)
                                 : (n < 50 ? "MoveFileExA:" : "WriteFile:") + std::to_string(1 + (n % 10) * 7));
    for (const std::string& moment : moments) {
        SCOPED_TRACE(moment);
        kit::ScratchFolder folder;
        folder.Make("source");
        folder.Make("foreign");
        progress->ready = 0;
        progress->begun = 0;
        progress->finished = 0;
        {
            const bool stops = moment.find(':') != std::string::npos;
            const RecordingChild child(folder.Path() + (stops ? "|" + moment : "|"), progress);
            if (!stops)
                Sleep(static_cast<DWORD>(std::stoi(moment)));
        } // killed
        std::string log;
        if (kit::FileExists(folder.Path("uninstall.ini")))
            log = kit::ReadFile(folder.Path("uninstall.ini"));
        EXPECT_TRUE(log.empty() || log.ends_with("\r\n")) << log.substr(log.size() - 100);
        for (LONG number = 0; number < progress->finished; ++number)
            EXPECT_NE(std::string::npos, log.find(folder.Path(FileName(number)) + "=1\r\n")) << number;
        if (!log.empty()) {
            EXPECT_EQ(0U, TARVO_OpenRollBackLog(folder.Path("uninstall.ini").c_str()));
            EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_FILES));
            EXPECT_EQ(0U, TARVO_CloseRollBackLog());
        }
        int left = 0;
        for (LONG number = 0; number < progress->begun; ++number)
            left += kit::FileExists(folder.Path(FileName(number)));
        EXPECT_LE(left, 1);
        EXPECT_TRUE(kit::FileExists(folder.Path("foreign")));
    }
}

} // namespace
