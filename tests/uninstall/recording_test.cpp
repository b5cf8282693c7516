// What a setup records: sections and lines of the uninstall log.

#include "uninstall/log_file.h"

namespace {

using Texts = std::vector<std::string>;

constexpr DWORD kOff = static_cast<DWORD>(-2);

class UninstallRecording : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_ = Scratch().Path("uninstall.log");
    }

    void Start() { EXPECT_EQ(0U, TARVO_StartUninstallLogging(log_.c_str(), "plug-in")); }

    std::string log_;
};

TEST_F(UninstallRecording, SectionsAndLines)
{
    Start();
    EXPECT_FALSE(kit::FileExists(log_)) << "starting makes no file";
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog(R"(C:\first)"));
    EXPECT_EQ(0U, TARVO_SetCustomUnInstallString("name", "value = 2"));
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("Own", "entry", "value", TRUE));
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("Own", "unused", "item", FALSE));
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("Own", nullptr, "item 2", FALSE));
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog(R"(C:\a=b\c d.txt)"));
    EXPECT_EQ(0U, TARVO_SetCustomUnInstallString("empty", ""));
    Texts lines = LogLines(log_);
    std::erase(lines, ""); // a writer may set sections apart
    EXPECT_EQ((Texts{"[Files]", R"(C:\first=1)", R"(C:\a=b\c d.txt=1)", "[Custom]", "name=value = 2", "empty=", "[Own]",
                     "entry=value", "item=1", "item 2=1"}),
              lines);
}

TEST_F(UninstallRecording, EachItemStandsOnOneLine)
{
    Start();
    for (const char* path : {R"(C:\first)", R"(C:\second)", R"(C:\first)", R"(c:\FIRST)"})
        EXPECT_EQ(0U, TARVO_AddFileToUninstallLog(path));
    EXPECT_EQ(2U, SectionLines(log_, "Files").size());
    EXPECT_EQ(R"(C:\second=1)", SectionLines(log_, "Files")[1]);
    for (const char* value : {"old", "new"})
        EXPECT_EQ(0U, TARVO_SetCustomUnInstallString("name", value));
    EXPECT_EQ(0U, TARVO_SetCustomUnInstallString("NAME", "newest"));
    ASSERT_EQ(1U, SectionLines(log_, "Custom").size());
    EXPECT_TRUE(SectionLines(log_, "Custom")[0].ends_with("=newest"));
}

TEST_F(UninstallRecording, OffRecordsNothingAndFailsNobody)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog(R"(C:\a)"));
    EXPECT_EQ(kOff, TARVO_StopUninstallLogging());
    EXPECT_EQ("Uninstall logging is not started", kit::LastMessage());
    Start();
    EXPECT_EQ(0U, TARVO_StopUninstallLogging());
    EXPECT_EQ(kOff, TARVO_StopUninstallLogging());
    EXPECT_EQ(0U, TARVO_SetCustomUnInstallString("name", "value"));
    EXPECT_EQ(2U, trace.Count("TARVO_AddRollbackEntry: No rollback log file."));
    EXPECT_TRUE(trace.HasEach({"Single entry: file=[] section=[Custom] entry=[name] value=[value]"}));
    Start();
    Reload();
    EXPECT_EQ(kOff, TARVO_StopUninstallLogging()) << "a fresh library does not record";
    EXPECT_FALSE(kit::FileExists(log_));
}

TEST_F(UninstallRecording, ReadOnlyLogIsMadeWritableAndKept)
{
    kit::WriteFile(log_, "[Files]\r\nold=1\r\n");
    SetFileAttributesA(log_.c_str(), FILE_ATTRIBUTE_READONLY);
    Start();
    EXPECT_EQ(0U, GetFileAttributesA(log_.c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog("new"));
    EXPECT_EQ((Texts{"old=1", "new=1"}), SectionLines(log_, "Files"));
}

TEST_F(UninstallRecording, StartThatFailsLeavesTheEarlierLog)
{
    const std::string second = Scratch().Make("second.log");
    SetFileAttributesA(second.c_str(), FILE_ATTRIBUTE_READONLY);
    Start();
    {
        const kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, ERROR_ACCESS_DENIED, FALSE);
        EXPECT_TRUE(kit::Gives(ERROR_ACCESS_DENIED, TARVO_StartUninstallLogging(second.c_str(), nullptr)));
    }
    EXPECT_EQ(87U, TARVO_StartUninstallLogging(nullptr, nullptr));
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog("item"));
    EXPECT_EQ(Texts{"item=1"}, SectionLines(log_, "Files"));
}

TEST_F(UninstallRecording, MissingTextsLeaveTheLogAsItIs)
{
    Start();
    EXPECT_EQ(0U, TARVO_AddRollbackEntry("Own", "entry", "value", TRUE));
    const Texts before = LogLines(log_);
    EXPECT_EQ(87U, TARVO_AddRollbackEntry(nullptr, "entry", "value", TRUE));
    EXPECT_EQ(87U, TARVO_AddRollbackEntry("Own", nullptr, "value", TRUE));
    EXPECT_EQ(87U, TARVO_AddRollbackEntry("Own", "entry", nullptr, TRUE));
    EXPECT_EQ(87U, TARVO_AddRollbackEntry("Own", "entry", nullptr, FALSE));
    EXPECT_EQ(87U, TARVO_AddFileToUninstallLog(nullptr));
    EXPECT_EQ(87U, TARVO_SetCustomUnInstallString(nullptr, "value"));
    EXPECT_TRUE(kit::Gives(87, TARVO_SetCustomUnInstallString("name", nullptr)));
    EXPECT_EQ(before, LogLines(log_));
}

TEST_F(UninstallRecording, FailureToWriteIsOnlyTraced)
{
    Start();
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    const kit::ImportHook write("WritePrivateProfileStringA", &WritePrivateProfileStringA, ERROR_DISK_FULL, FALSE);
    EXPECT_EQ(0U, TARVO_AddFileToUninstallLog("item"));
    EXPECT_EQ(0U, TARVO_CreateRegistryEntry((Key().Locator("k") + R"(\\name|data)").c_str(), REG_SZ, FALSE));
    EXPECT_TRUE(kit::ReadValue(Key().Path("k"), "name"));
    EXPECT_EQ(3U, trace.Count("TARVO_AddRollbackEntry: WritePrivateProfileString() failed with error code [112]"));
    EXPECT_EQ("", kit::LastMessage());
}

} // namespace
