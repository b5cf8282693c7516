#include "services/service_control_manager.h"

#include "services/service.h"

namespace tarvo {
namespace {

constexpr DWORD kPauseAfterOpening = 100; // milliseconds

} // namespace

DWORD ServiceControlManager::Open(const char* machine, const char* database, DWORD access)
{
    Reset();
    if (const DWORD code = Close())
        return code;
    manager_.Reset(OpenSCManagerA(machine, database, access));
    if (!manager_)
        return SetError(GetLastError());
    Sleep(kPauseAfterOpening);
    return ERROR_SUCCESS;
}

DWORD ServiceControlManager::Close()
{
    Reset();
    return CloseChecked(manager_) ? ERROR_SUCCESS : SetError(GetLastError());
}

DWORD ServiceControlManager::ServiceExists(const char* name, DWORD* exists)
{
    Reset();
    if (!manager_)
        return ERROR_INVALID_HANDLE;
    if (exists)
        *exists = 0;
    const UniqueServiceHandle service(OpenServiceA(manager_.Get(), name, GENERIC_READ));
    if (!service)
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? ERROR_SUCCESS : SetError(GetLastError());
    if (exists)
        *exists = 1;
    return ERROR_SUCCESS;
}

DWORD ServiceControlManager::CreateService(const char* name, const ServiceSettings& settings, const char* dependencies)
{
    Reset();
    if (!manager_)
        return ERROR_INVALID_HANDLE;
    const SC_HANDLE created = ::CreateServiceA(
        manager_.Get(), name, settings.displayName, SERVICE_ALL_ACCESS, settings.serviceType, settings.startType,
        SERVICE_ERROR_IGNORE, settings.binaryPath, nullptr, nullptr, dependencies, settings.account, settings.password);
    if (!created)
        return SetError(GetLastError());
    Service service;
    service.Attach(created);
    service.Describe(settings.displayName);
    if (const DWORD code = service.Close()) {
        SetLastError(code); // the text goes by it, and fetching the service's own may have changed it
        return SetError(code);
    }
    return ERROR_SUCCESS;
}

} // namespace tarvo
