// Installing, enabling, changing, reading and removing services, against their records.

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
    stage.Call(&TARVO_InstallService, "localhost", kName, "Shown", type, kDemand, path, nullptr, nullptr, nullptr,
               change);
}

TEST_F(InstallRecords, Installing)
{
    Open("services/installing");
    Case("a new service is made, described, enabled and recorded", [](Stage& stage) {
        const TestService service(kName);
        Install(stage, "C:\\a b\\x.exe -arg");
        stage.Tell("service", service.Exists() ? "there" : "none");
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
        service.Install();
        Install(stage, "C:\\x.exe");
        Install(stage, "C:\\x.exe", kOwn, TRUE);
        const kit::ImportHook change("ChangeServiceConfigA", &ChangeServiceConfigA, ERROR_INVALID_DATA, FALSE);
        Install(stage, "C:\\x.exe", kOwn, TRUE);
    });
    Case("a service that cannot be enabled stays, and is not recorded", {.failures = false}, [](Stage& stage) {
        const TestService service(kName);
        const kit::ImportHook key("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
        Install(stage, "C:\\x.exe");
        stage.Tell("service", service.Exists() ? "there" : "none");
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, kKeep, kKeep, "C:\\y.exe", nullptr, nullptr, "Other");
    });
}

TEST_F(InstallRecords, Changing)
{
    Open("services/changing");
    Case("a service is changed, described, enabled and recorded", [](Stage& stage) {
        TestService service(kName);
        service.Install();
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, SERVICE_DISABLED, kKeep, "C:\\y.exe -s", nullptr,
                   nullptr, "Other");
    });
    Case("what is not given is kept, what is given reaches the system", {.failures = false}, [](Stage& stage) {
        TestService service(kName);
        service.Install();
        stage.Call(&TARVO_ChangeServiceConfig, "", kName, kKeep, kKeep, nullptr, nullptr, nullptr, nullptr);
        const kit::ImportHook change("ChangeServiceConfigA", &ChangeServiceConfigA, 0, TRUE);
        stage.Call(&TARVO_ChangeServiceConfig, nullptr, kName, kDemand, SERVICE_KERNEL_DRIVER, "C:\\y.sys", ".\\me",
                   "S3cret", nullptr);
    });
    Case("an optional setting is changed", [](Stage& stage) {
        static char text[] = "Told";
        static SERVICE_DESCRIPTIONA description = {text};
        TestService service(kName);
        service.Install();
        stage.Call(&TARVO_ChangeServiceConfig2, nullptr, kName, SERVICE_CONFIG_DESCRIPTION,
                   reinterpret_cast<DWORD>(&description));
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
        service.Install(kOwn | SERVICE_INTERACTIVE_PROCESS);
        getConfig(stage);
    });
    Case("texts are cut to their places, a configuration may grow, and need not be asked for", {.failures = false},
         [=](Stage& stage) {
             const std::string text(1500, 'x');
             for (const size_t length : {1023, 259, 50})
                 stage.HideText(text.substr(0, length), "<" + std::to_string(length) + ">");
             TestService service(kName);
             service.Install();
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

const std::string kServices = "SYSTEM\\CurrentControlSet\\Services\\";
const std::string kNodes = "SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Enum\\";

/** Enables a service whose node is there, and tells the flags of the node. */
/** The Windows that a Wine says it is differs. */
void HideVersion(Stage& stage)
{
    OSVERSIONINFOEXA info = {};
    info.dwOSVersionInfoSize = sizeof info;
    GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&info));
    char text[100];
    snprintf(text, sizeof text, "dwMajorVersion=%lu, dwMinorVersion=%lu, dwBuildNumber=%lu, wServicePackMajor=%u",
             info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber, info.wServicePackMajor);
    stage.HideText(text, "<version>");
}

void Enable(Stage& stage, const char* service, const std::string& node)
{
    const std::string path = kNodes + node;
    const DWORD flags = 7;
    HKEY key = nullptr;
    // Volatile: Wine makes the profile's own key so, and takes nothing lasting below it.
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                    nullptr);
    RegSetValueExA(key, "CSConfigFlags", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&flags), sizeof flags);
    RegCloseKey(key);
    HideVersion(stage);
    stage.Call(&TARVO_EnableServiceInHWProfile, "there", service, "profile", "set");
    stage.TellValue(path, "CSConfigFlags");
    kit::RemoveKeyTree(path.substr(0, path.rfind('\\')), kit::View::kOwn);
}

TEST_F(InstallRecords, Enabling)
{
    Open("services/hardware_profile");
    Case("the name of a node is made, and what disables it cleared",
         [](Stage& stage) { Enable(stage, "TarvoNode", "ROOT\\LEGACY_TARVONODE\\0000"); });
    Case("the system names the node, or leaves it empty", {.failures = false}, [](Stage& stage) {
        for (const char* name : {"", "Root\\Legacy_of tarvo\\0007"}) {
            kit::WriteValue(kServices + "Tarvo Read\\Enum", "0", kit::RegistryValue::Text(name));
            Enable(stage, "Tarvo Read", *name ? name : "ROOT\\LEGACY_TARVO_READ\\0000");
        }
        kit::RemoveKeyTree(kServices + "Tarvo Read", kit::View::kOwn);
    });
    Case("other flags stay where they can be read", {.failures = false}, [](Stage& stage) {
        kit::ImportHook read("RegQueryValueExA", &RegQueryValueExA);
        read.Answer([](HKEY, const char*, DWORD*, DWORD*, BYTE* bytes, DWORD* size) {
            return memset(bytes, 0xFF, *size), ERROR_SUCCESS;
        });
        Enable(stage, "TarvoNode", "ROOT\\LEGACY_TARVONODE\\0000");
    });
    Case("blanks stay before Windows 2000, and nothing is disabled without a node", {.failures = false},
         [](Stage& stage) {
             kit::ImportHook version("GetVersionExA", &GetVersionExA);
             for (const DWORD major : {4, 5}) {
                 version.Answer([&](OSVERSIONINFOA* info) {
                     const DWORD size = info->dwOSVersionInfoSize;
                     memset(info, 0, size);
                     *info = {size, major, 0, 1, VER_PLATFORM_WIN32_NT, ""};
                     return TRUE;
                 });
                 stage.Call(&TARVO_EnableServiceInHWProfile, nullptr, "Tarvo my node", nullptr, nullptr);
             }
             stage.Call(&TARVO_EnableServiceInHWProfile, nullptr, nullptr, nullptr, nullptr);
         });
}

} // namespace
