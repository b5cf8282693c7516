// The numbered policies: order, flags and mask of every entry, on keys and files.

#include "kit/kit.h"

#include <sddl.h>

#include "security/recorded_sets.h"

namespace {

using Names = std::vector<std::string>;

class Policies : public kit::LibraryTest {
protected:
    std::string ObjectName() { return "MACHINE\\" + Key().Path(); }
    static DWORD ApplyToKey(const std::string& path, BOOL recursive = FALSE)
    {
        return TARVO_ApplyRegistrySecurityPolicy(path.c_str(), recursive);
    }
};

std::string SetupAccount()
{
    char user[256];
    DWORD size = sizeof user;
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD sidSize = sizeof sid;
    char domain[256];
    DWORD domainSize = sizeof domain;
    SID_NAME_USE use;
    if (!GetUserNameA(user, &size) || !LookupAccountNameA(nullptr, user, sid, &sidSize, domain, &domainSize, &use))
        return "unknown";
    char* text = nullptr;
    ConvertSidToStringSidA(sid, &text);
    std::string result = text;
    LocalFree(text);
    return result;
}

/** Both entries of a principal, generic rights as they are handed over. */
std::string Both(const std::string& sid, const char* mask)
{
    return "allow " + sid + ":" + mask + " | inherit-only allow " + sid + ":" + mask;
}

/** A later grant stands in front of an earlier one. */
std::string PolicyList(DWORD policy)
{
    const std::string first = Both(SetupAccount(), "10000000");
    const std::string system = Both("S-1-5-18", "10000000") + " | ";
    const std::string admins = Both("S-1-5-32-544", "10000000") + " | ";
    const std::string owner = "inherit-only allow S-1-3-0:10000000 | ";
    switch (policy) {
    case 1:
        return Both("S-1-5-32-545", "10000000") + " | " + Both("S-1-5-32-547", "10000000") + " | " + admins + system +
               Both("S-1-1-0", "a0000000") + " | " + owner + first;
    case 2:
        return Both("S-1-5-32-545", "a0000000") + " | " + Both("S-1-5-32-547", "e0010000") + " | " + admins + system +
               owner + first;
    default:
        return admins + system + first;
    }
}

/** What a system that maps generic rights as it stores them would give back is not compared, Wine keeps them. */
bool KeepsGenericRights()
{
    const kit::ScratchKey key;
    acl::Write("MACHINE\\" + key.Path(), "allow S-1-5-32-544:10000000");
    return acl::Read("MACHINE\\" + key.Path(), SE_REGISTRY_KEY) == "allow S-1-5-32-544:10000000";
}

TEST_F(Policies, ListOnAKeyAsItIsReadBack)
{
    if (!KeepsGenericRights())
        GTEST_SKIP() << "this system maps generic rights";
    for (const DWORD policy : {1U, 2U, 16U}) {
        acl::Write(ObjectName(), "deny X | allow Y");
        ASSERT_EQ(0U, TARVO_DefineSecurityPolicy(policy));
        ASSERT_EQ(0U, ApplyToKey(Key().Locator()));
        EXPECT_EQ(PolicyList(policy), acl::Read(ObjectName(), SE_REGISTRY_KEY)) << policy;
    }
}

/** What the system holds of files while a policy is applied: here exactly what was set. */
class RememberedDacls {
public:
    RememberedDacls() : get_("GetNamedSecurityInfoA", &GetNamedSecurityInfoA)
    {
        get_.Answer([this](const char*, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL* dacl, PACL*,
                           PSECURITY_DESCRIPTOR* descriptor) {
            const std::vector<BYTE> list = acl::Make(sets.lists.empty() ? "deny X" : sets.lists.back());
            *descriptor = LocalAlloc(LPTR, list.size());
            memcpy(*descriptor, list.data(), list.size());
            *dacl = static_cast<PACL>(*descriptor);
            return DWORD{ERROR_SUCCESS};
        });
    }

    int Gets() const { return get_.Calls(); }

