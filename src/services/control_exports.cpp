// Starting, stopping, controlling, watching services, and the rights to do so.

#include "services/service_call.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

DWORD GetStatus(ServiceCall& call, const char* machine, const char* name, DWORD* interactive, DWORD* state)
{
    if (const DWORD code = call.Run(machine, name, GENERIC_READ,
                                    [&](Service& service) { return service.QueryStatus(interactive, state); }))
        return code;
    TracePrint(kInfo, 0, "Detected status: interact=[%d], state=[%d]\n", ShownNumber(interactive), ShownNumber(state));
    return ERROR_SUCCESS;
}

DWORD OpenForWait(ServiceCall& call, const char* machine, const char* name)
{
    const DWORD code = call.OpenService(machine, name, GENERIC_READ);
    if (name && code != ERROR_SUCCESS) {
        TracePrint(kWarning, 1, "%s",
                   call.Manager().Handle() ? "Failed to open service.\n" : "Failed to open connection to SCM.\n");
    }
    return code;
}

/** Tries to open a service with an access; whatever keeps it from being opened counts as a lack of rights. */
DWORD AskRights(ServiceCall& call, const char* machine, const char* name, DWORD access, DWORD* haveRights)
{
    if (!name || !haveRights)
        return ERROR_INVALID_PARAMETER;
    *haveRights = 0;
    if (const DWORD code = call.OpenManager(machine))
        return code;
    *haveRights = call.OpenedService().Open(call.Manager(), name, access) == ERROR_SUCCESS;
    TracePrint(kInfo, 0, "HaveRights=[%d]\n", static_cast<int>(*haveRights));
    return ERROR_SUCCESS;
}

DWORD AskInstallRights(ServiceCall& call, const char* machine, DWORD* haveRights)
{
    if (haveRights)
        *haveRights = 0;
    const DWORD code = call.Manager().Open(machine, nullptr, SC_MANAGER_CREATE_SERVICE);
    if (code != ERROR_SUCCESS && code != ERROR_ACCESS_DENIED)
        return code;
    if (haveRights)
        *haveRights = code == ERROR_SUCCESS;
    TracePrint(kInfo, 0, "HaveRights=[%d]\n", ShownNumber(haveRights));
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_StartService(const char* machine, const char* service)
{
    ServiceCall call("TARVO_StartService");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(
        call.Run(machine, service, GENERIC_READ | SERVICE_START, [](Service& opened) { return opened.Start(); }));
}

DWORD __cdecl TARVO_StopService(const char* machine, const char* service)
{
    ServiceCall call("TARVO_StopService");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(
        call.Run(machine, service, GENERIC_READ | SERVICE_STOP, [](Service& opened) { return opened.Stop(); }));
}

DWORD __cdecl TARVO_SendUserControl(const char* machine, const char* service, DWORD control)
{
    ServiceCall call("TARVO_SendUserControl");
    TracePrint(kInfo, 1, "Called with [%s] [%s] [0x%X]\n", Shown(machine), Shown(service),
               static_cast<unsigned>(control));
    return call.End(
        call.Run(machine, service, GENERIC_EXECUTE, [&](Service& opened) { return opened.Control(control); }));
}

DWORD __cdecl TARVO_GetServiceStatus(const char* machine, const char* service, DWORD* interactive, DWORD* state)
{
    ServiceCall call("TARVO_GetServiceStatus");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(GetStatus(call, machine, service, interactive, state));
}

DWORD __cdecl TARVO_WaitForServiceState(const char* machine, const char* service, DWORD state, DWORD timeout,
                                        DWORD* exitCode)
{
    ServiceCall call("TARVO_WaitForServiceState");
    TracePrint(kInfo, 1, "Called with [%s] [%s] [0x%X] [%d]\n", ShownMachine(machine), Shown(service),
               static_cast<unsigned>(state), static_cast<int>(timeout));
    if (const DWORD code = OpenForWait(call, machine, service))
        return call.End(code);
    const DWORD code = call.OpenedService().WaitForState(state, timeout, exitCode);
    TracePrint(kInfo, 1, "WaitForState returned=[%d], Resultcode=[0x%X]\n", static_cast<int>(code),
               static_cast<unsigned>(ShownNumber(exitCode)));
    if (code == ERROR_TIMEOUT) {
        TracePrint(kInfo, 1, "GAS timeout problem found! srv=[%s], timeout=[%d]\n", Shown(service),
                   static_cast<int>(timeout));
        return ERROR_SUCCESS; // agreed with callers: only the log tells, and the last-error text stays
    }
    if (code != ERROR_SUCCESS)
        TracePrint(kWarning, 1, "Waiting for service [%s] state failed\n", Shown(service));
    return call.End(code);
}

DWORD __cdecl TARVO_HaveChangeConfigRights(const char* machine, const char* service, DWORD* haveRights)
{
    ServiceCall call("TARVO_HaveChangeConfigRights");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(AskRights(call, machine, service, SERVICE_QUERY_CONFIG | SERVICE_CHANGE_CONFIG, haveRights));
}

DWORD __cdecl TARVO_HaveStartStopRights(const char* machine, const char* service, DWORD* haveRights)
{
    ServiceCall call("TARVO_HaveStartStopRights");
    TracePrint(kInfo, 1, "Called with [%s] [%s]\n", ShownMachine(machine), Shown(service));
    return call.End(AskRights(call, machine, service, SERVICE_QUERY_STATUS | SERVICE_START | SERVICE_STOP, haveRights));
}

DWORD __cdecl TARVO_HaveInstallServiceRights(const char* machine, DWORD* haveRights)
{
    ServiceCall call("TARVO_HaveInstallServiceRights");
    TracePrint(kInfo, 1, "Called with [%s]\n", ShownMachine(machine));
    return call.End(AskInstallRights(call, machine, haveRights));
}
