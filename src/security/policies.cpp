// The numbered security policies: a list of grants that is applied to one object or tree after the other.

#include <iterator>
#include <span>
#include <utility>

#include "base/text.h"
#include "frame/library_entry.h"
#include "frame/scope.h"
#include "security/object_security.h"
#include "security/sid.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr DWORD kFull = GENERIC_ALL;
constexpr DWORD kRead = GENERIC_READ | GENERIC_EXECUTE;
constexpr DWORD kChange = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | DELETE;

DWORD CreatorOwner(UniqueSid& sid)
{
    return BuildSid(kCreatorOwner, sid);
}

DWORD Everyone(UniqueSid& sid)
{
    return BuildSid(kEveryone, sid);
}

DWORD LocalSystem(UniqueSid& sid)
{
    return BuildSid(kLocalSystem, sid);
}

DWORD Administrators(UniqueSid& sid)
{
    return LookupLocalGroupSidFromRid(DOMAIN_ALIAS_RID_ADMINS, sid);
}

DWORD PowerUsers(UniqueSid& sid)
{
    return LookupLocalGroupSidFromRid(DOMAIN_ALIAS_RID_POWER_USERS, sid);
}

DWORD Users(UniqueSid& sid)
{
    return LookupLocalGroupSidFromRid(DOMAIN_ALIAS_RID_USERS, sid);
}

struct PolicyRow {
    DWORD (*makeSid)(UniqueSid& sid);
    DWORD mask;
    bool thisObject;
    bool inherit;
};

constexpr PolicyRow kOpenRows[] = {
    {GetCurrentSID, kFull, true, true}, {CreatorOwner, kFull, false, true},  {Everyone, kRead, true, true},
    {LocalSystem, kFull, true, true},   {Administrators, kFull, true, true}, {PowerUsers, kFull, true, true},
    {Users, kFull, true, true},
};

constexpr PolicyRow kUsersRows[] = {
    {GetCurrentSID, kFull, true, true},  {CreatorOwner, kFull, false, true}, {LocalSystem, kFull, true, true},
    {Administrators, kFull, true, true}, {PowerUsers, kChange, true, true},  {Users, kRead, true, true},
};

constexpr PolicyRow kLockedRows[] = {
    {GetCurrentSID, kFull, true, true},
    {LocalSystem, kFull, true, true},
    {Administrators, kFull, true, true},
};

constexpr size_t kMostRows = std::size(kOpenRows);

struct Policy {
    DWORD number;
    const char* line; // for the log
    std::span<const PolicyRow> rows;
};

constexpr Policy kPolicies[] = {
    {TARVO_POLICY_NONE, "Security policy is 0: no measures.\n", {}},
    {TARVO_POLICY_OPEN, "Security policy is 1: grant FC-admins,system,users,pusers, R-everyone.\n", kOpenRows},
    {TARVO_POLICY_USERS, "Security policy is 2: grant FC-admins,system, R-users, C-pusers.\n", kUsersRows},
    {TARVO_POLICY_LOCKED, "Security policy is 16: grant FC only to current account.\n", kLockedRows},
};

/** A row with its principal resolved. */
struct PolicyEntry {
    UniqueSid sid;
    DWORD mask = 0;
    bool thisObject = false;
    bool inherit = false;
};

/** The selected policy; its entries are those whose principals could be resolved. */
struct CurrentPolicy {
    DWORD number = TARVO_POLICY_NONE;
    bool hasAccount = false; // an entry for the account that runs the setup
    size_t count = 0;
    PolicyEntry entries[kMostRows];
};

constinit ProcessWide<CurrentPolicy> current;

void ClearSecurityPolicy()
{
    for (PolicyEntry& entry : current->entries)
        entry.sid.Reset();
    current->count = 0;
    current->hasAccount = false;
}

void AddEntry(const PolicyRow& row)
{
    UniqueSid sid;
    if (row.makeSid(sid) != ERROR_SUCCESS || !sid)
        return;
    current->hasAccount |= row.makeSid == GetCurrentSID;
    PolicyEntry& entry = current->entries[current->count++];
    entry.sid = std::move(sid);
    entry.mask = row.mask;
    entry.thisObject = row.thisObject;
    entry.inherit = row.inherit;
}

void BuildEntries(const Policy& policy)
{
    ClearSecurityPolicy();
    ReleaseAtUnload(ReleaseStage::kSecurityPolicies, ClearSecurityPolicy);
    for (const PolicyRow& row : policy.rows)
        AddEntry(row);
    TracePrint(kInfo, 3, "Total number of successfully added entries: [%d].\n", static_cast<int>(current->count));
}

const Policy* FindPolicy(DWORD number)
{
    for (const Policy& policy : kPolicies) {
        if (policy.number == number)
            return &policy;
    }
    return nullptr;
}

DWORD SelectPolicy(DWORD number)
{
    const Policy* const policy = FindPolicy(number);
    if (!policy)
        return ERROR_INVALID_PARAMETER;
    TracePrint(kInfo, 2, "%s", policy->line);
    if (number == TARVO_POLICY_NONE)
        ClearSecurityPolicy();
    else if (number != current->number)
        BuildEntries(*policy);
    current->number = number;
    return ERROR_SUCCESS;
}

DWORD ApplyPolicy(SE_OBJECT_TYPE type, const char* name, BOOL recursive)
{
    if (IsEmpty(name))
        return ERROR_INVALID_PARAMETER;
    if (current->number == TARVO_POLICY_NONE) {
        TracePrint(kInfo, 1, "%s", "Security policy is empty, nothing to apply.\n");
        return ERROR_SUCCESS;
    }
    if (!current->hasAccount) // which would be locked out
        return ERROR_INVALID_PARAMETER;
    for (size_t index = 0; index < current->count; ++index) {
        const PolicyEntry& entry = current->entries[index];
        const Grant grant = {entry.sid.Get(), entry.mask, index == 0, entry.thisObject, entry.inherit};
        if (const DWORD code = ApplyObjectSecurity(type, name, grant, recursive))
            return code;
    }
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_DefineSecurityPolicy(DWORD policy)
{
    FunctionScope scope("TARVO_DefineSecurityPolicy", 0);
    TracePrint(kInfo, 1, "Policy: [%d].\n", static_cast<int>(policy));
    return scope.End(SelectPolicy(policy));
}

DWORD __cdecl TARVO_GetSecurityPolicy(void)
{
    FunctionScope scope("TARVO_GetSecurityPolicy", 0);
    TracePrint(kInfo, 0, "Current policy is [%d].\n", static_cast<int>(current->number));
    return current->number;
}

DWORD __cdecl TARVO_ApplyFileSecurityPolicy(const char* path, BOOL recursive)
{
    FunctionScope scope("TARVO_ApplyFileSecurityPolicy", 0);
    TracePrint(kInfo, 1, "[%s], recursive: [%d].\n", Shown(path), recursive);
    return scope.End(ApplyPolicy(SE_FILE_OBJECT, path, recursive));
}

DWORD __cdecl TARVO_ApplyRegistrySecurityPolicy(const char* keyPath, BOOL recursive)
{
    FunctionScope scope("TARVO_ApplyRegistrySecurityPolicy", 0);
    TracePrint(kInfo, 1, "[%s], recursive: [%d]\n", Shown(keyPath), recursive);
    return scope.End(ApplyPolicy(SE_REGISTRY_KEY, keyPath, recursive));
}
