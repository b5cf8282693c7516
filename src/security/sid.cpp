#include "security/sid.h"

#include <utility>

#include "base/net_buffer.h"
#include "base/text.h"
#include "base/wide_text.h"
#include "frame/library_entry.h"
#include "frame/scope.h"
#include "security/failure.h"

namespace tarvo {
namespace {

struct PlatformSidTraits {
    using Handle = PSID;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle sid) { FreeSid(sid); }
};

/** What the process token says; read once, since a change of the token is not to be seen. */
struct CurrentAccount {
    UniqueKernelHandle token;
    HeapArray<BYTE> user; // a TOKEN_USER

    PSID Sid() const { return reinterpret_cast<const TOKEN_USER*>(user.Get())->User.Sid; }
};

constinit ProcessWide<CurrentAccount> current;

void ReleaseCurrentSidCache()
{
    current->user.Reset();
    current->token.Reset();
}

bool IsInRange(const char* name, DWORD rid, DWORD first, DWORD last)
{
    FunctionScope scope(name, 3);
    const bool answer = rid >= first && rid <= last;
    TracePrint(kInfo, 3, "Answer: [%s]\n", answer ? "yes" : "no");
    return answer;
}

/** A principal right below NT AUTHORITY, S-1-5-rid. */
bool IsNTAuthorityPrincipalRid(DWORD rid)
{
    return IsInRange("IsNTAuthorityPrincipalRid", rid, 1, 32);
}

/** A well-known account, group or alias of a domain or of this machine. */
bool IsDomainRelativeRid(DWORD rid)
{
    return IsInRange("IsDomainRelativeRid", rid, 500, 999);
}

/** A built-in alias, S-1-5-32-rid. */
bool IsDomainRelativeAliasRid(DWORD rid)
{
    return IsInRange("IsDomainRelativeAliasRid", rid, 544, 999);
}

DWORD CopyOfSid(PSID source, UniqueSid& sid)
{
    const DWORD length = GetLengthSid(source);
    if (!sid.Allocate(length))
        return ERROR_NOT_ENOUGH_MEMORY;
    if (CopySid(length, sid.Get(), source))
        return ERROR_SUCCESS;
    const DWORD code = FailedCall("CopySid failed.\n");
    sid.Reset();
    return code;
}

DWORD BuildLocalGroupSid(DWORD rid, UniqueSid& sid)
{
    if (rid == SECURITY_WORLD_RID)
        return BuildSid(kEveryone, sid);
    if (rid == SECURITY_LOCAL_SYSTEM_RID)
        return BuildSid(kLocalSystem, sid);
    if (IsNTAuthorityPrincipalRid(rid))
        return BuildSid({SECURITY_NT_AUTHORITY, 1, {rid}}, sid);
    if (IsDomainRelativeAliasRid(rid))
        return BuildSid({SECURITY_NT_AUTHORITY, 2, {SECURITY_BUILTIN_DOMAIN_RID, rid}}, sid);
    return ERROR_NOT_SUPPORTED;
}

DWORD AppendRid(PSID domainSid, DWORD rid, UniqueSid& sid)
{
    const BYTE count = *GetSidSubAuthorityCount(domainSid);
    const BYTE extended = static_cast<BYTE>(count + 1);
    UniqueSid made;
    if (!made.Allocate(GetSidLengthRequired(extended)))
        return ERROR_NOT_ENOUGH_MEMORY;
    if (!InitializeSid(made.Get(), GetSidIdentifierAuthority(domainSid), extended))
        return FailedCall("InitializeSid failed.\n");
    for (BYTE index = 0; index < count; ++index)
        *GetSidSubAuthority(made.Get(), index) = *GetSidSubAuthority(domainSid, index);
    *GetSidSubAuthority(made.Get(), count) = rid;
    sid = std::move(made);
    return ERROR_SUCCESS;
}

/** Callers learn one code whatever the network's was. */
DWORD FailedNetworkCall(const char* line)
{
    TracePrint(kError, 3, "%s", line);
    return ERROR_ACCESS_DENIED;
}

/** @param domain  NULL for this machine's own accounts. */
DWORD LookUpInDomain(const char* domain, DWORD rid, UniqueSid& sid)
{
    WideText wideDomain;
    if (!wideDomain.FromAnsi(domain))
        return ERROR_NOT_ENOUGH_MEMORY;
    UniqueNetBuffer<wchar_t> controller;
    if (domain && NetGetDCName(nullptr, wideDomain.Get(), controller.PutBytes()) != NERR_Success)
        return FailedNetworkCall("NetGetDCName failed.\n");
    UniqueNetBuffer<USER_MODALS_INFO_2> modals;
    if (NetUserModalsGet(controller.Get(), 2, modals.PutBytes()) != NERR_Success || !modals)
        return FailedNetworkCall("NetUserModalsGet failed.\n");
    const PSID domainSid = modals.Get()->usrmod2_domain_id;
    if (!domainSid || !IsValidSid(domainSid))
        return FailedNetworkCall("NetUserModalsGet failed.\n");
    return AppendRid(domainSid, rid, sid);
}

DWORD LookUpRid(const char* domain, DWORD rid, UniqueSid& sid)
{
    if (!domain) {
        const DWORD code = LookupLocalGroupSidFromRid(rid, sid);
        if (code != ERROR_NOT_SUPPORTED)
            return code;
    }
    if (IsDomainRelativeRid(rid) && !IsDomainRelativeAliasRid(rid))
        return LookUpInDomain(domain, rid, sid);
    return ERROR_NOT_SUPPORTED;
}

DWORD LookUpAccount(const char* account, UniqueSid& sid)
{
    DWORD sidSize = 0;
    DWORD domainSize = 0;
    SID_NAME_USE use;
    if (LookupAccountNameA(nullptr, account, nullptr, &sidSize, nullptr, &domainSize, &use) ||
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return FailedCall("LookupAccountName failed to receive necessary buffer size.\n");
    UniqueSid found;
    HeapArray<char> domain; // the call insists on it
    if (!found.Allocate(sidSize) || !domain.Allocate(domainSize))
        return ERROR_NOT_ENOUGH_MEMORY;
    if (!LookupAccountNameA(nullptr, account, found.Get(), &sidSize, domain.Get(), &domainSize, &use))
        return FailedCall("LookupAccountName failed.\n", 0);
    sid = std::move(found);
    return ERROR_SUCCESS;
}

DWORD OpenToken()
{
    ReleaseAtUnload(ReleaseStage::kCurrentSid, ReleaseCurrentSidCache);
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, current->token.Put()))
        return FailedCall("OpenProcessToken() failed.\n");
    return ERROR_SUCCESS;
}