    RecordedSets sets{false};

private:
    kit::ImportHook<decltype(&GetNamedSecurityInfoA)> get_;
};

TEST_F(Policies, ListOnAFileAsItIsHandedOver)
{
    const std::string file = Scratch().Make("file");
    for (const auto& [policy, rows] : {std::pair(1U, 7), {2U, 6}, {16U, 3}}) {
        RememberedDacls dacls;
        ASSERT_EQ(0U, TARVO_DefineSecurityPolicy(policy));
        ASSERT_EQ(0U, TARVO_ApplyFileSecurityPolicy(file.c_str(), FALSE));
        EXPECT_EQ(PolicyList(policy), dacls.sets.lists.back());
        EXPECT_EQ(Names(static_cast<size_t>(rows), file), dacls.sets.names);
        EXPECT_EQ(rows, dacls.Gets());
    }
}

TEST_F(Policies, FileTreeIsWalkedOnceForEachRow)
{
    CreateDirectoryA(Scratch().Path("sub").c_str(), nullptr);
    Scratch().Make("sub\\file");
    RecordedSets sets;
    kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
    ASSERT_EQ(0U, TARVO_DefineSecurityPolicy(16));
    ASSERT_EQ(0U, TARVO_ApplyFileSecurityPolicy(Scratch().Path().c_str(), TRUE));
    EXPECT_EQ(Names({"", "\\sub", "\\sub\\file", "", "\\sub", "\\sub\\file", "", "\\sub", "\\sub\\file"}),
              sets.NamesBelow(Scratch().Path()));
    EXPECT_EQ(9, get.Calls());
    EXPECT_EQ(Both(SetupAccount(), "10000000"), sets.lists[2]) << "the first row replaces on every object";
}

TEST_F(Policies, RowWithoutASidIsLeftOut)
{
    kit::TraceLog log(Scratch().Path("trace.log"));
    {
        kit::ImportHook build("AllocateAndInitializeSid", &AllocateAndInitializeSid);
        build.FailNth(1, ERROR_GEN_FAILURE, FALSE); // local system; the setup account is not built
        EXPECT_EQ(0U, TARVO_DefineSecurityPolicy(16));
    }
    EXPECT_TRUE(log.Contains("Total number of successfully added entries: [2]."));
    RememberedDacls dacls;
    EXPECT_EQ(0U, TARVO_DefineSecurityPolicy(16)) << "the same again resolves nothing";
    EXPECT_EQ(0U, TARVO_ApplyFileSecurityPolicy(Scratch().Path().c_str(), FALSE));
    EXPECT_EQ(Both("S-1-5-32-544", "10000000") + " | " + Both(SetupAccount(), "10000000"), dacls.sets.lists.back());
    EXPECT_EQ(0U, TARVO_DefineSecurityPolicy(2));
    EXPECT_EQ(0U, TARVO_DefineSecurityPolicy(16));
    EXPECT_TRUE(log.Contains("Total number of successfully added entries: [6]."));
    EXPECT_TRUE(log.Contains("Total number of successfully added entries: [3]."));
}

TEST_F(Policies, FirstRowThatFailsEnds)
{
    ASSERT_EQ(0U, TARVO_DefineSecurityPolicy(16));
    for (const char* nothing : {static_cast<const char*>(nullptr), ""})
        EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, TARVO_ApplyFileSecurityPolicy(nothing, FALSE));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, ApplyToKey("HKEY_LOCAL_MACHINE"));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, TARVO_ApplyFileSecurityPolicy("C:\\no such", TRUE));
    kit::ImportHook set("SetNamedSecurityInfoA", &SetNamedSecurityInfoA);
    set.FailNth(2, 0, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(kit::Gives(ERROR_ACCESS_DENIED, ApplyToKey(Key().Locator())));
    EXPECT_EQ(2, set.Calls());
}

TEST_F(Policies, WithoutAPolicyNothingIsTouched)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    const RecordedSets sets;
    for (const DWORD policy : {1U, 2U, 16U, 0U, 5U})
        TARVO_DefineSecurityPolicy(policy);
    TARVO_GetSecurityPolicy();
    EXPECT_EQ(0U, TARVO_ApplyFileSecurityPolicy("C:\\no such", TRUE));
    EXPECT_EQ(0U, ApplyToKey("no key path"));
    EXPECT_TRUE(sets.names.empty());
    EXPECT_EQ(2U, log.Count("Security policy is empty, nothing to apply."));
    EXPECT_TRUE(log.HasEach({"Policy: [5].", "Security policy is 0: no measures.",
                             "Security policy is 1: grant FC-admins,system,users,pusers, R-everyone.",
                             "Security policy is 2: grant FC-admins,system, R-users, C-pusers.",
                             "Security policy is 16: grant FC only to current account.", "Current policy is [0].",
                             "[C:\\no such], recursive: [1].", "[no key path], recursive: [0]"}));
}

} // namespace
