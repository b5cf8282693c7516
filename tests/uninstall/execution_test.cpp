// The uninstall run: what is removed, in which order, and what is read back.

#include <algorithm>

#include "uninstall/log_file.h"

namespace {

using Texts = std::vector<std::string>;

constexpr DWORD kNotOpen = static_cast<DWORD>(-2);

class UninstallExecution : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        kit::PendingValue::Remove();
        log_ = Scratch().Make("uninstall.log", "");
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(log_.c_str()));
    }

    /** Writes a log of one section, runs its step and keeps what the step says of the items. */
    Texts Run(DWORD operation, const char* section, const Texts& lines)
    {
        std::string content = "[" + std::string(section) + "]\r\n";
        for (const std::string& line : lines)
            content += line + "\r\n";
        kit::WriteFile(log_, content);
        return Run(operation);
    }

    Texts Run(DWORD operation)
    {
        const kit::TraceLog trace(Scratch().Path("trace.log"));
        EXPECT_EQ(0U, TARVO_PerformUnInstall(operation));
        Texts said;
        for (const std::string& line : trace.Messages()) {
            for (const char* beginning : {"Deleting f", "Deleting d", "File or directory [", "Reboot needed",
                                          "Marking ", "Trying ", "File deleting", "Did not find"}) {
                if (line.starts_with(beginning))
                    said.push_back(line);
            }
        }
        return said;
    }

    Texts RunFiles(const Texts& lines) { return Run(TARVO_UNINSTALL_FILES, "Files", lines); }

    std::string MakeFolder(const std::string& name)
    {
        CreateDirectoryA(Scratch().Path(name).c_str(), nullptr);
        return Scratch().Path(name);
    }

    std::string log_;
};

const std::string kTrying = "Trying to delete the directory...";
const std::string kFailed = "Deleting failed.";

TEST_F(UninstallExecution, OperationCodes)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    for (const DWORD operation : {0UL, 199UL, 206UL, 0xFFFFFFFFUL})
        EXPECT_TRUE(kit::Gives(87, TARVO_PerformUnInstall(operation))) << operation;
    EXPECT_TRUE(trace.HasEach({"Operation=[199]"}));
    for (const DWORD operation : {200, 201, 203, 204, 205})
        EXPECT_EQ(0U, TARVO_PerformUnInstall(operation)) << operation;
    for (const char* step : {"Registry", "File", "Shortcut", "Event", "ShellExtension"})
        EXPECT_EQ(1U, trace.Count("{ PerformUninstall" + std::string(step))) << step;
}

TEST_F(UninstallExecution, NoOpenLog)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    char buffer[] = "abc";
    EXPECT_EQ(0U, TARVO_CloseRollBackLog());
    EXPECT_EQ(kNotOpen, TARVO_CloseRollBackLog());
    EXPECT_EQ("Rollback is not opened", kit::LastMessage());
    for (const DWORD operation : {201, 205, 199}) {
        EXPECT_EQ(kNotOpen, TARVO_PerformUnInstall(operation));
        EXPECT_EQ("Uninstallation log is not opened", kit::LastMessage());
    }
    EXPECT_EQ(kNotOpen, TARVO_GetCustomUnInstallString("name", buffer, sizeof buffer));
    EXPECT_STREQ("abc", buffer);
}

TEST_F(UninstallExecution, ContentsGoBeforeTheirFolders)
{
    const std::string folder = MakeFolder("d");
    const std::string sub = MakeFolder("d\\empty folder");
    const std::string first = Scratch().Make("d\\f1");
    const std::string second = Scratch().Make("d\\f22");
    EXPECT_EQ(
        (Texts{"Deleting directory [" + sub + "]...", "Deleting file [" + second + "]...", kTrying, kFailed,
               "Deleting file [" + first + "]...", kTrying, "File or directory [" + folder + "] does not exist..."}),
        RunFiles({folder + "=1", first + "=1", second + "=1", sub + "=1"}));
    EXPECT_FALSE(kit::FileExists(folder));
    EXPECT_TRUE(kit::PendingValue::Read().empty());
    EXPECT_EQ((Texts{"File or directory [" + sub + "] does not exist...",
                     "File or directory [" + second + "] does not exist...",
                     "File or directory [" + first + "] does not exist...",
                     "File or directory [" + folder + "] does not exist..."}),
              Run(TARVO_UNINSTALL_FILES))
        << "the log still lists them";
}

