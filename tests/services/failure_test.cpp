// A call of the system that fails: its code and text come out, all that was opened is closed, nothing is recorded.

#include <functional>
#include <map>

#include "services/test_service.h"

namespace {

constexpr char kMissing[] = "TarvoFailureNew";
constexpr DWORD kCode = ERROR_SERVICE_DATABASE_LOCKED; // no call gives it here by itself

DWORD Install(const char* service, BOOL change)
{
    return TARVO_InstallService(nullptr, service, service, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                "\"C:\\x.exe\"", nullptr, nullptr, nullptr, change);
}

DWORD number = 0;
SERVICE_DESCRIPTIONA description = {};

/** Each export, told to work on a service. */
const std::map<std::string, std::function<DWORD(const char* service)>> kExports = {
    {"TARVO_InstallService", [](const char* service) { return Install(service, FALSE); }},
    {"TARVO_ChangeServiceConfig",
     [](const char* service) {
         return TARVO_ChangeServiceConfig(nullptr, service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, nullptr, nullptr,
                                          nullptr, "d");
     }},
    {"TARVO_ChangeServiceConfig2",
     [](const char* service) {
         return TARVO_ChangeServiceConfig2(nullptr, service, SERVICE_CONFIG_DESCRIPTION,
                                           reinterpret_cast<DWORD>(&description));
     }},
    {"TARVO_GetServiceConfig",
     [](const char* service) {
         return TARVO_GetServiceConfig(nullptr, service, &number, nullptr, nullptr, nullptr, nullptr);
     }},
    {"TARVO_IsServiceInstalled",
     [](const char* service) { return TARVO_IsServiceInstalled(nullptr, service, &number); }},
    {"TARVO_RemoveService", [](const char* service) { return TARVO_RemoveService(nullptr, service); }},
    {"TARVO_StartService", [](const char* service) { return TARVO_StartService(nullptr, service); }},
    {"TARVO_StopService", [](const char* service) { return TARVO_StopService(nullptr, service); }},
    {"TARVO_SendUserControl", [](const char* service) { return TARVO_SendUserControl(nullptr, service, 200); }},
    {"TARVO_GetServiceStatus",
     [](const char* service) { return TARVO_GetServiceStatus(nullptr, service, nullptr, &number); }},
    {"TARVO_WaitForServiceState",
     [](const char* service) { return TARVO_WaitForServiceState(nullptr, service, SERVICE_RUNNING, 0, nullptr); }},
    {"TARVO_HaveChangeConfigRights",
     [](const char* service) { return TARVO_HaveChangeConfigRights(nullptr, service, &number); }},
    {"TARVO_HaveStartStopRights",
     [](const char* service) { return TARVO_HaveStartStopRights(nullptr, service, &number); }},
    {"TARVO_HaveInstallServiceRights", [](const char*) { return TARVO_HaveInstallServiceRights(nullptr, &number); }},
};

/** Makes every call of a function fail with kCode. */
using Failing = std::function<std::shared_ptr<void>()>;

template <class Result, class... Arguments> Failing Fails(const char* name, Result(WINAPI* like)(Arguments...))
{
    return [=] {
        const auto hook = std::make_shared<kit::ImportHook<Result(WINAPI*)(Arguments...)>>(name, like);
        hook->Answer([](Arguments...) { return SetLastError(kCode), Result{}; });
        return std::static_pointer_cast<void>(hook);
    };
}

BOOL WINAPI FailingChange(SC_HANDLE, DWORD, void*)
{
    SetLastError(kCode);
    return FALSE;
}

/** The function that the DLL finds by name fails. */
std::shared_ptr<void> FailFoundFunction()
{
    const auto hook = std::make_shared<kit::ImportHook<decltype(&GetProcAddress)>>("GetProcAddress", &GetProcAddress);
    hook->Answer(
        [](HMODULE, const char*) { return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&FailingChange)); });
    return hook;
}

