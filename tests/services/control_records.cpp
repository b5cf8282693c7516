// Starting, stopping, controlling and asking about services, against their records.

#include "services/test_service.h"

namespace {

using ServiceRecords = kit::BehaviorTest;
using kit::Stage;
using Rights = decltype(&TARVO_HaveStartStopRights);

constexpr char kName[] = "TarvoControl";
constexpr char kMissing[] = "TarvoMissing";

TEST_F(ServiceRecords, Control)
{
    Open("services/control");
    Case("a running, interactive service is asked about", [](Stage& stage) {
        const PlayedService played;
        stage.Call(&TARVO_GetServiceStatus, "localhost", kName, stage.Number("interactive"), stage.Number("state"));
    });
    const std::pair<decltype(&TARVO_StartService), DWORD> orders[] = {
        {&TARVO_StartService, SERVICE_STOPPED},     {&TARVO_StopService, SERVICE_RUNNING},
        {&TARVO_StartService, SERVICE_PAUSED},      {&TARVO_StopService, SERVICE_STOPPED},
        {&TARVO_StopService, SERVICE_STOP_PENDING}, {&TARVO_StartService, SERVICE_START_PENDING}};
    for (const auto& [call, state] : orders) {
        const bool starts = call == orders[0].first;
        Case((starts ? "start in state " : "stop in state ") + std::to_string(state),
             {.failures = starts || state == SERVICE_RUNNING}, [call = call, state = state](Stage& stage) {
                 const PlayedService played({state});
                 stage.Call(call, "localhost", kName);
             });
    }
    Case("a control is sent", [](Stage& stage) {
        const PlayedService played;
        stage.Call(&TARVO_SendUserControl, "localhost", kName, 0x80000000);
    });
    Case("a missing service is refused, and nobody has rights to it", {.failures = false}, [](Stage& stage) {
        for (const auto call : {&TARVO_StartService, &TARVO_StopService})
            stage.Call(call, nullptr, kMissing);
        stage.Call(&TARVO_SendUserControl, nullptr, kMissing, 200);
        stage.Call(&TARVO_GetServiceStatus, nullptr, kMissing, stage.Number("interactive"), nullptr);
        stage.Call(&TARVO_WaitForServiceState, nullptr, kMissing, SERVICE_RUNNING, 0, stage.Number("exit code"));
        for (const Rights ask : {&TARVO_HaveChangeConfigRights, &TARVO_HaveStartStopRights})
            stage.Call(ask, nullptr, kMissing, stage.Number("rights"));
    });
}

TEST_F(ServiceRecords, Waiting)
{
    Open("services/waiting");
    constexpr DWORD kBegins = SERVICE_START_PENDING;
    Case("the state comes within the time", [](Stage& stage) {
        const PlayedService played({kBegins, SERVICE_RUNNING});
        stage.Call(&TARVO_WaitForServiceState, "localhost", kName, SERVICE_RUNNING, 60000, stage.Number("exit code"));
    });
    Case("nothing is asked for", {.failures = false}, [](Stage& stage) {
        const PlayedService played({SERVICE_PAUSED});
        stage.Call(&TARVO_GetServiceStatus, nullptr, kName, nullptr, nullptr);
        stage.Call(&TARVO_WaitForServiceState, nullptr, kName, SERVICE_PAUSED, 0, nullptr);
    });
    const struct {
        const char* fact;
        std::vector<DWORD> states;
        DWORD timeout, clock, step;
    } rows[] = {
        {"without a time-out there is one pause", {kBegins}, 0, 0, 1000},
        {"a wait as long as the time-out is not over, and seconds are cut", {SERVICE_STOP_PENDING}, 1999, 0, 1999},
        {"the last question wins over the time-out", {kBegins, kBegins, SERVICE_RUNNING}, 1500, 0, 1000},
        {"the tick count may wrap", {kBegins}, 60000, 0xFFFF8000, 50000},
    };
    for (const auto& row : rows) {
        Case(row.fact, {.failures = false}, [&](Stage& stage) {
            const PlayedService played(row.states, row.clock, row.step);
            TARVO_SetLanguage(); // leaves a text that must stay
            stage.Call(&TARVO_WaitForServiceState, nullptr, kName, SERVICE_RUNNING, row.timeout, stage.Number("exit"));
            stage.Tell("text", kit::LastMessage() == kit::SystemText(ERROR_INVALID_FUNCTION) ? "as before" : "new");
        });
    }
}

TEST_F(ServiceRecords, Rights)
{
    Open("services/rights");
    const std::pair<Rights, const char*> rights[] = {{&TARVO_HaveChangeConfigRights, "rights to configure"},
                                                     {&TARVO_HaveStartStopRights, "rights to start and stop"}};
    for (const auto& [ask, title] : rights) {
        Case(title, [ask = ask](Stage& stage) {
            const PlayedService played;
            stage.Call(ask, "localhost", kName, stage.Number("rights"));
            stage.Call(ask, nullptr, kName, nullptr);
        });
    }
    for (const DWORD code : {ERROR_IO_DEVICE, ERROR_ACCESS_DENIED}) {
        Case("rights to install, or code " + std::to_string(code), {.code = code}, [](Stage& stage) {
            stage.Call(&TARVO_HaveInstallServiceRights, "localhost", stage.Number("rights"));
            stage.Call(&TARVO_HaveInstallServiceRights, nullptr, nullptr);
        });
    }
}

using ServiceLife = kit::LibraryTest;

TEST_F(ServiceLife, IsStartedOnceControlledStoppedOnceAndTakenAway)
{
    TestService service("KOBA"); // the agent's own orders go to it as well
    service.Install(SERVICE_WIN32_OWN_PROCESS, true);
    DWORD exitCode = 9;
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    ASSERT_TRUE(service.Reaches(SERVICE_START_PENDING));
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_StartKOBA());
    EXPECT_TRUE(service.Reaches(SERVICE_RUNNING, 0));
    for (const DWORD control : {128, 255})
        EXPECT_EQ(0U, TARVO_SendUserControl(nullptr, service.Name(), control));
    EXPECT_EQ(0U, TARVO_StopService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_WaitForServiceState(nullptr, service.Name(), SERVICE_STOPPED, 10000, &exitCode));
    EXPECT_EQ(77U, exitCode);
    EXPECT_EQ(0U, TARVO_StopKOBA());
    EXPECT_EQ("start 128 255 1 ", service.Recorded());
    EXPECT_EQ(0U, TARVO_StartKOBA());
    EXPECT_EQ(0U, TARVO_RemoveService(nullptr, service.Name()));
    EXPECT_TRUE(service.Reaches(0)) << "the manager keeps a removed service until it has stopped";
    service.Install(SERVICE_WIN32_OWN_PROCESS, true);
    EXPECT_EQ(0U, TARVO_StartKOBA());
    TARVO_OpenRollBackLog(Scratch().Make("uninstall.log", "[Services]\r\nKOBA=1\r\n").c_str());
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_SERVICES));
    EXPECT_TRUE(service.Reaches(0));
    EXPECT_EQ("start 128 255 1 start 1 start 1 ", service.Recorded());
}

} // namespace