TEST_F(UninstallExecution, LockedFileGoesAtTheRestartWithItsFolder)
{
    const std::string folder = MakeFolder("d");
    const std::string locked = Scratch().Make("d\\locked");
    const std::string other = Scratch().Make("d\\other file");
    kit::FileLock lock(locked);
    EXPECT_EQ(
        (Texts{"Deleting file [" + other + "]...", kTrying, kFailed, "Deleting file [" + locked + "]...",
               "Reboot needed to finish deleting.", "Marking the directory to be deleted after reboot...",
               "Deleting directory [" + folder + "]...", "Deleting failed, marking to be deleted after reboot..."}),
        RunFiles({folder + "=1", locked + "=1", other + "=1"}));
    EXPECT_TRUE(kit::FileExists(locked));
    EXPECT_FALSE(kit::FileExists(other));
    const std::string pendingFolder = R"(\??\)" + folder;
    EXPECT_EQ((kit::PendingValue::Pairs{{R"(\??\)" + locked, ""}, {pendingFolder, ""}, {pendingFolder, ""}}),
              kit::PendingValue::Read())
        << "by its file, and by itself";
    lock.Release();
}

TEST_F(UninstallExecution, FolderWithOtherFilesIsLeftToTheRestart)
{
    const std::string folder = MakeFolder("d");
    const std::string ours = Scratch().Make("d\\ours");
    Scratch().Make("d\\theirs");
    RunFiles({ours + "=1"});
    EXPECT_TRUE(kit::PendingValue::Read().empty()) << "a folder that was not recorded";
    RunFiles({folder + "=1"});
    EXPECT_EQ((kit::PendingValue::Pairs{{R"(\??\)" + folder, ""}}), kit::PendingValue::Read());
    EXPECT_TRUE(kit::FileExists(folder + "\\theirs"));
}

TEST_F(UninstallExecution, LinesThatAreNotMarkedArePassedOver)
{
    const std::string file = Scratch().Make("file");
    for (const char* value : {"", "=", "=0", "=2", "=01", "= 1", "=1=0"}) {
        EXPECT_EQ(Texts(), RunFiles({file + value})) << value;
        EXPECT_TRUE(kit::FileExists(file)) << value;
    }
    RunFiles({"  " + file + "=1x"}); // leading blanks are no part of the line
    EXPECT_FALSE(kit::FileExists(file));
}

TEST_F(UninstallExecution, FileThatCannotBeDeferredIsTraced)
{
    const std::string file = Scratch().Make("file");
    const kit::FileLock lock(file);
    const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
    EXPECT_EQ((Texts{"Deleting file [" + file + "]...", "File deleting failed."}), RunFiles({file + "=1"}));
}

TEST_F(UninstallExecution, ShortcutStandsInBothSections)
{
    MakeFolder("d=1");
    const std::string link = Scratch().Make("d=1\\a=b.lnk");
    const std::string content = "[Files]\r\n" + link + "=1\r\n[Shortcuts]\r\n" + link + "=1\r\n";
    kit::WriteFile(log_, content);
    EXPECT_EQ((Texts{"Deleting file [" + link + "]...", kTrying}), Run(TARVO_UNINSTALL_SHORTCUTS));
    EXPECT_FALSE(kit::FileExists(link));
    EXPECT_EQ(Texts{"File or directory [" + link + "] does not exist..."}, Run(TARVO_UNINSTALL_FILES));
    EXPECT_EQ(content, kit::ReadFile(log_)) << "replaying writes nothing back";
}

TEST_F(UninstallExecution, NothingListed)
{
    EXPECT_EQ(Texts{"Did not find files in section [Files] from file [" + log_ + "]"}, RunFiles({}));
    DeleteFileA(log_.c_str());
    EXPECT_EQ(Texts{"Did not find files in section [Shortcuts] from file [" + log_ + "]"},
              Run(TARVO_UNINSTALL_SHORTCUTS))
        << "a log that has gone lists nothing";
    EXPECT_EQ(Texts(), Run(TARVO_UNINSTALL_REGISTRY));
    char buffer[10] = "abc";
    EXPECT_EQ(0U, TARVO_GetCustomUnInstallString("name", buffer, sizeof buffer));
    EXPECT_STREQ("", buffer);
}