/** A closing call that works and leaves another last error behind. */
template <class Function> class Disturbing {
public:
    Disturbing(const char* name, Function like) : hook_(name, like)
    {
        hook_.Answer([this](auto argument) {
            const auto result = hook_.Original()(argument);
            SetLastError(ERROR_INVALID_DATA);
            return result;
        });
    }
    int Calls() const { return hook_.Calls(); }

private:
    kit::ImportHook<Function> hook_;
};

const struct FailureCase {
    const char* exportName;
    const char* failing; // the call
    Failing fail;
    DWORD state;           // of the service as it is told
    DWORD code;            // expected
    const char* line;      // the last before the closing one, "" for the error line
    const char* step = ""; // another line
} kFailures[] = {
    {"TARVO_InstallService", "CreateServiceA", Fails("CreateServiceA", &CreateServiceA), 0, kCode, "",
     "Installing service failed, error code: [1055]"},
    {"TARVO_InstallService", "LoadLibraryA for the description", Fails("LoadLibraryA", &LoadLibraryA), 0, 0,
     "Function TARVO_InstallService OK."},
    {"TARVO_ChangeServiceConfig", "ChangeServiceConfigA", Fails("ChangeServiceConfigA", &ChangeServiceConfigA), 0,
     kCode, ""},
    {"TARVO_ChangeServiceConfig", "ChangeServiceConfig2A for the description", FailFoundFunction, 0, 0,
     "Function TARVO_ChangeServiceConfig OK."},
    {"TARVO_ChangeServiceConfig2", "LoadLibraryA", Fails("LoadLibraryA", &LoadLibraryA), 0, kCode, ""},
    {"TARVO_ChangeServiceConfig2", "GetProcAddress", Fails("GetProcAddress", &GetProcAddress), 0, kCode, ""},
    {"TARVO_ChangeServiceConfig2", "ChangeServiceConfig2A", FailFoundFunction, 0, kCode, ""},
    {"TARVO_GetServiceConfig", "QueryServiceConfigA", Fails("QueryServiceConfigA", &QueryServiceConfigA), 0, kCode, ""},
    {"TARVO_GetServiceConfig", "LocalAlloc", Fails("LocalAlloc", &LocalAlloc), 0, kCode, ""},
    {"TARVO_RemoveService", "DeleteService", Fails("DeleteService", &DeleteService), SERVICE_STOPPED, kCode, ""},
    {"TARVO_StartService", "StartServiceA", Fails("StartServiceA", &StartServiceA), SERVICE_STOPPED, kCode, ""},
    {"TARVO_StartService", "StartServiceA of a running one", Fails("StartServiceA", &StartServiceA), SERVICE_PAUSED, 0,
     "Function TARVO_StartService OK."},
    {"TARVO_StopService", "ControlService", Fails("ControlService", &ControlService), SERVICE_STOP_PENDING, kCode, ""},
    {"TARVO_StopService", "ControlService of a stopped one", Fails("ControlService", &ControlService), SERVICE_STOPPED,
     0, "Function TARVO_StopService OK."},
    {"TARVO_StopService", "QueryServiceStatus counts as stopped", Fails("QueryServiceStatus", &QueryServiceStatus), 0,
     0, "Function TARVO_StopService OK."},
    {"TARVO_SendUserControl", "ControlService", Fails("ControlService", &ControlService), 0, kCode, ""},
    {"TARVO_GetServiceStatus", "QueryServiceStatus", Fails("QueryServiceStatus", &QueryServiceStatus), 0, kCode, ""},
    {"TARVO_WaitForServiceState", "QueryServiceStatus", Fails("QueryServiceStatus", &QueryServiceStatus), 0, kCode, "",
     "Waiting for service [TarvoFailure] state failed"},
    {"TARVO_WaitForServiceState", "OpenSCManagerA", Fails("OpenSCManagerA", &OpenSCManagerA), 0, kCode, "",
     "Failed to open connection to SCM."},
    {"TARVO_WaitForServiceState", "OpenServiceA", Fails("OpenServiceA", &OpenServiceA), 0, kCode, "",
     "Failed to open service."},
    {"TARVO_IsServiceInstalled", "OpenServiceA", Fails("OpenServiceA", &OpenServiceA), 0, kCode, "",
     "Querying service failed."},
};

