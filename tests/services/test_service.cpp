#include "services/test_service.h"

#include <memory>

namespace {

// Of the service process.
std::string recordFile;
SERVICE_STATUS_HANDLE statusHandle;

void Record(const std::string& word)
{
    kit::WriteFile(recordFile, (kit::FileExists(recordFile) ? kit::ReadFile(recordFile) : "") + word + " ");
}

void Report(DWORD state)
{
    const DWORD accepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    const DWORD exitCode = state == SERVICE_STOPPED ? 77 : 0;
    SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, accepted, exitCode, 0, 0, 0};
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI HandleControl(DWORD control, DWORD, void*, void*)
{
    if (control != SERVICE_CONTROL_INTERROGATE)
        Record(std::to_string(control));
    if (control == SERVICE_CONTROL_STOP)
        Report(SERVICE_STOPPED);
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD, char** arguments)
{
    statusHandle = RegisterServiceCtrlHandlerExA(arguments[0], HandleControl, nullptr);
    Record("start");
    Report(SERVICE_START_PENDING);
    Sleep(1500);
    Report(SERVICE_RUNNING);
}

const kit::ChildRole role("service", [](const std::string& argument) {
    recordFile = argument;
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

ServiceHandle OpenService(const char* name)
{
    return ServiceHandle(OpenServiceA(OpenManager().get(), name, SERVICE_ALL_ACCESS));
}

} // namespace

void TestService::Install(DWORD type, bool runs)
{
    const std::string program = "\"" + kit::ProgramFolder() + "\\tarvo_export_tests.exe\" --child service \"";
    const std::string path = runs ? program + folder_.Path("record") + "\"" : "C:\\old.exe";
    const ServiceHandle service(CreateServiceA(OpenManager().get(), Name(), Name(), SERVICE_ALL_ACCESS, type,
                                               SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, path.c_str(), nullptr,
                                               nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(service) << GetLastError();
}

bool TestService::Reaches(DWORD state, int attempts) const
{
    for (;; Sleep(10)) {
        SERVICE_STATUS status = {};
        QueryServiceStatus(OpenService(Name()).get(), &status);
        if (status.dwCurrentState == state || attempts-- <= 0)
            return status.dwCurrentState == state;
    }
}

void TestService::Remove()
{
    for (int attempt = 0; attempt < 500; ++attempt) {
        const ServiceHandle service = OpenService(Name());
        if (!service)
            return;
        SERVICE_STATUS status;
        ControlService(service.get(), SERVICE_CONTROL_STOP, &status); // works as soon as it runs
        DeleteService(service.get());
        Sleep(attempt ? 10 : 0);
    }
    ADD_FAILURE() << name_ << " cannot be removed";
}