TEST_F(UninstallExecution, LinesTooLongForTheReaderHarmNothing)
{
    const std::string file = Scratch().Make("file");
    // The reader takes 1023 bytes at once: what follows must not pass for an item of its own.
    EXPECT_EQ(Texts(), RunFiles({std::string(1023 - file.size(), 'x') + file + "=0"}));
    EXPECT_TRUE(kit::FileExists(file));
}

const struct CustomRow {
    const char* fact;
    const char* name;
    DWORD size;
    DWORD code;
    const char* text; // of the buffer afterwards
} kCustom[] = {
    {"with room to spare", "name", 10, 0, "12345"},
    {"with just enough", "name", 6, 0, "12345"},
    {"cut by one", "name", 5, 0, "1234"},
    {"cut to nothing", "name", 1, 0, ""},
    {"without room", "name", 0, 87, "untouched"},
    {"in any letter case", "NAME", 10, 0, "12345"},
    {"a name that was never recorded", "no", 10, 0, ""},
    {"a name in another section", "other", 10, 0, ""},
    {"without a name", nullptr, 10, 87, "untouched"},
};

TEST_F(UninstallExecution, CustomTexts)
{
    kit::WriteFile(log_, "[Own]\r\nother=x\r\n[Custom]\r\nname=12345\r\n");
    for (const CustomRow& row : kCustom) {
        SCOPED_TRACE(row.fact);
        const kit::TraceLog trace(Scratch().Path("trace.log"));
        char buffer[20] = "untouched";
        memset(buffer + row.size, '~', row.code ? 0 : sizeof buffer - row.size);
        EXPECT_EQ(row.code, TARVO_GetCustomUnInstallString(row.name, buffer, row.size));
        EXPECT_STREQ(row.text, buffer);
        if (row.code)
            continue;
        EXPECT_EQ(std::string_view::npos, std::string_view(buffer, sizeof buffer).find_first_not_of('~', row.size));
        EXPECT_TRUE(trace.Contains("Name=[" + std::string(row.name) + "] Value=[" + row.text + "]"));
    }
    EXPECT_EQ(87U, TARVO_GetCustomUnInstallString("name", nullptr, 10));
}

TEST_F(UninstallExecution, MemoryRunsOut)
{
    int failures = 0;
    int refusals = 0;
    WithEachAllocationFailing([&] {
        MakeFolder("d");
        const std::string file = Scratch().Make("d\\file");
        const std::string link = Scratch().Make("d\\link");
        kit::WriteValue(Key().Path("k"), "v", kit::RegistryValue::Text("x"));
        kit::WriteValue(Key().Path("k"), "v", kit::RegistryValue::Text("x"), kit::View::k64);
        const std::string value = Key().Locator(R"(k\\v=1)");
        kit::WriteFile(log_, "[Files]\r\n" + file + "=1\r\n[Shortcuts]\r\n" + link + "=1\r\n[Registry entries]\r\n" +
                                 value + "\r\n[Registry entries unvirtualized]\r\n" + value + "\r\n");
        for (const DWORD operation : {200, 201, 203}) {
            const bool before = Heap().FailureHappened();
            const DWORD code = TARVO_PerformUnInstall(operation);
            const bool failedHere = !before && Heap().FailureHappened();
            EXPECT_TRUE(code == 0 || (failedHere && code == ERROR_NOT_ENOUGH_MEMORY)) << operation << " gave " << code;
            refusals += code != 0;
        }
        failures += Heap().FailureHappened();
        if (Heap().FailureHappened())
            return;
        EXPECT_FALSE(kit::FileExists(Scratch().Path("d")));
        EXPECT_FALSE(kit::ReadValue(Key().Path("k"), "v"));
        EXPECT_FALSE(kit::ReadValue(Key().Path("k"), "v", kit::View::k64));
    });
    EXPECT_LE(8, failures);
    EXPECT_EQ(6, refusals) << "lists and their order, of the steps that report";
}

} // namespace
