// The uninstall run takes real services away.

#include <cstring>

#include "services/test_service.h"

namespace {

class ServiceStep : public kit::LibraryTest {
protected:
    /** Runs operation 202 over a log with these lines of services. @return its result */
    DWORD Perform(const std::string& lines)
    {
        const std::string file =
            Scratch().Make("uninstall.log", "[Services]\r\n" + lines + "\r\n[Files]\r\nTarvoOther=1\r\n");
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(file.c_str()));
        const DWORD code = TARVO_PerformUnInstall(TARVO_UNINSTALL_SERVICES);
        EXPECT_EQ(0U, TARVO_CloseRollBackLog());
        return code;
    }
};

struct LineCase {
    const char* name;
    const char* line;
    bool removed;
};

TEST_F(ServiceStep, LinesSayWhetherTheServiceGoes)
{
    const LineCase cases[] = {
        {"TarvoStep", "TarvoStep=1", true},   {"TarvoStep", "tarvostep=12x", true},
        {"TarvoStep", "TarvoStep", true},     {"Tarvo=Step", "Tarvo=Step=1", true},
        {"TarvoStep", "TarvoStep=-1", true},  {"TarvoStep", "TarvoStep=0", false},
        {"TarvoStep", "TarvoStep=", false},   {"TarvoStep", "TarvoStep=x1", false},
        {"TarvoOther", "TarvoStep=1", false},
    };
    for (const LineCase& row : cases) {
        SCOPED_TRACE(row.line);
        TestService service(row.name);
        service.Install("plain");
        EXPECT_EQ(0U, Perform(row.line));
        EXPECT_EQ(row.removed, row.removed ? service.IsGone() : !service.Exists());
    }
}

struct StepCase {
    const char* name;
    const char* mode; // of the running service
    const char* record;
    std::vector<const char*> lines;
};

TEST_F(ServiceStep, RunningServiceIsStoppedOrNotAndAlwaysRemoved)
{
    const StepCase cases[] = {
        {"TarvoStep", "plain", "start 1 ", {"Stopped."}},
        {"TarvoStep", "refuses", "start ", {"Stopping not supported."}},
        // The wait's time-out is a success by then.
        {"TarvoStep",
         "ignores",
         "start 1 ",
         {"GAS timeout problem found! srv=[TarvoStep], timeout=[60000]", "Stopped."}},
        {"Velmora Warden", "plain", "start 1 ", {}},
        {"Velmora Sieve", "plain", "start 1 ", {}},
        {"Velmora Scout", "refuses", "start ", {}},
        {"vELMORA sIEVE", "plain", "start 1 ", {}},
        {"Velmora Sieve2", "plain", "start 1 ", {"Stopped."}},
    };
    for (const StepCase& row : cases) {
        SCOPED_TRACE(row.name + std::string(" ") + row.mode);
        TestService service(row.name);
        service.Install(row.mode);
        service.Start();
        const kit::TraceLog log(Scratch().Path("trace.log"));
        kit::ImportHook ticks("GetTickCount", &GetTickCount);
        DWORD skipped = 0; // of the minute
        ticks.Answer([&] { return ticks.Original()() + skipped; });
        kit::ImportHook pause("Sleep", &Sleep);
        pause.Answer([&](DWORD milliseconds) {
            pause.Original()(milliseconds > 100 ? 100 : milliseconds);
            skipped += milliseconds * 20;
        });
        EXPECT_EQ(0U, Perform(std::string(row.name) + "=1"));
        // Windows hands the removal's stop on to a service that ignored one, Wine does not.
        EXPECT_EQ(row.record, service.Recorded().substr(0, std::strlen(row.record)));
        EXPECT_TRUE(log.Contains("Deleting service [" + std::string(row.name) + "] results in [0]"));
        size_t outcomes = 0;
        for (const char* line : row.lines)
            outcomes += log.Count(line) == 1;
        EXPECT_EQ(row.lines.size(), outcomes);
        EXPECT_EQ(!row.lines.empty(), log.Contains("{ TARVO_StopService"));
    }
}

TEST_F(ServiceStep, ServiceWithoutAStatusStaysAndTheOthersGo)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    TestService first("TarvoStep1");
    TestService second("TarvoStep2");
    first.Install("plain");
    second.Install("plain");
    kit::ImportHook query("QueryServiceStatus", &QueryServiceStatus);
    query.FailNth(1, ERROR_ACCESS_DENIED, FALSE);
    EXPECT_EQ(0U, Perform("TarvoMissing=1\r\nTarvoStep1=1\r\nTarvoStep2=1"));
    EXPECT_TRUE(first.Exists());
    EXPECT_TRUE(second.IsGone());
    EXPECT_EQ(2U, log.Count("Could not get status."));
    EXPECT_FALSE(log.Contains("Deleting service [TarvoStep1] results"));
}

} // namespace
