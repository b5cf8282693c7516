// How a grant goes into an access list in memory.

#include "security/dacl.h"

#include <gtest/gtest.h>

#include "kit/acl_notation.h"

namespace {

using namespace tarvo;

constexpr DWORD kMask = 0x20019;

DWORD Generate(UniqueAcl& made, std::vector<BYTE>& old, Grant grant)
{
    std::vector<BYTE> sid = acl::Sid("N");
    grant.sid = sid.data();
    return GenerateNewDacl(made, old.empty() ? nullptr : reinterpret_cast<ACL*>(old.data()), grant);
}

struct DaclCase {
    const char* fact;
    const char* old; // NULL for no list
    Grant grant;
    const char* after;
};

constexpr Grant kAdd = {nullptr, kMask, FALSE, true, true};
constexpr Grant kReplace = {nullptr, kMask, TRUE, true, true};
constexpr Grant kAddHere = {nullptr, kMask, FALSE, true, false};
constexpr Grant kAddBelow = {nullptr, kMask, FALSE, false, true};

#define NEW "allow N:20019 | inherit-only allow N:20019"

constexpr DaclCase kCases[] = {
    {"behind denials, before the first allowing entry", "deny X | allow Y | inherited allow Z", kAdd,
     "deny X | " NEW " | allow Y | inherited allow Z"},
    {"before an inherited denial", "deny X | inherited deny Y | allow Z", kAdd,
     "deny X | " NEW " | inherited deny Y | allow Z"},
    {"at the end behind nothing but denials", "deny X | deny Y", kAdd, "deny X | deny Y | " NEW},
    {"in front of nothing but allowing entries", "allow X | allow Y", kAdd, NEW " | allow X | allow Y"},
    {"denials behind the first allowing entry stay there", "allow X | deny Y", kAdd, NEW " | allow X | deny Y"},
    {"the principal's own entries go, wherever they stand",
     "deny N | deny X | allow N:2 | inherit-only allow N | allow Y | inherited allow N | inherited deny N", kAdd,
     "deny X | " NEW " | allow Y"},
    {"nothing but own entries", "allow N | deny N", kAdd, NEW},
    {"a neighbour's SID is another", "allow M | allow O", kAdd, NEW " | allow M | allow O"},
    {"the principal's audit entry stays", "audit N | allow Y", kAdd, "audit N | " NEW " | allow Y"},
    {"its object entries stay, and do not allow here", "object-allow N | deny X | allow Y", kAdd,
     "object-allow N | deny X | " NEW " | allow Y"},
    {"an inherited audit entry is an inherited one", "deny X | inherited audit Y", kAdd,
     "deny X | " NEW " | inherited audit Y"},
    {"no list", nullptr, kAdd, NEW},
    {"an empty list", "", kAdd, NEW},
    {"replacing", "deny X | allow Y | audit N", kReplace, NEW},
    {"replacing no list", nullptr, kReplace, NEW},
    {"the object alone", "deny X | allow Y", kAddHere, "deny X | allow N:20019 | allow Y"},
    {"its children alone", "deny X | allow Y", kAddBelow, "deny X | inherit-only allow N:20019 | allow Y"},
    {"its children alone, own entries go all the same", "allow N", kAddBelow, "inherit-only allow N:20019"},
};

TEST(Dacl, GrantFindsItsPlace)
{
    for (const DaclCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        std::vector<BYTE> old;
        if (row.old)
            old = acl::Make(row.old);
        UniqueAcl made;
        ASSERT_EQ(0U, Generate(made, old, row.grant));
        EXPECT_EQ(row.after, acl::Describe(made.Acl()));
        EXPECT_TRUE(IsValidAcl(made.Acl()));
        EXPECT_EQ(strstr(row.after, "object") ? ACL_REVISION_DS : ACL_REVISION, made.Acl()->AclRevision);
        // Two entries are given four bytes more than they take.
        const size_t spare = row.grant.thisObject && row.grant.inherit ? 4 : 0;
        EXPECT_EQ(acl::Make(row.after).size() + spare, made.Acl()->AclSize);
    }
}

TEST(Dacl, NothingToGrantIsRefused)
{
    std::vector<BYTE> sid = acl::Sid("N");
    for (const Grant& grant : {Grant{nullptr, kMask, FALSE, true, true}, {sid.data(), kMask, TRUE, false, false}}) {
        UniqueAcl made;
        ASSERT_TRUE(made.Allocate(1));
        EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GenerateNewDacl(made, nullptr, grant));
        EXPECT_FALSE(made);
    }
}

