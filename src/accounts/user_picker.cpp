// TARVO_DlgSelectUser.

#include "accounts/user_browser.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr DWORD kBrowserFlags = 0x100A;

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_DlgSelectUser(HWND owner, char* user, DWORD userSize, char* domain, DWORD domainSize)
{
    FunctionScope scope("TARVO_DlgSelectUser", 0);
    TracePrint(kInfo, 1, "Hwnd=[0x%X], User=[0x%X] [%d], Domain=[0x%X] [%d]\n", reinterpret_cast<unsigned>(owner),
               reinterpret_cast<unsigned>(user), static_cast<int>(userSize), reinterpret_cast<unsigned>(domain),
               static_cast<int>(domainSize));
    if (!user || !domain) {
        TracePrint(kError, 1, "%s", "Passed NULL as buffer parameter.\n");
        return scope.Error(ERROR_INVALID_PARAMETER);
    }
    BOOL cancelled = FALSE;
    if (!OpenUserBrowseDialogA(owner, "", nullptr, kBrowserFlags, {user, userSize, domain, domainSize}, &cancelled))
        return scope.Error("Unable to show UserBrowse dialog", TARVO_PICKER_UNAVAILABLE);
    if (cancelled)
        return scope.Error("UserBrowse dialog cancelled by the user", TARVO_PICKER_CANCELLED);
    TracePrint(kInfo, 0, "Returning user=[%s\\%s]\n", domainSize ? domain : "", userSize ? user : "");
    return scope.Ok();
}
