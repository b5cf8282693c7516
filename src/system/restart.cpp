// Restarting the machine at the end of an installation.

#include "base/handle.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** Lets the process shut the machine down. It may stay able to: the restart is on its way. */
DWORD EnableShutdownPrivilege()
{
    UniqueKernelHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.Put()))
        return GetLastError();
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    LookupPrivilegeValueA(nullptr, "SeShutdownPrivilege", &privileges.Privileges[0].Luid);
    if (!AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr))
        return GetLastError();
    return ERROR_SUCCESS;
}

DWORD InitiateRestart(BOOL forced)
{
    if (const DWORD code = EnableShutdownPrivilege())
        return code;
    TracePrint(kInfo, 3, "Initiating SystemShutdown, forced=[%d]...\n", forced);
    return InitiateSystemShutdownA(nullptr, nullptr, 0, forced, TRUE) ? ERROR_SUCCESS : GetLastError();
}

DWORD NtSpecificReboot(int mode)
{
    FunctionScope scope("NtSpecificReboot", 2);
    if (mode != TARVO_REBOOT_NORMAL && mode != TARVO_REBOOT_FORCED)
        return scope.Error(ERROR_INVALID_PARAMETER);
    return scope.End(InitiateRestart(mode == TARVO_REBOOT_FORCED));
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_Reboot(int mode)
{
    FunctionScope scope("TARVO_Reboot", 0);
    TracePrint(kInfo, 1, "mode=[%d]\n", mode);
    return scope.End(NtSpecificReboot(mode));
}
