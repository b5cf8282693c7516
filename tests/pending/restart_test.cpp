// What is left on the disk after the machine's own start has carried out the list.

#include "kit/kit.h"
#include "kit/restart.h"

namespace {

constexpr char kNoRestart[] = "only a real restart carries out the list here";

class PendingRestart : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        kit::PendingValue::Remove();
        AllowOpenHandles(); // the start program may leave some to the system's libraries
    }

    /** Copies over a file in use, which is closed afterwards. */
    void ReplaceLater(const std::string& path, const char* content = "new")
    {
        const kit::FileLock lock(path);
        DWORD restart = 77;
        EXPECT_EQ(0U, TARVO_CopyFileEx(Scratch().Make("source", content).c_str(), path.c_str(), FALSE, &restart));
        EXPECT_EQ(1U, restart) << path;
    }

    std::string MakeIn(const std::string& folder)
    {
        kit::WriteFile(folder + "\\tarvo-restart.tmp", folder);
        return folder + "\\tarvo-restart.tmp";
    }
};

TEST_F(PendingRestart, WhatIsScheduledLastCounts)
{
    // What this program does before the other one has the file deleted.
    void (*const turns[])(const char*) = {
        [](const char*) {},
        [](const char* path) { TARVO_RemovePendingFileOperation(path, path); },
        [](const char* path) {
            char source[MAX_PATH];
            EXPECT_EQ(2U, TARVO_FindSourceInPFOs(path, source, sizeof source));
        },
        [](const char* path) { TARVO_RenameAfterReboot((path + std::string("x")).c_str(), nullptr); },
    };
    CreateDirectoryA(Scratch().Path("p").c_str(), nullptr); // the source lies elsewhere, and is copied
    std::vector<std::string> files;
    for (const auto turn : turns) {
        files.push_back(Scratch().Make("p\\file" + std::to_string(files.size()), "old"));
        turn(files.back().c_str());
        EXPECT_TRUE(MoveFileExA(files.back().c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
        ReplaceLater(files.back());
    }
    if (!kit::CarryOutPending())
        GTEST_SKIP() << kNoRestart;
    for (const std::string& file : files)
        EXPECT_EQ("new", kit::FileExists(file) ? kit::ReadFile(file) : "gone") << file;
}

TEST_F(PendingRestart, NamesakeInTheOtherSystemFolderStays)
{
    const std::string native = MakeIn("C:\\windows\\Sysnative");
    const std::string own = MakeIn("C:\\windows\\System32");
    const std::string exempt = MakeIn("C:\\windows\\System32\\spool");
    for (const std::string& path : {own, exempt}) {
        const kit::FileLock lock(path);
        EXPECT_EQ(0U, TARVO_DeleteFileEx(path.c_str(), nullptr));
    }
    const bool restarted = kit::CarryOutPending();
    const std::string left = kit::FileExists(native) ? kit::ReadFile(native) : "gone";
    const bool ownIsLeft = DeleteFileA(own.c_str());
    const bool exemptIsLeft = DeleteFileA(exempt.c_str());
    DeleteFileA(native.c_str());
    if (!restarted)
        GTEST_SKIP() << kNoRestart;
    EXPECT_EQ("C:\\windows\\Sysnative", left);
    EXPECT_FALSE(ownIsLeft || exemptIsLeft);
}

TEST_F(PendingRestart, UninstalledProductStaysAway)
{
    const std::string log = Record();
    const std::string folder = Scratch().Path("product");
    EXPECT_EQ(0U, TARVO_CreateDirectory(folder.c_str()));
    for (const char* name : {"closed.exe", "gone.exe"}) {
        const std::string program = folder + "\\" + name;
        EXPECT_EQ(0U, TARVO_CopyFile(Scratch().Make("source", "1").c_str(), program.c_str(), FALSE));
        SetFileAttributesA(Scratch().Path("source").c_str(), FILE_ATTRIBUTE_READONLY);
        ReplaceLater(program, "2");
        SetFileAttributesA(Scratch().Path("source").c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    EXPECT_TRUE(kit::FileExists(folder + "\\closed.1") && DeleteFileA((folder + "\\gone.exe").c_str()));
    TARVO_StopUninstallLogging();
    EXPECT_EQ(0U, TARVO_OpenRollBackLog(log.c_str()));
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_FILES));
    EXPECT_EQ(0U, TARVO_CloseRollBackLog());
    EXPECT_EQ(kit::PendingValue::Pairs(), kit::PendingValue::Read());
    if (!kit::CarryOutPending())
        GTEST_SKIP() << kNoRestart;
    EXPECT_FALSE(kit::FileExists(folder));
}

} // namespace
