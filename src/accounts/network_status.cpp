#include "accounts/network_status.h"

#include <lm.h>

#include "base/text.h"

namespace tarvo {
namespace {

struct NetworkTextRow {
    DWORD status;
    const char* text;
};

constexpr NetworkTextRow kNetworkTexts[] = {
    {NERR_UnknownDevDir, "The device or directory does not exist"},
    {NERR_RedirectedPath, "The operation is invalid for a redirected resource. The specified device name is assigned "
                          "to a shared resource."},
    {NERR_DuplicateShare, "The sharename is already in use on this server"},
    {NERR_GroupNotFound, "The local group specified by the groupname parameter does not exist"},
    {NERR_UserNotFound, "The user name could not be found"},
    {NERR_GroupExists, "The group already exists"},
    {NERR_UserExists, "The user account already exists"},
    {NERR_NotPrimary, "The operation is allowed only on the primary domain controller of the domain"},
    {NERR_PasswordTooShort, "The password is shorter than required"},
    {NERR_InvalidComputer, "The computer name is invalid"},
    {NERR_DCNotFound, "Could not find the domain controller for the domain"},
};

} // namespace

const char* GetNetApiErrorText(DWORD status)
{
    for (const NetworkTextRow& row : kNetworkTexts) {
        if (row.status == status)
            return row.text;
    }
    return "Unspecified error";
}

DWORD EndNetworkCall(FunctionScope& scope, DWORD status)
{
    return status >= NERR_BASE ? scope.Error(GetNetApiErrorText(status), status) : scope.End(status);
}

} // namespace tarvo