class ServiceFailure : public kit::LibraryTest {
protected:
    /** Makes one call while something fails, and looks at everything but what it returns. */
    void Run(const FailureCase& row, const char* service)
    {
        const std::string name = row.exportName;
        const kit::TraceLog log(Scratch().Path("trace.log"));
        const std::string record = Record();
        std::optional<kit::ImportHook<decltype(&QueryServiceStatus)>> status;
        if (row.state) {
            status.emplace("QueryServiceStatus", &QueryServiceStatus);
            status->Answer([&](SC_HANDLE, SERVICE_STATUS* told) { return told->dwCurrentState = row.state, TRUE; });
        }
        {
            int opened = 0;
            const auto count = [&opened](auto& hook) {
                hook.Answer([&opened, &hook](auto... arguments) {
                    const SC_HANDLE handle = hook.Original()(arguments...);
                    opened += handle != nullptr;
                    return handle;
                });
            };
            kit::ImportHook manager("OpenSCManagerA", &OpenSCManagerA);
            kit::ImportHook open("OpenServiceA", &OpenServiceA);
            kit::ImportHook create("CreateServiceA", &CreateServiceA);
            count(manager);
            count(open);
            count(create);
            const Disturbing close("CloseServiceHandle", &CloseServiceHandle);
            const Disturbing free("FreeLibrary", &FreeLibrary);
            const Disturbing localFree("LocalFree", &LocalFree);
            const auto failing = row.fail();
            EXPECT_EQ(row.code, kExports.at(name)(service));
            EXPECT_EQ(opened, close.Calls()) << "opened and closed";
        }
        const std::vector<std::string> lines = log.Messages();
        const std::string text = SystemTextWithLineEnd(row.code);
        if (row.code) {
            EXPECT_EQ(text, kit::LastMessage());
        }
        const std::string error =
            "Function " + name + " error: [" + std::to_string(row.code) + "] (" + text.substr(0, text.find('\n'));
        ASSERT_GT(lines.size(), 3U);
        EXPECT_EQ("} " + name, lines.back());
        EXPECT_EQ(*row.line ? row.line : error, lines[lines.size() - (*row.line ? 2 : 3)]);
        EXPECT_TRUE(log.HasEach({row.step}));
        EXPECT_EQ(!row.code && (name == "TARVO_InstallService" || name == "TARVO_ChangeServiceConfig"),
                  kit::FileExists(record))
            << "recorded";
        DeleteFileA(record.c_str());
    }
};

TEST_F(ServiceFailure, OfOneCallGivesItsCodeAndText)
{
    TestService service("TarvoFailure");
    service.Install("plain");
    for (const FailureCase& row : kFailures) {
        SCOPED_TRACE(std::string(row.exportName) + ", " + row.failing);
        TestService missing(kMissing);
        const bool installs = std::string(row.exportName) == "TARVO_InstallService";
        Run(row, installs ? kMissing : service.Name());
        EXPECT_EQ(installs && !row.code, missing.Exists());
    }
}

TEST_F(ServiceFailure, ToConnectOrOpenEndsAllButTheQuestionsOfRights)
{
    for (const auto& [name, call] : kExports) {
        SCOPED_TRACE(name);
        const bool asks = name.starts_with("TARVO_Have");
        const std::string asked = asks ? "Function " + name + " OK." : "";
        Run({name.c_str(), "", Fails("OpenSCManagerA", &OpenSCManagerA), 0, kCode, ""}, kMissing);
        Run({name.c_str(), "", Fails("OpenServiceA", &OpenServiceA), 0, asks ? 0 : kCode, asked.c_str()}, kMissing);
    }
}

} // namespace
