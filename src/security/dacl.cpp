#include "security/dacl.h"

#include <cstddef>
#include <utility>

#include "frame/scope.h"
#include "security/failure.h"

namespace tarvo {
namespace {

constexpr DWORD kAceWithoutSid = offsetof(ACCESS_ALLOWED_ACE, SidStart);
constexpr BYTE kInheritOnly = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE | INHERIT_ONLY_ACE;

/** What an old list brings into the new one. */
struct OldEntries {
    DWORD count = 0;
    DWORD bytes = sizeof(ACL); // with the list's own head
    DWORD revision = ACL_REVISION;
};

DWORD QueryEntries(PACL acl, OldEntries& entries)
{
    ACL_SIZE_INFORMATION size = {};
    TracePrint(kInfo, 3, "%s", "Calling GetAclInformation...\n");
    if (!GetAclInformation(acl, &size, sizeof size, AclSizeInformation))
        return FailedCall("GetAclInformation failed.\n");
    entries.count = size.AceCount;
    entries.bytes = size.AclBytesInUse;
    // Object entries may stand only in a list of their own revision.
    entries.revision = acl->AclRevision > ACL_REVISION ? acl->AclRevision : ACL_REVISION;
    return ERROR_SUCCESS;
}

/** Reads an entry that lies in its list as a whole: GetAce looks at its beginning alone. */
DWORD ReadAce(PACL acl, DWORD index, ACE_HEADER*& ace)
{
    void* found = nullptr;
    if (!GetAce(acl, index, &found))
        return FailedCall("GetAce failed.\n");
    ace = static_cast<ACE_HEADER*>(found);
    const BYTE* const end = reinterpret_cast<const BYTE*>(acl) + acl->AclSize;
    const ptrdiff_t left = end - static_cast<const BYTE*>(found);
    const bool whole = left >= static_cast<ptrdiff_t>(sizeof(ACE_HEADER)) && ace->AceSize >= sizeof(ACE_HEADER) &&
                       ace->AceSize <= left;
    return whole ? ERROR_SUCCESS : ERROR_INVALID_ACL;
}

/** Tells whether an entry allows or denies a principal something. */
bool IsOwnEntry(ACE_HEADER* ace, PSID sid)
{
    if (ace->AceType != ACCESS_ALLOWED_ACE_TYPE && ace->AceType != ACCESS_DENIED_ACE_TYPE)
        return false;
    // A SID of the same length fits into the entry, so comparing stays in it.
    if (ace->AceSize < kAceWithoutSid + GetLengthSid(sid))
        return false;
    return EqualSid(&reinterpret_cast<ACCESS_ALLOWED_ACE*>(ace)->SidStart, sid);
}

DWORD RemoveOwnEntries(PACL acl, DWORD count, PSID sid)
{
    DWORD index = 0;
    while (index < count) {
        ACE_HEADER* ace = nullptr;
        if (const DWORD code = ReadAce(acl, index, ace))
            return code;
        if (!IsOwnEntry(ace, sid)) {
            ++index;
            continue;
        }
        TracePrint(kInfo, 3, "%s", "Calling DeleteAce...\n");
        if (!DeleteAce(acl, index))
            return FailedCall("DeleteAce failed.\n");
        --count;
    }
    return ERROR_SUCCESS;
}

DWORD KeepOthersEntries(PACL acl, PSID sid, OldEntries& entries)
{
    if (const DWORD code = QueryEntries(acl, entries))
        return code;
    if (const DWORD code = RemoveOwnEntries(acl, entries.count, sid))
        return code;
    return QueryEntries(acl, entries);
}

DWORD NewEntriesSize(const Grant& grant)
{
    const DWORD sidLength = GetLengthSid(grant.sid);
    return grant.thisObject && grant.inherit ? 2 * sidLength + 20 : sidLength + kAceWithoutSid;
}

DWORD AllocateAcl(UniqueAcl& dacl, DWORD size, DWORD revision)
{
    if (size > MAXWORD) // the list's head counts its bytes in 16 bits
        return ERROR_ALLOTTED_SPACE_EXCEEDED;
    if (!dacl.Allocate(size))
        return ERROR_NOT_ENOUGH_MEMORY;
    TracePrint(kInfo, 3, "%s", "Calling InitializeAcl...\n");
    return InitializeAcl(dacl.Acl(), size, revision) ? ERROR_SUCCESS : FailedCall("InitializeAcl failed.\n");
}

/** A new list that is filled from front to back. */
struct NewList {
    UniqueAcl acl;
    DWORD revision;

