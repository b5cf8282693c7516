// The exports that grant one principal access.

#include "base/text.h"
#include "frame/scope.h"
#include "security/object_security.h"
#include "security/sid.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

DWORD CheckObject(DWORD type, const char* name)
{
    if (type != SE_FILE_OBJECT && type != SE_REGISTRY_KEY) {
        TracePrint(kError, 1, "%s", "Unsupported object type.\n");
        return ERROR_INVALID_PARAMETER;
    }
    return name ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

DWORD GrantTo(const UniqueSid& sid, DWORD type, const char* name, DWORD mask, BOOL replace, BOOL recursive)
{
    return ApplyObjectSecurity(type, name, {sid.Get(), mask, replace, true, true}, recursive);
}

DWORD GrantToAccount(const char* account, DWORD type, const char* name, DWORD mask, BOOL replace, BOOL recursive)
{
    if (const DWORD code = CheckObject(type, name))
        return code;
    UniqueSid sid;
    if (const DWORD code = account ? GetAccountSid(account, sid) : GetCurrentSID(sid))
        return code;
    return GrantTo(sid, type, name, mask, replace, recursive);
}

DWORD GrantToRid(DWORD rid, const char* domain, DWORD type, const char* name, DWORD mask, BOOL replace, BOOL recursive)
{
    if (const DWORD code = CheckObject(type, name))
        return code;
    UniqueSid sid;
    if (const DWORD code = LookupSidFromRid(domain, rid, sid))
        return code;
    return GrantTo(sid, type, name, mask, replace, recursive);
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_SetObjectSecurity(DWORD type, const char* name, const char* account, DWORD mask, BOOL replace,
                                      BOOL recursive)
{
    FunctionScope scope("TARVO_SetObjectSecurity", 0);
    TracePrint(kInfo, 1, "[%d] [%s] [%s] [0x%X] [%d] [%d]\n", static_cast<int>(type), Shown(name), Shown(account),
               static_cast<unsigned>(mask), replace, recursive);
    return scope.End(GrantToAccount(account, type, name, mask, replace, recursive));
}

DWORD __cdecl TARVO_SetObjectSecurityRid(DWORD type, const char* name, DWORD rid, const char* domain, DWORD mask,
                                         BOOL replace, BOOL recursive)
{
    FunctionScope scope("TARVO_SetObjectSecurityRid", 0);
    TracePrint(kInfo, 1, "[%d] [%s] [0x%X] [%s]\n", static_cast<int>(type), Shown(name), static_cast<unsigned>(rid),
               Shown(domain));
    TracePrint(kInfo, 1, "[0x%X] [%d] [%d]\n", static_cast<unsigned>(mask), replace, recursive);
    return scope.End(GrantToRid(rid, domain, type, name, mask, replace, recursive));
}

// The forms of one type hand on what the general export returned, its text stored.

DWORD __cdecl TARVO_SetFileSecurity(const char* path, const char* account, DWORD mask, BOOL replace, BOOL recursive)
{
    FunctionScope scope("TARVO_SetFileSecurity", 0);
    return TARVO_SetObjectSecurity(SE_FILE_OBJECT, path, account, mask, replace, recursive);
}

DWORD __cdecl TARVO_SetFileSecurityRid(const char* path, DWORD rid, const char* domain, DWORD mask, BOOL replace,
                                       BOOL recursive)
{
    FunctionScope scope("TARVO_SetFileSecurityRid", 0);
    return TARVO_SetObjectSecurityRid(SE_FILE_OBJECT, path, rid, domain, mask, replace, recursive);
}

DWORD __cdecl TARVO_SetRegistrySecurity(const char* keyPath, const char* account, DWORD mask, BOOL replace,
                                        BOOL recursive)
{
    FunctionScope scope("TARVO_SetRegistrySecurity", 0);
    return TARVO_SetObjectSecurity(SE_REGISTRY_KEY, keyPath, account, mask, replace, recursive);
}

DWORD __cdecl TARVO_SetRegistrySecurityRid(const char* keyPath, DWORD rid, const char* domain, DWORD mask, BOOL replace,
                                           BOOL recursive)
{
    FunctionScope scope("TARVO_SetRegistrySecurityRid", 0);
    return TARVO_SetObjectSecurityRid(SE_REGISTRY_KEY, keyPath, rid, domain, mask, replace, recursive);
}
