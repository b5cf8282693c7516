#include "uninstall/service_step.h"

#include <cstdlib>

#include "base/multibyte.h"
#include "base/multistring.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"
#include "uninstall/entries.h"
#include "uninstall/recording.h"
#include "uninstall/rollback_log.h"

namespace tarvo {
namespace {

constexpr DWORD kStopTimeout = 60000; // milliseconds

// The product's own components are removed without being stopped here.
constexpr const char* kComponentServices[] = {"Velmora Warden", "Velmora Sieve", "Velmora Scout"};

bool IsComponentService(const char* name)
{
    for (const char* component : kComponentServices) {
        if (EqualNoCase(name, component))
            return true;
    }
    return false;
}

/** The time-out of the wait counts as a success there, so that a service which ignores its stop shows as stopped. */
void StopAndWait(const char* name)
{
    if (TARVO_StopService(nullptr, name) == ERROR_INVALID_SERVICE_CONTROL) {
        TracePrint(kWarning, 3, "%s", "Stopping not supported.\n");
        return;
    }
    DWORD exitCode = 0;
    if (TARVO_WaitForServiceState(nullptr, name, SERVICE_STOPPED, kStopTimeout, &exitCode) != ERROR_SUCCESS)
        TracePrint(kWarning, 3, "%s", "Stopping failed.\n");
    else
        TracePrint(kInfo, 3, "%s", "Stopped.\n");
}

void RemoveRecorded(const char* name)
{
    TracePrint(kInfo, 3, "Deleting service [%s], \n", name);
    DWORD interactive = 0;
    DWORD state = 0;
    if (TARVO_GetServiceStatus(nullptr, name, &interactive, &state) != ERROR_SUCCESS) {
        TracePrint(kWarning, 3, "%s", "Could not get status.\n");
        return;
    }
    if (state != SERVICE_STOPPED && !IsComponentService(name))
        StopAndWait(name);
    const DWORD code = TARVO_RemoveService(nullptr, name);
    TracePrint(kInfo, 3, "Deleting service [%s] results in [%d]\n", name, static_cast<int>(code));
}

/** A line without a value is the name of a service to remove; one with a value only if that is not zero. */
bool IsForRemoval(const EntryLine& line)
{
    return !line.HasValue() || strtol(line.Value(), nullptr, 10) != 0;
}

} // namespace

DWORD PerformUninstallService()
{
    FunctionScope scope("PerformUninstallService", 2);
    HeapText list;
    if (const DWORD code = GetRollbackSection(kServicesSection, list))
        return scope.Error(code);
    TracePrint(kInfo, 3, "%s", "Starting removing services...\n");
    for (const char* text = list.Get(); *text; text = NextString(text)) {
        EntryLine line;
        if (line.Split(text) && IsForRemoval(line))
            RemoveRecorded(line.Item());
    }
    return scope.Ok();
}

} // namespace tarvo
