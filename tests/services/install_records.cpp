// Installing, changing, reading and removing services, against their records; the system's manager has the last word.

#include <cstring>

#include "services/test_service.h"

namespace {

using InstallRecords = kit::BehaviorTest;
using kit::Stage;
using namespace std::string_literals;

constexpr char kName[] = "TarvoRecord";
constexpr DWORD kOwn = SERVICE_WIN32_OWN_PROCESS;
constexpr DWORD kDemand = SERVICE_DEMAND_START;
constexpr DWORD kKeep = SERVICE_NO_CHANGE;

void Install(Stage& stage, const char* path, DWORD type = kOwn, BOOL change = FALSE)
{
    stage.Call(&TARVO_InstallService, nullptr, kName, "Shown", type, kDemand, path, nullptr, nullptr, nullptr, change);
}

TEST_F(InstallRecords, Installing)
{
    Open("services/installing");
    Case("a new service is made, described, enabled and recorded", [](Stage& stage) {
        const TestService service(kName);
        Install(stage, "C:\\a b\\x.exe -arg");
        stage.Tell("service", service.Config());
    });
    Case("what is given reaches the system, the path of a program quoted as a whole, once", {.failures = false},
         [](Stage& stage) {
             const kit::ImportHook create("CreateServiceA", &CreateServiceA, ERROR_INVALID_PARAMETER, SC_HANDLE{});
             stage.Call(&TARVO_InstallService, "localhost", kName, nullptr, kOwn | SERVICE_INTERACTIVE_PROCESS,
                        SERVICE_AUTO_START, nullptr, "Aa\0Bb\0"s, ".\\me", "S3cret", TRUE);
             Install(stage, "\"C:\\a b\\x.exe\" -arg");
             Install(stage, "", SERVICE_WIN32_SHARE_PROCESS);
             Install(stage, "C:\\a b\\x.sys", SERVICE_KERNEL_DRIVER);
         });
    Case("a service that is there is changed only if that is asked for", {.failures = false}, [](Stage& stage) {
        TestService service(kName);
        service.Install("");
        Install(stage, "C:\\x.exe");
        stage.Tell("service", service.Config());
        Install(stage, "C:\\x.exe", kOwn, TRUE);
        stage.Tell("service", service.Config());
        const kit::ImportHook change("ChangeServiceConfigA", &ChangeServiceConfigA, ERROR_INVALID_DATA, FALSE);
        Install(stage, "C:\\x.exe", kOwn, TRUE);
    });
    Case("a service that cannot be enabled stays, and is not recorded", {.failures = false}, [](Stage& stage) {
        const TestService service(kName);
        const kit::ImportHook key("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
        Install(stage, "C:\\x.exe");
        stage.Tell("service", service.Config());
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, kKeep, kKeep, "C:\\y.exe", nullptr, nullptr, "Other");
        stage.Tell("service", service.Config());
    });
}

TEST_F(InstallRecords, Changing)
{
    Open("services/changing");
    Case("a service is changed, described, enabled and recorded", [](Stage& stage) {
        TestService service(kName);
        service.Install("");
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, SERVICE_DISABLED, kKeep, "C:\\y.exe -s", nullptr,
                   nullptr, "Other");
        stage.Tell("service", service.Config());
    });
    Case("what is not given is kept, what is given reaches the system", {.failures = false}, [](Stage& stage) {
        TestService service(kName);
        service.Install("");
        stage.Call(&TARVO_ChangeServiceConfig, "", kName, kKeep, kKeep, nullptr, nullptr, nullptr, nullptr);
        stage.Tell("service", service.Config());
        const kit::ImportHook change("ChangeServiceConfigA", &ChangeServiceConfigA, 0, TRUE);
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, kDemand, SERVICE_KERNEL_DRIVER, "C:\\y.sys", ".\\me",
                   "S3cret", nullptr);
    });
    Case("an optional setting is changed", [](Stage& stage) {
        static char text[] = "Told";
        static SERVICE_DESCRIPTIONA description = {text};
        TestService service(kName);
        service.Install("");
        stage.Call(&TARVO_ChangeServiceConfig2, nullptr, kName, SERVICE_CONFIG_DESCRIPTION,
                   reinterpret_cast<DWORD>(&description));
        stage.Tell("service", service.Config());
    });
}

TEST_F(InstallRecords, Asking)
{
    Open("services/asking");
    const auto getConfig = [](Stage& stage) {
        stage.Call(&TARVO_GetServiceConfig, nullptr, kName, stage.Number("start"), stage.Number("interactive"),
                   stage.Text("path", MAX_PATH), stage.Text("account", 1024), stage.Text("display", 1024));
    };
    Case("a configuration is read", [=](Stage& stage) {
        TestService service(kName);
        service.Install("", kOwn | SERVICE_INTERACTIVE_PROCESS);
        getConfig(stage);
    });
    Case("texts are cut to their places, a configuration may grow, and need not be asked for", {.failures = false},
         [=](Stage& stage) {
             const std::string text(1500, 'x');
             for (const size_t length : {1023, 259, 50})
                 stage.HideText(text.substr(0, length), "<" + std::to_string(length) + ">");
             TestService service(kName);
             service.Install("");
             kit::ImportHook query("QueryServiceConfigA", &QueryServiceConfigA);
             query.Answer([&](SC_HANDLE handle, QUERY_SERVICE_CONFIGA* config, DWORD size, DWORD* needed) {
                 if (query.Calls() == 2)
                     return SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
                 const BOOL done = query.Original()(handle, config, size, needed);
                 if (done) {
                     config->lpBinaryPathName = config->lpDisplayName = const_cast<char*>(text.c_str());
                     config->lpServiceStartName = nullptr;
                 }
                 return done;
             });
             getConfig(stage);
             stage.Call(&TARVO_GetServiceConfig, "", kName, nullptr, nullptr, nullptr, nullptr, nullptr);
             const kit::ImportHook allocate("LocalAlloc", &LocalAlloc, ERROR_NOT_ENOUGH_MEMORY, HLOCAL{});
             getConfig(stage);
         });
    Case("an installed service is found", [](Stage& stage) {
        const PlayedService played;
        stage.Call(&TARVO_IsServiceInstalled, "localhost", kName, stage.Number("installed"));
        stage.Call(&TARVO_IsServiceInstalled, nullptr, kName, nullptr);
    });
    Case("missing services are told or refused", {.failures = false}, [=](Stage& stage) {
        stage.Call(&TARVO_IsServiceInstalled, nullptr, kName, stage.Number("installed"));
        getConfig(stage);
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, kDemand, kOwn, nullptr, nullptr, nullptr, nullptr);
        stage.Call(&TARVO_ChangeServiceConfig2, "localhost", kName, 1, 0);
        stage.Call(&TARVO_RemoveService, nullptr, kName);
    });
    for (const DWORD state : {SERVICE_PAUSED, SERVICE_STOPPED}) {
        Case("a service is removed in state " + std::to_string(state), [=](Stage& stage) {
            const PlayedService played({state});
            stage.Call(&TARVO_RemoveService, "localhost", kName);
        });
    }
}

} // namespace
