// The management console and agent, and the default policy file.

#include "registry/product_key.h"
#include "services/test_service.h"

namespace {

constexpr char kAgentKey[] = "Software\\Norrin Vale\\Velmora\\Management Agent";
constexpr DWORD kFailed = 0xFFFFFFFF;

class ComponentExports : public ProductKeyTest {
protected:
    static void WriteDirectory(const char* key, const char* name, const std::string& directory)
    {
        kit::WriteValue(key, name, kit::RegistryValue::Text(directory));
    }

    /** @return the program that TARVO_StartKOB runs, or its text if it finds no directory. */
    std::string ProgramStarted()
    {
        std::string program;
        kit::ImportHook execute("ShellExecuteA", &ShellExecuteA);
        execute.Answer([&](HWND owner, const char* verb, const char* file, const char* arguments, const char* directory,
                           int show) {
            EXPECT_TRUE(!owner && std::string(verb) == "open" && !arguments && !directory && show == SW_SHOWNORMAL);
            program = file;
            return reinterpret_cast<HINSTANCE>(33);
        });
        const DWORD code = TARVO_StartKOB();
        EXPECT_EQ(program.empty() ? kFailed : 0, code);
        return program.empty() ? kit::LastMessage() : program;
    }
};

TEST_F(ComponentExports, CommonDirectoryIsLookedForUntilFoundAndThenKept)
{
    const std::string notFound = "Velmora Common directory is not found";
    EXPECT_EQ(notFound, ProgramStarted());
    WriteDirectory(kAgentKey, "InstallationDirectory", "");
    EXPECT_EQ(notFound, ProgramStarted());
    WriteDirectory(kProductKey, "InstallationRootDirectory", "C:\\root");
    EXPECT_EQ("C:\\root\\Common\\kob32.exe", ProgramStarted());
    WriteDirectory(kAgentKey, "InstallationDirectory", "C:\\agent\\");
    EXPECT_EQ("C:\\root\\Common\\kob32.exe", ProgramStarted());
    Reload();
    EXPECT_EQ("C:\\agent\\kob32.exe", ProgramStarted());
    Reload();
    WriteDirectory(kAgentKey, "InstallationDirectory", std::string(260, 'x')); // more than is read
    EXPECT_EQ("C:\\root\\Common\\kob32.exe", ProgramStarted());
    Reload();
    WriteDirectory(kProductKey, "InstallationRootDirectory", "C:\\" + std::string(250, 'x'));
    EXPECT_EQ(notFound, ProgramStarted()) << "no room for Common";
    Reload();
    WriteDirectory(kAgentKey, "InstallationDirectory", "C:\\" + std::string(250, 'x'));
    EXPECT_EQ("Could not execute kob32.exe", ProgramStarted());
}

TEST_F(ComponentExports, ConsoleIsStartedFromTheCommonDirectory)
{
    AllowOpenHandles(); // the shell keeps some
    const std::string program = Scratch().Path("kob32.exe");
    WriteDirectory(kAgentKey, "InstallationDirectory", Scratch().Path());
    EXPECT_EQ(kFailed, TARVO_StartKOB());
    EXPECT_EQ("Could not execute " + program, kit::LastMessage());
    ASSERT_TRUE(CopyFileA((kit::ProgramFolder() + "\\kob32.exe").c_str(), program.c_str(), TRUE));
    EXPECT_EQ(0U, TARVO_StartKOB());
    for (int attempt = 0; attempt < 500 && !kit::FileExists(program + ".started"); ++attempt)
        Sleep(10);
    EXPECT_TRUE(kit::FileExists(program + ".started"));
    for (int attempt = 0; attempt < 500 && !DeleteFileA(program.c_str()); ++attempt)
        Sleep(10); // until it has ended
    EXPECT_EQ(0U, TARVO_StopKOB());
}

const struct AgentCase {
    const char* mode; // of the service; "" for no service
    DWORD before;     // state; 0 leaves it stopped
    decltype(&TARVO_StartKOBA) call;
    DWORD code;
    DWORD after;
    const char* record; // what the service was asked to do in all
    const char* line;   // to be found in the log; "" for none
} kAgents[] = {
    {"", 0, TARVO_StartKOBA, ERROR_SERVICE_DOES_NOT_EXIST, 0, "", "2 KOBA service is not installed"},
    {"", 0, TARVO_StopKOBA, 0, 0, "", "1 KOBA service is not installed"},
    {"plain", 0, TARVO_StartKOBA, 0, SERVICE_RUNNING, "start ", ""},
    {"plain", SERVICE_RUNNING, TARVO_StartKOBA, 0, SERVICE_RUNNING, "start ", "1 Service is already running"},
    {"slow", SERVICE_START_PENDING, TARVO_StartKOBA, 0, SERVICE_RUNNING, "start ", ""},
    {"plain", 0, TARVO_StopKOBA, 0, SERVICE_STOPPED, "", "1 KOBA is already stopped"},
    {"plain", SERVICE_RUNNING, TARVO_StopKOBA, 0, SERVICE_STOPPED, "start 1 ", ""},
    {"refuses", SERVICE_RUNNING, TARVO_StopKOBA, ERROR_INVALID_SERVICE_CONTROL, SERVICE_RUNNING, "start ",
     "2 Stopping KOBA service failed"},
};

TEST_F(ComponentExports, AgentIsStartedAndStoppedByItsState)
{
    for (const AgentCase& row : kAgents) {
        SCOPED_TRACE(std::string(row.mode) + " " + std::to_string(row.before) + " " + row.line);
        const kit::TraceLog log(Scratch().Path("trace.log"));
        TestService agent("KOBA");
        if (*row.mode)
            agent.Install(row.mode);
        if (row.before)
            agent.Start(row.before);
        EXPECT_TRUE(kit::Gives(row.code, row.call()));
        EXPECT_EQ(row.after, agent.State());
        EXPECT_EQ(row.record, agent.Recorded());
        if (row.before) {
            EXPECT_FALSE(log.Contains("{ TARVO_StartService"));
        }
        EXPECT_TRUE(log.HasEach({row.line}));
    }
}

TEST_F(ComponentExports, AgentHasAMinuteToStartAndToStop)
{
    TestService agent("KOBA");
    agent.Install("ignores");
    kit::ImportHook start("StartServiceA", &StartServiceA);
    start.Answer([](auto...) { return TRUE; });
    for (const auto call : {TARVO_StartKOBA, TARVO_StopKOBA}) {
        if (call == TARVO_StopKOBA)
            agent.Start();
        const FakeClock clock(0);
        EXPECT_EQ(0U, call());
        EXPECT_EQ("100 100 100 " + std::string(61, 's'), clock.Pauses()); // status, start or stop, wait
    }
}

struct PolicyCase {
    const char* source; // in the scratch folder
    const char* directory;
    bool copied;
    const char* recorded; // file names
};

TEST_F(ComponentExports, PolicyFileIsCopiedUnlessItIsThereAndRecorded)
{
    const PolicyCase cases[] = {
        {"from\\policy.DPF", "to", true, "to\\policy.DPF=1 to\\policy.dpx=1 "},
        {"from\\policy.xml", "to", true, "to\\policy.xml=1 "},
        {"from\\policy", "to", true, "to\\policy=1 "},
        {"from\\a.dpf.old", "to", true, "to\\a.dpf.old=1 "},
        {"FROM\\Policy.dpf", "from", false, "from\\Policy.dpf=1 from\\Policy.dpx=1 "},
    };
    const kit::TraceLog log(Scratch().Path("trace.log"));
    const std::string uninstallLog = Scratch().Path("uninstall.log");
    for (const char* folder : {"from", "to"})
        CreateDirectoryA(Scratch().Path(folder).c_str(), nullptr);
    for (const PolicyCase& row : cases) {
        SCOPED_TRACE(row.source);
        const std::string source = Scratch().Make(row.source, "new");
        const std::string target = Scratch().Path(row.directory) + source.substr(source.rfind('\\'));
        if (row.copied)
            kit::WriteFile(target, "old");
        TARVO_StartUninstallLogging(uninstallLog.c_str(), nullptr);
        kit::ImportHook copy("CopyFileA", &CopyFileA);
        EXPECT_EQ(0U, TARVO_InstallDefaultPolicyFile(source.c_str(), Scratch().Path(row.directory).c_str()));
        EXPECT_EQ(row.copied, copy.Calls() == 1);
        EXPECT_EQ("new", kit::ReadFile(target));
        std::string recorded;
        for (const std::string& line : kit::SplitLines(kit::ReadFile(uninstallLog))) {
            if (line != "[Files]")
                recorded += line.substr(Scratch().Path().size() + 1) + " ";
        }
        EXPECT_EQ(row.recorded, recorded);
        DeleteFileA(uninstallLog.c_str());
    }
    EXPECT_EQ(1U, log.Count("Skipping DPF copy from [" + Scratch().Path("FROM\\Policy.dpf") + "] to [" +
                            Scratch().Path("from\\Policy.dpf") + "] (same file)"));
}

} // namespace
