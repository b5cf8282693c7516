#include "services/service.h"

#include "base/dynamic_call.h"
#include "base/text.h"
#include "frame/trace.h"
#include "services/service_control_manager.h"

namespace tarvo {
namespace {

constexpr DWORD kPollInterval = 1000; // milliseconds

void Store(DWORD* answer, DWORD value)
{
    if (answer)
        *answer = value;
}

/** @param text  NULL counts as empty. */
void StoreText(char* answer, size_t size, const char* text)
{
    if (answer)
        CopyCut(answer, size, Shown(text, ""));
}

/**
 * Reads a configuration into a block of the size it has; again if it has grown meanwhile.
 * @return false if it cannot be read; GetLastError tells why
 */
bool ReadConfig(SC_HANDLE service, UniqueLocal<QUERY_SERVICE_CONFIGA>& config)
{
    constexpr int kMaxReads = 4;
    DWORD needed = 0;
    QueryServiceConfigA(service, nullptr, 0, &needed);
    for (int read = 0; read < kMaxReads; ++read) {
        config.Reset(static_cast<QUERY_SERVICE_CONFIGA*>(LocalAlloc(LPTR, needed)));
        if (!config)
            return false;
        if (QueryServiceConfigA(service, config.Get(), needed, &needed))
            return true;
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return false;
    }
    return false;
}

} // namespace

DWORD Service::Open(const ServiceControlManager& manager, const char* name, DWORD access)
{
    Reset();
    if (!manager.Handle())
        return ERROR_INVALID_HANDLE;
    service_.Reset(OpenServiceA(manager.Handle(), name, access));
    return service_ ? ERROR_SUCCESS : SetError(GetLastError());
}

void Service::Attach(SC_HANDLE service)
{
    Reset();
    service_.Reset(service);
}

DWORD Service::Close()
{
    Reset();
    return CloseChecked(service_) ? ERROR_SUCCESS : SetError(GetLastError());
}

DWORD Service::QueryStatus(DWORD* interactive, DWORD* state)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    Store(interactive, 0);
    Store(state, 0);
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service_.Get(), &status))
        return SetError(GetLastError());
    Store(interactive, status.dwServiceType & SERVICE_INTERACTIVE_PROCESS);
    Store(state, status.dwCurrentState);
    return ERROR_SUCCESS;
}

bool Service::IsActive()
{
    DWORD state = 0;
    return QueryStatus(nullptr, &state) == ERROR_SUCCESS && state != SERVICE_STOPPED;
}

DWORD Service::Start()
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    if (IsActive())
        return ERROR_SUCCESS;
    return StartServiceA(service_.Get(), 0, nullptr) ? ERROR_SUCCESS : SetError(GetLastError());
}

DWORD Service::Stop()
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    return IsActive() ? Control(SERVICE_CONTROL_STOP) : ERROR_SUCCESS;
}

DWORD Service::Delete()
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    if (IsActive())
        Stop();
    return DeleteService(service_.Get()) ? ERROR_SUCCESS : SetError(GetLastError());
}

DWORD Service::QueryConfig(const ServiceConfigAnswers& answers)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    UniqueLocal<QUERY_SERVICE_CONFIGA> config;
    if (!ReadConfig(service_.Get(), config))
        return SetError(GetLastError());
    Store(answers.startType, config.Get()->dwStartType);
    Store(answers.interactive, (config.Get()->dwServiceType & SERVICE_INTERACTIVE_PROCESS) != 0);
    StoreText(answers.binaryPath, MAX_PATH, config.Get()->lpBinaryPathName);
    StoreText(answers.account, kMaxServiceText, config.Get()->lpServiceStartName);
    StoreText(answers.displayName, kMaxServiceText, config.Get()->lpDisplayName);
    return ERROR_SUCCESS;
}

DWORD Service::ChangeConfig(const ServiceSettings& settings)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    if (!ChangeServiceConfigA(service_.Get(), settings.serviceType, settings.startType, SERVICE_NO_CHANGE,
                              settings.binaryPath, nullptr, nullptr, nullptr, settings.account, settings.password,
                              settings.displayName))
        return SetError(GetLastError());
    Describe(settings.displayName);
    return ERROR_SUCCESS;
}

DWORD Service::ChangeConfig2(DWORD level, void* information)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    const UniqueModule advapi(LoadLibraryA("advapi32.dll"));
    if (!advapi)
        return SetError(GetLastError());
    const auto change = LookUpIn<decltype(&ChangeServiceConfig2A)>(advapi.Get(), "ChangeServiceConfig2A");
    if (!change || !change(service_.Get(), level, information))
        return SetError(GetLastError());
    return ERROR_SUCCESS;
}

DWORD Service::Describe(const char* text)
{
    SERVICE_DESCRIPTIONA description = {const_cast<char*>(text)};
    return ChangeConfig2(SERVICE_CONFIG_DESCRIPTION, &description);
}

DWORD Service::Control(DWORD code)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    SERVICE_STATUS status = {};
    return ControlService(service_.Get(), code, &status) ? ERROR_SUCCESS : SetError(GetLastError());
}

DWORD Service::WaitForState(DWORD wanted, DWORD timeout, DWORD* exitCode)
{
    Reset();
    if (!service_)
        return ERROR_INVALID_HANDLE;
    Store(exitCode, 0);
    const DWORD start = GetTickCount();
    for (;;) {
        SERVICE_STATUS status = {};
        if (!QueryServiceStatus(service_.Get(), &status))
            return SetError(GetLastError());
        if (status.dwCurrentState == wanted) {
            Store(exitCode, status.dwWin32ExitCode);
            return ERROR_SUCCESS;
        }
        if (GetTickCount() - start > timeout) { // the difference is right across a wrap of the count, too
            TracePrint(kWarning, 2,
                       "Service::WaitForState: Timeout (%d sec) waiting for service status elapsed, last status=%d\n",
                       static_cast<int>(timeout / 1000), static_cast<int>(status.dwCurrentState));
            SetLastError(ERROR_TIMEOUT);
            return SetError(ERROR_TIMEOUT);
        }
        Sleep(kPollInterval);
    }
}

} // namespace tarvo
