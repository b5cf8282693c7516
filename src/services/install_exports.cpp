// Installing, reconfiguring, asking about and removing services.

#include "services/service_call.h"
#include "tarvo/tarvo.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

constexpr DWORD kChangeAccess = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE;
constexpr DWORD kRemoveAccess = STANDARD_RIGHTS_REQUIRED | SERVICE_STOP | SERVICE_QUERY_STATUS;

/** What an installation adds to the settings of a service. */
struct Installation {
    const char* machine;
    const char* name;
    const char* dependencies;
    BOOL changeExisting;
};

/** A service's path as the manager takes it: one that runs as a program stands in quotes, arguments and all. */
class BinaryPath {
public:
    /** @param path  May be NULL; must outlive this object. @return false without memory */
    [[nodiscard]] bool Set(const char* path, DWORD serviceType)
    {
        path_ = path;
        if (!path || *path == '"' || (serviceType & SERVICE_WIN32) == 0)
            return true;
        if (!quoted_.Join("\"", path, "\""))
            return false;
        path_ = quoted_.Get();
        return true;
    }

    const char* Get() const { return path_; }

private:
    const char* path_ = nullptr;
    HeapText quoted_;
};

void Record(const char* name)
{
    TARVO_AddRollbackEntry(kServicesSection, kServicesSection, name, FALSE);
}

DWORD Create(ServiceCall& call, const Installation& installation, ServiceSettings settings)
{
    BinaryPath path;
    if (!path.Set(settings.binaryPath, settings.serviceType))
        return ERROR_NOT_ENOUGH_MEMORY;
    settings.binaryPath = path.Get();
    const DWORD code = call.Manager().CreateService(installation.name, settings, installation.dependencies);
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 1, "Installing service failed, error code: [%d]\n", static_cast<int>(code));
    return code;
}

DWORD InstallNew(ServiceCall& call, const Installation& installation, const ServiceSettings& settings)
{
    if (!settings.binaryPath)
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = Create(call, installation, settings))
        return code;
    call.Manager().Close();
    return TARVO_EnableServiceInHWProfile(installation.machine, installation.name, nullptr, nullptr);
}

DWORD ChangeExisting(const Installation& installation, const ServiceSettings& settings)
{
    TracePrint(kInfo, 1, "%s", "Service exists.\n");
    if (!installation.changeExisting) {
        TracePrint(kInfo, 1, "%s", "bChangeExisting = 0, nothing to do.");
        return ERROR_FILE_EXISTS;
    }
    TracePrint(kInfo, 1, "%s", "Changing service config...\n");
    return TARVO_ChangeServiceConfig(installation.machine, installation.name, settings.startType, settings.serviceType,
                                     settings.binaryPath, settings.account, settings.password, settings.displayName);
}

DWORD Install(ServiceCall& call, const Installation& installation, const ServiceSettings& settings)
{
    if (!installation.name)
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = call.OpenManager(installation.machine))
        return code;
    DWORD exists = 0;
    if (const DWORD code = call.Manager().ServiceExists(installation.name, &exists))
        return code;
    if (const DWORD code = exists ? ChangeExisting(installation, settings) : InstallNew(call, installation, settings))
        return code;
    Record(installation.name);
    return ERROR_SUCCESS;
}

DWORD ChangeQuoted(ServiceCall& call, ServiceSettings settings)
{
    BinaryPath path;
    if (!path.Set(settings.binaryPath, settings.serviceType))
        return ERROR_NOT_ENOUGH_MEMORY;
    settings.binaryPath = path.Get();
    return call.OpenedService().ChangeConfig(settings);
}

DWORD Change(ServiceCall& call, const char* machine, const char* name, const ServiceSettings& settings)
{
    if (const DWORD code = call.OpenService(machine, name, kChangeAccess))
        return code;
    if (const DWORD code = ChangeQuoted(call, settings))
        return code;
    call.Manager().Close();
    if (const DWORD code = TARVO_EnableServiceInHWProfile(machine, name, nullptr, nullptr))
        return code;
    Record(name);
    return ERROR_SUCCESS;
}

const char* ShownAnswer(const char* answer)
{
    return Shown(answer, "not requested");
}