DWORD ReadTokenUser()
{
    const HANDLE token = current->token.Get();
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    HeapArray<BYTE> user;
    if (!user.Allocate(size))
        return ERROR_NOT_ENOUGH_MEMORY;
    if (!GetTokenInformation(token, TokenUser, user.Get(), size, &size))
        return FailedCall("GetTokenInformation failed.\n");
    current->user = std::move(user);
    return ERROR_SUCCESS;
}

DWORD CopyCurrent(UniqueSid& sid)
{
    if (!current->token) {
        if (const DWORD code = OpenToken())
            return code;
    }
    if (!current->user) {
        if (const DWORD code = ReadTokenUser())
            return code;
    }
    if (!IsValidSid(current->Sid())) {
        TracePrint(kError, 3, "%s", "TOKEN_USER brings invalid SID.\n");
        return ERROR_SUCCESS;
    }
    if (const DWORD code = CopyOfSid(current->Sid(), sid))
        return code;
    TracePrint(kInfo, 3, "%s", "SID is copied successfully.\n");
    return ERROR_SUCCESS;
}

} // namespace

DWORD BuildSid(const WellKnownSid& wellKnown, UniqueSid& sid)
{
    SID_IDENTIFIER_AUTHORITY authority = wellKnown.authority; // the call takes no const one
    Unique<PlatformSidTraits> built;
    if (!AllocateAndInitializeSid(&authority, wellKnown.count, wellKnown.subAuthorities[0], wellKnown.subAuthorities[1],
                                  0, 0, 0, 0, 0, 0, built.Put()) ||
        !built)
        return FailedCall("AllocateAndInitializeSid failed.\n");
    return CopyOfSid(built.Get(), sid);
}

DWORD LookupLocalGroupSidFromRid(DWORD rid, UniqueSid& sid)
{
    FunctionScope scope("LookupLocalGroupSidFromRid", 2);
    TracePrint(kInfo, 3, "RID=[0x%X], PSID ptr=[0x%X]\n", static_cast<unsigned>(rid), reinterpret_cast<unsigned>(&sid));
    sid.Reset();
    return scope.End(BuildLocalGroupSid(rid, sid));
}

DWORD LookupSidFromRid(const char* domain, DWORD rid, UniqueSid& sid)
{
    FunctionScope scope("LookupSidFromRid", 2);
    TracePrint(kInfo, 3, "Domain=[%s], RID=[0x%X], PSID ptr=[0x%X]\n", Shown(domain), static_cast<unsigned>(rid),
               reinterpret_cast<unsigned>(&sid));
    sid.Reset();
    return scope.End(LookUpRid(domain, rid, sid));
}

DWORD GetAccountSid(const char* account, UniqueSid& sid)
{
    FunctionScope scope("GetAccountSid", 2);
    TracePrint(kInfo, 3, "Account=[%s], PSID ptr=[0x%X]\n", Shown(account), reinterpret_cast<unsigned>(&sid));
    sid.Reset();
    return scope.End(LookUpAccount(account, sid));
}

DWORD GetCurrentSID(UniqueSid& sid)
{
    FunctionScope scope("GetCurrentSID", 2);
    sid.Reset();
    return scope.End(CopyCurrent(sid));
}

} // namespace tarvo
