#include "services/test_service.h"

#include <vector>

namespace {

constexpr struct Mode {
    const char* name;
    DWORD pending; // milliseconds before it runs
    DWORD accepted;
    bool obeys;
} kModes[] = {
    {"plain", 0, SERVICE_ACCEPT_STOP, true},
    {"slow", 1500, SERVICE_ACCEPT_STOP, true},
    {"refuses", 0, 0, true},
    {"ignores", 0, SERVICE_ACCEPT_STOP, false},
};

// Of the service process.
Mode mode;
std::string recordFile;
SERVICE_STATUS_HANDLE statusHandle;

void Record(const std::string& word)
{
    kit::WriteFile(recordFile, (kit::FileExists(recordFile) ? kit::ReadFile(recordFile) : "") + word + " ");
}

void Report(DWORD state)
{
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? mode.accepted : 0;
    status.dwWin32ExitCode = state == SERVICE_STOPPED ? 77 : 0;
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI HandleControl(DWORD control, DWORD, void*, void*)
{
    if (control == SERVICE_CONTROL_INTERROGATE)
        return NO_ERROR;
    Record(std::to_string(control));
    if (control == SERVICE_CONTROL_STOP && mode.obeys)
        Report(SERVICE_STOPPED);
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD, char** arguments)
{
    statusHandle = RegisterServiceCtrlHandlerExA(arguments[0], HandleControl, nullptr);
    Record("start");
    Report(SERVICE_START_PENDING);
    Sleep(mode.pending);
    Report(SERVICE_RUNNING);
}

/** argument: mode, comma, file for the record */
const kit::ChildRole role("service", [](const std::string& argument) {
    const size_t comma = argument.find(',');
    for (const Mode& row : kModes) {
        if (argument.substr(0, comma) == row.name)
            mode = row;
    }
    recordFile = argument.substr(comma + 1);
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, ServiceMain}, {nullptr, nullptr}};
    StartServiceCtrlDispatcherA(table);
});

/** A service opened for a moment. */
class OpenedService {
public:
    explicit OpenedService(const std::string& name)
        : manager_(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)),
          service_(OpenServiceA(manager_, name.c_str(), SERVICE_ALL_ACCESS))
    {
    }
    ~OpenedService()
    {
        if (service_)
            CloseServiceHandle(service_);
        CloseServiceHandle(manager_);
    }
    OpenedService(const OpenedService&) = delete;
    OpenedService& operator=(const OpenedService&) = delete;

    SC_HANDLE Manager() const { return manager_; }
    SC_HANDLE Get() const { return service_; }

    SERVICE_STATUS_PROCESS Status() const
    {
        SERVICE_STATUS_PROCESS status = {};
        DWORD needed = 0;
        QueryServiceStatusEx(service_, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                             &needed);
        return status;
    }

private:
    SC_HANDLE manager_;
    SC_HANDLE service_;
};

} // namespace

void TestService::Install(const std::string& modeName, DWORD type)
{
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string path =
        "\"" + std::string(program) + "\" --child service \"" + modeName + "," + folder_.Path("record") + "\"";
    const OpenedService opened(name_);
    const SC_HANDLE service =
        CreateServiceA(opened.Manager(), Name(), Name(), SERVICE_ALL_ACCESS, type, SERVICE_DEMAND_START,
                       SERVICE_ERROR_NORMAL, path.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_TRUE(service) << GetLastError();
    CloseServiceHandle(service);
}

void TestService::Start(DWORD state)
{
    ASSERT_TRUE(StartServiceA(OpenedService(name_).Get(), 0, nullptr)) << GetLastError();
    ASSERT_TRUE(Reaches(state)) << State();
}

bool TestService::Exists() const
{
    return OpenedService(name_).Get() != nullptr;
}

bool TestService::IsGone() const
{
    return Reaches(0);
}

DWORD TestService::State() const
{
    return OpenedService(name_).Status().dwCurrentState;
}

bool TestService::Reaches(DWORD state) const
{
    for (int attempt = 0; attempt < 500 && State() != state; ++attempt)
        Sleep(10);
    return State() == state;
}

std::string TestService::Recorded() const
{
    return kit::FileExists(folder_.Path("record")) ? kit::ReadFile(folder_.Path("record")) : "";
}

void TestService::Remove()
{
    for (int attempt = 0; attempt < 500; ++attempt) {
        const OpenedService opened(name_);
        if (!opened.Get())
            return;
        if (const DWORD id = opened.Status().dwProcessId) {
            const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
            TerminateProcess(process, 0);
            WaitForSingleObject(process, 5000);
            CloseHandle(process);
        }
        DeleteService(opened.Get());
        Sleep(10);
    }
    ADD_FAILURE() << name_ << " cannot be removed";
}

std::string ConfigOf(const char* service)
{
    std::vector<BYTE> bytes(8192);
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(bytes.data());
    DWORD needed = 0;
    if (!QueryServiceConfigA(OpenedService(service).Get(), config, 8192, &needed))
        return "error " + std::to_string(GetLastError());
    return "type " + std::to_string(config->dwServiceType) + " start " + std::to_string(config->dwStartType) +
           " error " + std::to_string(config->dwErrorControl) + " path [" + config->lpBinaryPathName + "] account [" +
           config->lpServiceStartName + "] display [" + config->lpDisplayName + "]";
}

std::string DescriptionOf(const char* service)
{
    std::vector<BYTE> bytes(8192);
    DWORD needed = 0;
    if (!QueryServiceConfig2A(OpenedService(service).Get(), SERVICE_CONFIG_DESCRIPTION, bytes.data(), 8192, &needed))
        return "error " + std::to_string(GetLastError());
    const char* const text = reinterpret_cast<SERVICE_DESCRIPTIONA*>(bytes.data())->lpDescription;
    return text ? text : "none";
}

std::string SystemTextWithLineEnd(DWORD code)
{
    char text[1024] = {};
    FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text, sizeof text,
                   nullptr);
    return text;
}
