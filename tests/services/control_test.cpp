// Starting, stopping, controlling and watching real services; waits by a clock of the test's own.

#include "services/test_service.h"

namespace {

using ServiceControl = kit::LibraryTest;

TEST_F(ServiceControl, ServiceIsStartedOnceControlledAndStoppedOnce)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    TestService service("TarvoControl");
    service.Install("slow");
    DWORD exitCode = 9;
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    ASSERT_TRUE(service.Reaches(SERVICE_START_PENDING)) << service.State();
    kit::ImportHook start("StartServiceA", &StartServiceA);
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_WaitForServiceState(nullptr, service.Name(), SERVICE_RUNNING, 10000, &exitCode));
    EXPECT_EQ(DWORD{SERVICE_RUNNING}, service.State());
    EXPECT_EQ(0U, exitCode);
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    EXPECT_EQ(0, start.Calls());
    EXPECT_EQ(0U, TARVO_SendUserControl(nullptr, service.Name(), 128));
    EXPECT_EQ(0U, TARVO_SendUserControl(nullptr, service.Name(), 255));
    EXPECT_TRUE(log.HasEach({"Called with [null] [TarvoControl] [0xFF]"}));
    EXPECT_EQ(0U, TARVO_StopService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_WaitForServiceState(nullptr, service.Name(), SERVICE_STOPPED, 10000, &exitCode));
    EXPECT_EQ(77U, exitCode);
    EXPECT_EQ(0U, TARVO_StopService(nullptr, service.Name()));
    EXPECT_EQ("start 128 255 1 ", service.Recorded());
}

TEST_F(ServiceControl, StatusTellsTheInteractiveBitAndTheState)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    TestService service("TarvoControl");
    service.Install("plain", SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS);
    DWORD interactive = 9;
    DWORD state = 9;
    EXPECT_EQ(0U, TARVO_GetServiceStatus(nullptr, service.Name(), &interactive, &state));
    EXPECT_EQ(0x100U, interactive);
    EXPECT_EQ(DWORD{SERVICE_STOPPED}, state);
    EXPECT_EQ(0U, TARVO_GetServiceStatus(nullptr, service.Name(), nullptr, nullptr));
    EXPECT_TRUE(
        log.HasEach({"Detected status: interact=[256], state=[1]", "Detected status: interact=[-1], state=[-1]"}));
}

TEST_F(ServiceControl, RightsAreToldByOpeningAndConnecting)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    TestService service("TarvoControl");
    service.Install("plain");
    DWORD asked = 0;
    DWORD rights = 9;
    {
        kit::ImportHook open("OpenServiceA", &OpenServiceA);
        open.Answer([&](SC_HANDLE manager, const char* name, DWORD access) {
            return open.Original()(manager, name, asked = access);
        });
        for (const auto& [ask, access] :
             {std::pair(&TARVO_HaveChangeConfigRights, 3U), {&TARVO_HaveStartStopRights, 0x34U}}) {
            EXPECT_EQ(0U, ask(nullptr, service.Name(), &rights));
            EXPECT_EQ(1U, rights);
            EXPECT_EQ(access, asked);
            EXPECT_EQ(0U, ask(nullptr, "TarvoMissing", &rights));
            EXPECT_EQ(0U, rights);
            EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, ask(nullptr, service.Name(), nullptr));
        }
    }
    EXPECT_EQ(2U, log.Count("HaveRights=[1]"));
    kit::ImportHook open("OpenSCManagerA", &OpenSCManagerA);
    open.Answer([&](const char* machine, const char* database, DWORD access) {
        return open.Original()(machine, database, asked = access);
    });
    EXPECT_EQ(0U, TARVO_HaveInstallServiceRights(nullptr, &rights));
    EXPECT_EQ(1U, rights);
    EXPECT_EQ(DWORD{SC_MANAGER_CREATE_SERVICE}, asked);
    open.FailAll(ERROR_ACCESS_DENIED, SC_HANDLE{});
    EXPECT_EQ(0U, TARVO_HaveInstallServiceRights("there", &rights));
    EXPECT_EQ(0U, rights);
    EXPECT_EQ(0U, TARVO_HaveInstallServiceRights(nullptr, nullptr));
    EXPECT_TRUE(log.HasEach({"Called with [there]", "HaveRights=[0]", "HaveRights=[-1]"}));
}

constexpr struct WaitCase {
    const char* fact;
    DWORD start; // of the tick count
    DWORD timeout;
    int reachedAt;    // number of the poll that finds the state; 0 for none
    int polls;        // expected
    const char* line; // of the time-out, "" without
} kWaits[] = {
    {"a state that is there needs no pause", 0, 60000, 1, 1, ""},
    {"the state is asked for once a second", 5000, 60000, 4, 4, ""},
    {"the wait ends once it is longer than the time-out", 0, 60000, 0, 62, "(60 sec)"},
    {"the last poll wins over the time-out", 0, 60000, 62, 62, ""},
    {"one poll later is too late", 0, 60000, 63, 62, "(60 sec)"},
    {"without a time-out there is one pause", 0, 0, 0, 2, "(0 sec)"},
    {"seconds are cut", 0, 1500, 0, 3, "(1 sec)"},
    {"the tick count may wrap", 0xFFFFFC00, 3000, 0, 5, "(3 sec)"},
};

TEST_F(ServiceControl, WaitPollsOnceASecondAndThenJudges)
{
    TestService service("TarvoControl");
    service.Install("plain");
    TARVO_SetLanguage(); // leaves a text that must stay
    for (const WaitCase& row : kWaits) {
        SCOPED_TRACE(row.fact);
        const kit::TraceLog log(Scratch().Path("trace.log"));
        const FakeClock clock(row.start);
        kit::ImportHook query("QueryServiceStatus", &QueryServiceStatus);
        query.Answer([&](SC_HANDLE, SERVICE_STATUS* status) {
            *status = {};
            status->dwCurrentState = query.Calls() == row.reachedAt ? SERVICE_RUNNING : SERVICE_START_PENDING;
            status->dwWin32ExitCode = 55;
            return TRUE;
        });
        DWORD exitCode = 9;
        EXPECT_EQ(0U, TARVO_WaitForServiceState(nullptr, service.Name(), SERVICE_RUNNING, row.timeout, &exitCode));
        EXPECT_EQ(row.polls, query.Calls());
        EXPECT_EQ("100 " + std::string(static_cast<size_t>(row.polls - 1), 's'), clock.Pauses());
        const bool timedOut = *row.line;
        EXPECT_EQ(timedOut ? 0U : 55U, exitCode);
        const std::string timeout = std::to_string(row.timeout);
        std::vector<std::string> lines = {"{ TARVO_WaitForServiceState",
                                          "Called with [<Local Machine>] [TarvoControl] [0x4] [" + timeout + "]"};
        if (timedOut)
            lines.insert(lines.end(), {"Service::WaitForState: Timeout " + std::string(row.line) +
                                           " waiting for service status elapsed, last status=2",
                                       "WaitForState returned=[1460], Resultcode=[0x0]",
                                       "GAS timeout problem found! srv=[TarvoControl], timeout=[" + timeout + "]"});
        else
            lines.insert(lines.end(),
                         {"WaitForState returned=[0], Resultcode=[0x37]", "Function TARVO_WaitForServiceState OK."});
        lines.push_back("} TARVO_WaitForServiceState");
        EXPECT_EQ(lines, log.Messages());
    }
    EXPECT_EQ(kit::SystemText(ERROR_INVALID_FUNCTION), kit::LastMessage());
}

} // namespace