    DWORD Append(void* ace, DWORD size) const
    {
        return AddAce(acl.Acl(), revision, MAXDWORD, ace, size) ? ERROR_SUCCESS : FailedCall("AddAce failed.\n");
    }
};

DWORD AppendGrant(const NewList& list, const Grant& grant, BYTE flags)
{
    alignas(ACCESS_ALLOWED_ACE) BYTE buffer[kAceWithoutSid + SECURITY_MAX_SID_SIZE] = {};
    ACCESS_ALLOWED_ACE& ace = *reinterpret_cast<ACCESS_ALLOWED_ACE*>(buffer);
    ace.Header.AceType = ACCESS_ALLOWED_ACE_TYPE;
    ace.Header.AceFlags = flags;
    ace.Header.AceSize = static_cast<WORD>(kAceWithoutSid + GetLengthSid(grant.sid));
    ace.Mask = grant.mask;
    if (!CopySid(SECURITY_MAX_SID_SIZE, &ace.SidStart, grant.sid))
        return FailedCall("CopySid failed.\n");
    TracePrint(kInfo, 3, "%s", "Calling AddAce...\n");
    return list.Append(buffer, ace.Header.AceSize);
}

DWORD AppendGrants(const NewList& list, const Grant& grant)
{
    if (grant.thisObject) {
        if (const DWORD code = AppendGrant(list, grant, 0))
            return code;
    }
    return grant.inherit ? AppendGrant(list, grant, kInheritOnly) : ERROR_SUCCESS;
}

/** Tells whether new entries go in front of an old one: they follow what denies and is the object's own. */
bool GoesBehindNewOnes(const ACE_HEADER* ace)
{
    return (ace->AceFlags & INHERITED_ACE) || ace->AceType == ACCESS_ALLOWED_ACE_TYPE;
}

DWORD Fill(const NewList& list, PACL old, DWORD oldCount, const Grant& grant)
{
    bool granted = false;
    for (DWORD index = 0; index < oldCount; ++index) {
        ACE_HEADER* ace = nullptr;
        if (const DWORD code = ReadAce(old, index, ace))
            return code;
        if (!granted && GoesBehindNewOnes(ace)) {
            granted = true;
            if (const DWORD code = AppendGrants(list, grant))
                return code;
        }
        if (const DWORD code = list.Append(ace, ace->AceSize))
            return code;
    }
    return granted ? ERROR_SUCCESS : AppendGrants(list, grant);
}

DWORD MakeDacl(UniqueAcl& dacl, PACL old, const Grant& grant)
{
    if (!grant.sid || (!grant.thisObject && !grant.inherit))
        return ERROR_INVALID_PARAMETER;
    OldEntries entries;
    if (!grant.replace && old) {
        if (const DWORD code = KeepOthersEntries(old, grant.sid, entries))
            return code;
    }
    TracePrint(kInfo, 3, "Old ACE count: [%d]\n", static_cast<int>(entries.count));
    NewList made = {{}, entries.revision};
    if (const DWORD code = AllocateAcl(made.acl, entries.bytes + NewEntriesSize(grant), entries.revision))
        return code;
    if (const DWORD code = Fill(made, old, entries.count, grant))
        return code;
    dacl = std::move(made.acl);
    return ERROR_SUCCESS;
}

} // namespace

DWORD GenerateNewDacl(UniqueAcl& dacl, PACL old, const Grant& grant)
{
    FunctionScope scope("GenerateNewDacl", 2);
    dacl.Reset();
    return scope.End(MakeDacl(dacl, old, grant));
}

} // namespace tarvo