DWORD GetConfig(ServiceCall& call, const char* machine, const char* name, const ServiceConfigAnswers& answers)
{
    if (const DWORD code =
            call.Run(machine, name, GENERIC_READ, [&](Service& service) { return service.QueryConfig(answers); }))
        return code;
    TracePrint(kInfo, 0, "Detected config: start=[%d], interact=[%d], binpath=[%s], account=[%s], displayname=[%s]\n",
               ShownNumber(answers.startType), ShownNumber(answers.interactive), ShownAnswer(answers.binaryPath),
               ShownAnswer(answers.account), ShownAnswer(answers.displayName));
    return ERROR_SUCCESS;
}

DWORD AskInstalled(ServiceCall& call, const char* machine, const char* name, DWORD* installed)
{
    if (!name || !installed)
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = call.OpenManager(machine))
        return code;
    if (const DWORD code = call.Manager().ServiceExists(name, installed)) {
        TracePrint(kWarning, 1, "%s", "Querying service failed.\n");
        return code;
    }
    TracePrint(kInfo, 0, "Returning Installed=[%d]\n", static_cast<int>(*installed));
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_InstallService(const char* machine, const char* service, const char* displayName, DWORD serviceType,
                                   DWORD startType, const char* binaryPath, const char* dependencies,
                                   const char* account, const char* password, BOOL changeExisting)
{
    ServiceCall call("TARVO_InstallService");
    TracePrint(kInfo, 1, "Called with: [%s] [%s] [%s] [%d] [%d]\n", ShownMachine(machine), Shown(service),
               Shown(displayName), static_cast<int>(serviceType), static_cast<int>(startType));
    TracePrint(kInfo, 0, "Called with: binpath=[%s], account=[%s] [%s], change=[%d]\n", Shown(binaryPath),
               Shown(account), password ? "password" : "null", changeExisting);
    const ServiceSettings settings = {.displayName = displayName,
                                      .serviceType = serviceType,
                                      .startType = startType,
                                      .binaryPath = binaryPath,
                                      .account = account,
                                      .password = password};
    return call.End(Install(call, {machine, service, dependencies, changeExisting}, settings));
}

DWORD __cdecl TARVO_ChangeServiceConfig(const char* machine, const char* service, DWORD startType, DWORD serviceType,
                                        const char* binaryPath, const char* account, const char* password,
                                        const char* displayName)
{
    ServiceCall call("TARVO_ChangeServiceConfig");
    TracePrint(kInfo, 1, "Called with [%s] [%s] [%d] [%d]\n", ShownMachine(machine), Shown(service),
               static_cast<int>(startType), static_cast<int>(serviceType));
    TracePrint(kInfo, 1, "Called with: binpath=[%s], account=[%s], passw=[%s], displayname=[%s]\n", Shown(binaryPath),
               Shown(account), password ? "******" : "null", Shown(displayName));
    const ServiceSettings settings = {.displayName = displayName,
                                      .serviceType = serviceType,
                                      .startType = startType,
                                      .binaryPath = binaryPath,
                                      .account = account,
                                      .password = password};
    return call.End(Change(call, machine, service, settings));
}

DWORD __cdecl TARVO_ChangeServiceConfig2(const char* machine, const char* service, DWORD level, DWORD information)
{
    ServiceCall call("TARVO_ChangeServiceConfig2");
    TracePrint(kInfo, 1, "Called with [%s] [%s] [%d] [%d]\n", Shown(machine), Shown(service), static_cast<int>(level),
               static_cast<int>(information));
    const DWORD code = call.Run(machine, service, kChangeAccess, [&](Service& opened) {
        return opened.ChangeConfig2(level, reinterpret_cast<void*>(information));
    });
    if (code == ERROR_SUCCESS)
        call.Manager().Close();
    return call.End(code);
}

DWORD __cdecl TARVO_GetServiceConfig(const char* machine, const char* service, DWORD* startType, DWORD* interactive,
                                     char* binaryPath, char* account, char* displayName)
{
    ServiceCall call("TARVO_GetServiceConfig");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(GetConfig(call, machine, service,
                              {.startType = startType,
                               .interactive = interactive,
                               .binaryPath = binaryPath,
                               .account = account,
                               .displayName = displayName}));
}

DWORD __cdecl TARVO_IsServiceInstalled(const char* machine, const char* service, DWORD* installed)
{
    ServiceCall call("TARVO_IsServiceInstalled");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(AskInstalled(call, machine, service, installed));
}

DWORD __cdecl TARVO_RemoveService(const char* machine, const char* service)
{
    ServiceCall call("TARVO_RemoveService");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(call.Run(machine, service, kRemoveAccess, [](Service& opened) { return opened.Delete(); }));
}
