// The three ways to start the log: which file, when, and what it begins with.

#include "frame/start_fixture.h"

#include <regex>

namespace {

using TraceStart = StartTest;

TEST_F(TraceStart, WithoutConfigLinesCarrySeverityAndTime)
{
    TARVO_StartDebugLogging();
    TARVO_SetLanguage();
    const auto log = Log();
    ASSERT_EQ(6U, log.size());
    const std::string columns = R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d\t)";
    const std::string expected[] = {"0\t" + columns, // the banner's first line is empty
                                    "\\*{30}",
                                    "0\t" + columns + "TARVO\\.DLL version 10\\.0\\.176",
                                    "1\t" + columns + "\\{ TARVO_SetLanguage",
                                    "3\t" + columns + "   Function TARVO_SetLanguage error: \\[1\\] \\(.+\\)",
                                    "1\t" + columns + "\\} TARVO_SetLanguage"};
    for (size_t index = 0; index < log.size(); ++index)
        EXPECT_TRUE(std::regex_match(log[index], std::regex(expected[index]))) << log[index];
}

TEST_F(TraceStart, ADeclaredSetupStartsItByTheSecondExportAlone)
{
    TARVO_LoadedInSetup();
    TARVO_StartDebugLogging();
    EXPECT_FALSE(kit::FileExists(LogPath()));
    TARVO_StartDebugLogging2();
    EXPECT_EQ(1, CountBanners(LogPath()));
}

TEST_F(TraceStart, LogAboveTheSizeLimitIsDeleted)
{
    const std::string log = Scratch().Make("TARVO.log", std::string(10 * 1024 * 1024 + 1, 'x'));
    TARVO_StartDebugLogging();
    EXPECT_GT(1000U, kit::ReadFile(log).size());
    EXPECT_EQ(1, CountBanners(log));
}

TEST_F(TraceStart, LogThatCannotBeOpenedIsNoError)
{
    CreateDirectoryA(LogPath().c_str(), nullptr);
    TARVO_StartDebugLogging();
    EXPECT_EQ(1U, TARVO_SetLanguage());
}

/** The fixture without its moved folders. */
using TraceStartPlaces = kit::LibraryTest;

TEST_F(TraceStartPlaces, LogIsInTheWindowsDirectoryConfigBesideTheProgram)
{
    char windows[MAX_PATH] = {};
    GetWindowsDirectoryA(windows, sizeof windows);
    const std::string log = std::string(windows) + "\\TARVO.log";
    const std::string config = kit::ProgramFolder() + "\\TARVO.cfg";
    const bool logWasThere = kit::FileExists(log);
    const size_t before = logWasThere ? kit::ReadFile(log).size() : 0;
    kit::WriteFile(config, "nid\n");
    TARVO_StartDebugLogging();
    EXPECT_TRUE(kit::ReadFile(log).substr(before).starts_with("ts \r\n0\t\r\n***"));
    Reload(); // closes the configuration file
    EXPECT_TRUE(DeleteFileA(config.c_str()));
    if (!logWasThere) {
        EXPECT_TRUE(DeleteFileA(log.c_str()));
    }
}

using TraceRunTimeStart = StartTest;

TEST_F(TraceRunTimeStart, FoldersAreMadeAndFilesSwitched)
{
    TARVO_StartDebugLoggingRunTime(Scratch().Path("a\\b\\my.txt").c_str(), 0);
    TARVO_StartDebugLoggingRunTime(Scratch().Path("folder\\").c_str(), 0);
    const std::string first = kit::ReadFile(Scratch().Path("a\\b\\my.txt"));
    TARVO_SetLanguage();
    EXPECT_EQ(1, CountBanners(Scratch().Path("a\\b\\my.txt")));
    EXPECT_EQ(first, kit::ReadFile(Scratch().Path("a\\b\\my.txt")));
    EXPECT_EQ(1, CountBanners(Scratch().Path("folder\\tarvo.log"))) << "a folder gets its own log";
    EXPECT_NE(std::string::npos, kit::ReadFile(Scratch().Path("folder\\tarvo.log")).find("{ TARVO_SetLanguage"));
}

TEST_F(TraceRunTimeStart, NoPathIsTheCommonFolder)
{
    kit::ImportHook folder("SHGetFolderPathA", reinterpret_cast<HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, char*)>(0));
    folder.Answer([this](HWND, int number, HANDLE, DWORD, char* path) {
        EXPECT_EQ(0x23, number & 0xFF);
        snprintf(path, MAX_PATH, "%s", Scratch().Path("common").c_str());
        return S_OK;
    });
    const std::string log = Scratch().Path("common\\Velmora\\Logs\\Setup\\tarvo.log");
    TARVO_StartDebugLoggingRunTime(nullptr, 0);
    EXPECT_EQ(1, CountBanners(log));
    TARVO_StartDebugLoggingRunTime("", 0);
    EXPECT_EQ(2, CountBanners(log));
}

TEST_F(TraceRunTimeStart, OverwriteEmptiesAFileAndZeroAddsToIt)
{
    const std::string log = Scratch().Make("log", "before");
    TARVO_StartDebugLoggingRunTime(log.c_str(), 0);
    EXPECT_TRUE(kit::ReadFile(log).starts_with("before0\t"));
    TARVO_StartDebugLoggingRunTime(Scratch().Path("other").c_str(), 0);
    TARVO_StartDebugLoggingRunTime(log.c_str(), 1);
    EXPECT_TRUE(kit::ReadFile(log).starts_with("0\t"));
}

TEST_F(TraceRunTimeStart, PathsWithoutRoomAreRefused)
{
    const kit::TraceLog log(Scratch().Path("log"));
    for (const size_t length : {259, 260, 300, 5000, 1000000}) {
        const std::string longName(length, 'x');
        TARVO_StartDebugLoggingRunTime(longName.c_str(), 0);
        TARVO_StartDebugLoggingRunTime((longName + "\\").c_str(), 0);
        TARVO_StartDebugLoggingRunTime((Scratch().Path() + "\\" + longName).c_str(), 0);
    }
    EXPECT_EQ(1U, TARVO_SetLanguage());
}

} // namespace