/** A list of the given size: denials, and one more entry that fills it up. */
std::vector<BYTE> MakeAclOf(size_t size)
{
    const std::vector<BYTE> denial = acl::Make("deny X");
    std::vector<BYTE> list = denial;
    WORD count = 1;
    for (; size - list.size() > denial.size() + 100; ++count)
        list.insert(list.end(), denial.begin() + sizeof(ACL), denial.end());
    const size_t filler = list.size();
    list.resize(size);
    const ACE_HEADER head = {SYSTEM_AUDIT_ACE_TYPE, 0, static_cast<WORD>(size - filler)};
    memcpy(&list[filler], &head, sizeof head);
    ACL& acl = *reinterpret_cast<ACL*>(list.data());
    acl.AclSize = static_cast<WORD>(size);
    acl.AceCount = static_cast<WORD>(count + 1);
    return list;
}

TEST(Dacl, ListsEndAt64KB)
{
    constexpr size_t kNewEntries = 2 * 28 + 20;
    constexpr size_t kMost = 65532;
    std::vector<BYTE> old = MakeAclOf(kMost - kNewEntries);
    UniqueAcl made;
    ASSERT_EQ(0U, Generate(made, old, kAdd));
    EXPECT_EQ(kMost, made.Acl()->AclSize);
    EXPECT_EQ(reinterpret_cast<ACL*>(old.data())->AceCount + 2, made.Acl()->AceCount);

    for (const size_t size : {kMost - kNewEntries + 4, kMost}) { // in 16 bits the second would be a small list again
        old = MakeAclOf(size);
        const std::vector<BYTE> before = old;
        EXPECT_EQ(DWORD{ERROR_ALLOTTED_SPACE_EXCEEDED}, Generate(made, old, kAdd)) << size;
        EXPECT_FALSE(made);
        EXPECT_EQ(before, old);
        EXPECT_EQ(0U, Generate(made, old, kReplace)) << size;
    }
}

TEST(Dacl, DamagedEntriesAreNotReadBeyondTheirSize)
{
    // An entry too short for any SID, right at the end of what may be read.
    BYTE* const page = static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * 4096, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(page, 4096, MEM_COMMIT, PAGE_READWRITE);
    std::vector<BYTE> list = acl::Make("deny X");
    const ACE_HEADER head = {ACCESS_ALLOWED_ACE_TYPE, 0, 8};
    list.insert(list.end(), reinterpret_cast<const BYTE*>(&head), reinterpret_cast<const BYTE*>(&head) + sizeof head);
    list.resize(list.size() + 4);
    ACL* const old = reinterpret_cast<ACL*>(page + 4096 - list.size());
    memcpy(old, list.data(), list.size());
    old->AclSize = static_cast<WORD>(list.size());
    old->AceCount = 2;
    std::vector<BYTE> sid = acl::Sid("N");
    UniqueAcl made;
    EXPECT_EQ(0U, GenerateNewDacl(made, old, {sid.data(), kMask, FALSE, true, true}));
    EXPECT_EQ(4U, made.Acl()->AceCount);

    // One that claims to reach beyond its list.
    reinterpret_cast<ACE_HEADER*>(page + 4096 - 8)->AceSize = 64;
    EXPECT_NE(0U, GenerateNewDacl(made, old, {sid.data(), kMask, FALSE, true, true}));
    EXPECT_FALSE(made);
    VirtualFree(page, 0, MEM_RELEASE);
}

} // namespace
