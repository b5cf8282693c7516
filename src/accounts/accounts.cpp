// User accounts, on this machine or in a domain.

#include "accounts/network_status.h"
#include "base/net_buffer.h"
#include "base/text.h"
#include "base/wide_text.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

using ControllerName = UniqueNetBuffer<wchar_t>;

/** Finds where a domain keeps its accounts; without a domain the name stays empty, which is this machine. */
DWORD FindController(const wchar_t* domain, ControllerName& controller)
{
    return domain ? NetGetDCName(nullptr, domain, controller.PutBytes()) : NERR_Success;
}

DWORD AddUser(const wchar_t* domain, USER_INFO_1& user)
{
    ControllerName controller;
    if (const DWORD status = FindController(domain, controller))
        return status;
    DWORD wrongParameter = 0;
    return NetUserAdd(controller.Get(), 1, reinterpret_cast<BYTE*>(&user), &wrongParameter);
}

DWORD DeleteUser(const wchar_t* domain, const wchar_t* user)
{
    ControllerName controller;
    if (const DWORD status = FindController(domain, controller))
        return status;
    return NetUserDel(controller.Get(), user);
}

DWORD CreateAccountA(const char* domain, const char* user, const char* password, DWORD privilege, DWORD accountType)
{
    FunctionScope scope("CreateAccountA", 2);
    const WideArguments wide({domain, user, password});
    if (!wide.Converted())
        return TARVO_ERROR_FAILED;
    USER_INFO_1 info = {};
    info.usri1_name = wide[1];
    info.usri1_password = wide[2];
    info.usri1_priv = privilege;
    info.usri1_flags = accountType | UF_SCRIPT;
    return AddUser(wide[0], info);
}

DWORD DeleteAccountA(const char* domain, const char* user)
{
    FunctionScope scope("DeleteAccountA", 2);
    const WideArguments wide({domain, user});
    return wide.Converted() ? DeleteUser(wide[0], wide[1]) : TARVO_ERROR_FAILED;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_CreateAccount(const char* domain, const char* user, const char* password, DWORD privilege,
                                  DWORD accountType)
{
    FunctionScope scope("TARVO_CreateAccount", 0);
    TracePrint(kInfo, 1, "Domain=[%s], User=[%s], Password=[%s], Privilege=[0x%X], AccountType=[0x%X]\n", Shown(domain),
               Shown(user), password ? "******" : "<null>", static_cast<unsigned>(privilege),
               static_cast<unsigned>(accountType));
    return EndNetworkCall(scope, CreateAccountA(domain, user, password, privilege, accountType));
}

DWORD __cdecl TARVO_DeleteAccount(const char* domain, const char* user)
{
    FunctionScope scope("TARVO_DeleteAccount", 0);
    TracePrint(kInfo, 1, "Domain=[%s], User=[%s]\n", Shown(domain), Shown(user));
    return EndNetworkCall(scope, DeleteAccountA(domain, user));
}
