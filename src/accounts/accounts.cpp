// User accounts, on this machine or in a domain.

#include "accounts/network_status.h"
#include "base/net_buffer.h"
#include "base/text.h"
#include "base/wide_text.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** Runs a call, which takes the name of a machine, where a domain keeps its accounts; NULL is this machine. */
template <class Call> DWORD OnController(const wchar_t* domain, Call call)
{
    UniqueNetBuffer<wchar_t> controller;
    if (domain) {
        if (const DWORD status = NetGetDCName(nullptr, domain, controller.PutBytes()))
            return status;
    }
    const DWORD status = call(controller.Get());
    NetApiBufferFree(controller.Release()); // no name, too
    return status;
}

DWORD AddUser(const wchar_t* domain, USER_INFO_1& user)
{
    return OnController(domain, [&](const wchar_t* machine) {
        DWORD wrongParameter = 0;
        return NetUserAdd(machine, 1, reinterpret_cast<BYTE*>(&user), &wrongParameter);
    });
}

DWORD DeleteUser(const wchar_t* domain, const wchar_t* user)
{
    return OnController(domain, [user](const wchar_t* machine) { return NetUserDel(machine, user); });
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
