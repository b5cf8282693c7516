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
    return GenerateNewDacl(made, reinterpret_cast<ACL*>(old.data()), grant);
}

struct DaclCase {
    const char* fact;
    const char* old;
    Grant grant;
    const char* after;
};

constexpr Grant kAdd = {nullptr, kMask, FALSE, true, true};
constexpr Grant kReplace = {nullptr, kMask, TRUE, true, true};
constexpr Grant kAddHere = {nullptr, kMask, FALSE, true, false};

#define NEW "allow N:20019 | inherit-only allow N:20019"

constexpr DaclCase kCases[] = {
    {"before an inherited denial", "deny X | inherited deny Y | allow Z", kAdd,
     "deny X | " NEW " | inherited deny Y | allow Z"},
    {"at the end behind nothing but denials", "deny X | deny Y", kAdd, "deny X | deny Y | " NEW},
    {"denials behind the first allowing entry stay there", "allow X | deny Y", kAdd, NEW " | allow X | deny Y"},
    {"the principal's own entries go, wherever they stand",
     "deny N | deny X | allow N:2 | inherit-only allow N | allow Y | inherited allow N | inherited deny N", kAdd,
     "deny X | " NEW " | allow Y"},
    {"a neighbour's SID is another", "allow M | allow O", kAdd, NEW " | allow M | allow O"},
    {"the principal's audit entry stays", "audit N | allow Y", kAdd, "audit N | " NEW " | allow Y"},
    {"its object entries stay, and do not allow here", "object-allow N | deny X | allow Y", kAdd,
     "object-allow N | deny X | " NEW " | allow Y"},
    {"an inherited audit entry is an inherited one", "deny X | inherited audit Y", kAdd,
     "deny X | " NEW " | inherited audit Y"},
    {"an empty list", "", kAdd, NEW},
    {"replacing", "deny X | allow Y | audit N", kReplace, NEW},
    {"the object alone", "deny X | allow Y", kAddHere, "deny X | allow N:20019 | allow Y"},
};

TEST(Dacl, GrantFindsItsPlace)
{
    for (const DaclCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        std::vector<BYTE> old = acl::Make(row.old);
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

TEST(Dacl, ListsEndAt64KB)
{
    constexpr size_t kMost = 65532;
    for (const size_t size : {kMost - 76, kMost - 72, kMost}) { // in 16 bits the last would be a small list again
        std::vector<BYTE> old = acl::Make("deny X");
        const size_t first = old.size();
        old.resize(size);
        const ACE_HEADER filler = {SYSTEM_AUDIT_ACE_TYPE, 0, static_cast<WORD>(size - first)};
        memcpy(&old[first], &filler, sizeof filler);
        auto* const list = reinterpret_cast<ACL*>(old.data());
        list->AclSize = static_cast<WORD>(size);
        list->AceCount = 2;
        UniqueAcl made;
        const DWORD code = Generate(made, old, kAdd);
        EXPECT_EQ(size + 76 > kMost ? DWORD{ERROR_ALLOTTED_SPACE_EXCEEDED} : 0U, code) << size;
        EXPECT_EQ(code == 0, static_cast<bool>(made));
        EXPECT_EQ(0U, Generate(made, old, kReplace)) << size;
    }
}

TEST(Dacl, DamagedEntriesAreNotReadBeyondTheirSize)
{
    // An entry too short for any SID, right at the end of what may be read.
    BYTE* const page = static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * 4096, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(page, 4096, MEM_COMMIT, PAGE_READWRITE);
    const std::vector<BYTE> list = acl::Make("deny X");
    auto* const old = reinterpret_cast<ACL*>(page + 4096 - 8 - list.size());
    auto* const last = reinterpret_cast<ACE_HEADER*>(page + 4096 - 8);
    memcpy(old, list.data(), list.size());
    old->AclSize = static_cast<WORD>(list.size() + 8);
    old->AceCount = 2;
    *last = {ACCESS_ALLOWED_ACE_TYPE, 0, 8};
    std::vector<BYTE> sid = acl::Sid("N");
    UniqueAcl made;
    EXPECT_EQ(0U, GenerateNewDacl(made, old, {sid.data(), kMask, FALSE, true, true}));
    EXPECT_EQ(4U, made.Acl()->AceCount);
    last->AceSize = 64; // reaches beyond its list
    EXPECT_EQ(DWORD{ERROR_INVALID_ACL}, GenerateNewDacl(made, old, {sid.data(), kMask, FALSE, true, true}));
    EXPECT_FALSE(made);
    VirtualFree(page, 0, MEM_RELEASE);
}

} // namespace
