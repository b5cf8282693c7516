#include "services/test_service.h"

#include <memory>

namespace {

// Of the service process.
std::string mode;
std::string recordFile;
SERVICE_STATUS_HANDLE statusHandle;

void Record(const std::string& word)
{
    kit::WriteFile(recordFile, (kit::FileExists(recordFile) ? kit::ReadFile(recordFile) : "") + word + " ");
}

void Report(DWORD state)
{
    const DWORD accepted = state == SERVICE_RUNNING && mode != "refuses" ? SERVICE_ACCEPT_STOP : 0;
    const DWORD exitCode = state == SERVICE_STOPPED ? 77 : 0;
    SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, accepted, exitCode, 0, 0, 0};
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI HandleControl(DWORD control, DWORD, void*, void*)
{
    if (control == SERVICE_CONTROL_INTERROGATE)
        return NO_ERROR;
    Record(std::to_string(control));
    if (control == SERVICE_CONTROL_STOP && mode != "ignores")
        Report(SERVICE_STOPPED);
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD, char** arguments)
{
    statusHandle = RegisterServiceCtrlHandlerExA(arguments[0], HandleControl, nullptr);
    Record("start");
    Report(SERVICE_START_PENDING);
    Sleep(mode == "slow" ? 1500 : 0);
    Report(SERVICE_RUNNING);
}

/** argument: mode, comma, file for the record */
const kit::ChildRole role("service", [](const std::string& argument) {
    mode = argument.substr(0, argument.find(','));
    recordFile = argument.substr(mode.size() + 1);
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, ServiceMain}, {nullptr, nullptr}};
    StartServiceCtrlDispatcherA(table);
});

struct CloseService {
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<SC_HANDLE__, CloseService>;

ServiceHandle OpenManager()
{
    return ServiceHandle(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

ServiceHandle OpenService(const std::string& name)
{
    return ServiceHandle(OpenServiceA(OpenManager().get(), name.c_str(), SERVICE_ALL_ACCESS));
}

SERVICE_STATUS_PROCESS StatusOf(const ServiceHandle& service)
{
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                         &needed);
    return status;
}

} // namespace

void TestService::Install(const std::string& modeName, DWORD type)
{
    const std::string program = "\"" + kit::ProgramFolder() + "\\tarvo_export_tests.exe\" --child service \"";
    const std::string path =
        modeName.empty() ? "C:\\old.exe" : program + modeName + "," + folder_.Path("record") + "\"";
    const ServiceHandle service(CreateServiceA(OpenManager().get(), Name(), Name(), SERVICE_ALL_ACCESS, type,
                                               SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path.c_str(), nullptr,
                                               nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(service) << GetLastError();
}

void TestService::Start()
{
    ASSERT_TRUE(StartServiceA(OpenService(name_).get(), 0, nullptr)) << GetLastError();
    ASSERT_TRUE(Reaches(SERVICE_RUNNING)) << State();
}

bool TestService::Exists() const
{
    return OpenService(name_) != nullptr;
}

DWORD TestService::State() const
{
    return StatusOf(OpenService(name_)).dwCurrentState;
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
        const ServiceHandle service = OpenService(name_);
        if (!service)
            return;
        if (const DWORD id = StatusOf(service).dwProcessId) {
            const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
            TerminateProcess(process, 0);
            WaitForSingleObject(process, 5000);
            CloseHandle(process);
        }
        DeleteService(service.get());
        Sleep(attempt ? 10 : 0);
    }
    ADD_FAILURE() << name_ << " cannot be removed";
}
