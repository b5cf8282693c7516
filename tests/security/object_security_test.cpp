// Grants on keys, read back from the system, and on files, as they are handed to it.

#include "kit/kit.h"

#include <lm.h>
#include <sddl.h>

#include "security/recorded_sets.h"

namespace {

using Names = std::vector<std::string>;

constexpr DWORD kAll = KEY_ALL_ACCESS; // so that the test can delete its keys
#define ADMINS "allow S-1-5-32-544:f003f | inherit-only allow S-1-5-32-544:f003f"

class Grants : public kit::LibraryTest {
protected:
    std::string KeyPath() { return Key().Locator(); }
    std::string ObjectName() { return "MACHINE\\" + Key().Path(); }
    std::string Dacl() { return acl::Read(ObjectName(), SE_REGISTRY_KEY); }
    DWORD GrantAdmins(BOOL replace = FALSE, BOOL recursive = FALSE)
    {
        return TARVO_SetRegistrySecurityRid(KeyPath().c_str(), 544, nullptr, kAll, replace, recursive);
    }
    void MakeKeys(std::initializer_list<const char*> names)
    {
        for (const char* name : names)
            kit::MakeKey(Key().Path(name));
    }
};

TEST_F(Grants, ListOfAKey)
{
    struct {
        const char* before;
        BOOL replace;
        const char* after;
    } const kCases[] = {
        {"deny X | allow Y | inherited allow Z", FALSE, "deny X | " ADMINS " | allow Y | inherited allow Z"},
        {"deny X | allow Y", TRUE, ADMINS},
    };
    for (const auto& row : kCases) {
        acl::Write(ObjectName(), row.before);
        EXPECT_EQ(0U, GrantAdmins(row.replace));
        EXPECT_EQ(row.after, Dacl()) << row.before;
    }
}

TEST_F(Grants, KeyPathsNameTheirMainKeys)
{
    struct {
        const char* keyPath;
        const char* object;
    } const kCases[] = {
        {"HKEY_CLASSES_ROOT\\CLSID", "CLASSES_ROOT\\CLSID"},
        {"hkey_current_user\\Software", "CURRENT_USER\\Software"},
        {"HKEY_LOCAL_MACHINE\\Software\\Classes", "MACHINE\\Software\\Classes"},
        {"HKEY_USERS\\.Default", "USERS\\.Default"},
    };
    AllowOpenHandles(); // the system keeps the main keys
    RecordedSets sets(false);
    for (const auto& row : kCases) {
        EXPECT_EQ(0U, TARVO_SetRegistrySecurity(row.keyPath, "Everyone", kAll, TRUE, FALSE)) << row.keyPath;
        EXPECT_EQ(row.object, sets.names.back());
        EXPECT_EQ("allow S-1-1-0:f003f | inherit-only allow S-1-1-0:f003f", sets.lists.back());
    }
}

TEST_F(Grants, RelativeIdentifiersNameTheirPrincipals)
{
    USER_MODALS_INFO_2* modals = nullptr;
    EXPECT_EQ(0U, NetUserModalsGet(nullptr, 2, reinterpret_cast<BYTE**>(&modals)));
    char* machine = nullptr;
    EXPECT_TRUE(ConvertSidToStringSidA(modals->usrmod2_domain_id, &machine));
    struct {
        DWORD rid;
        DWORD code;
        DWORD codeInADomain; // that there is not
        std::string sid;
    } const kCases[] = {
        {0, 0, ERROR_NOT_SUPPORTED, "S-1-1-0"},
        {1, 0, ERROR_NOT_SUPPORTED, "S-1-5-1"},
        {32, 0, ERROR_NOT_SUPPORTED, "S-1-5-32"},
        {33, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, ""},
        {499, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, ""},
        {500, 0, ERROR_ACCESS_DENIED, std::string(machine) + "-500"},
        {543, 0, ERROR_ACCESS_DENIED, std::string(machine) + "-543"},
        {544, 0, ERROR_NOT_SUPPORTED, "S-1-5-32-544"},
        {999, 0, ERROR_NOT_SUPPORTED, "S-1-5-32-999"},
        {1000, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, ""},
        {0xFFFFFFFF, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, ""},
    };
    NetApiBufferFree(modals);
    LocalFree(machine);
    AllowOpenHandles(); // the system keeps what it looks domains up with
    RecordedSets sets(false);
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.rid);
        sets.lists.assign(1, "");
        const auto grant = [&](const char* domain) {
            return TARVO_SetRegistrySecurityRid(KeyPath().c_str(), row.rid, domain, 1, TRUE, FALSE);
        };
        EXPECT_TRUE(kit::Gives(row.code, grant(nullptr)));
        EXPECT_EQ(row.code ? "" : "allow " + row.sid + " | inherit-only allow " + row.sid, sets.lists.back());
        EXPECT_TRUE(kit::Gives(row.codeInADomain, grant("NOSUCHDOMAIN")));
    }
}

TEST_F(Grants, RefusalsTouchNothing)
{
    const std::string tooLong = "HKEY_LOCAL_MACHINE\\" + std::string(2048 - sizeof "MACHINE\\" + 1, 'x');
    struct {
        const char* fact;
        std::function<DWORD()> call;
        DWORD code;
    } const kCases[] = {
        {"a service", [] { return TARVO_SetObjectSecurity(SE_SERVICE, "x", nullptr, 1, FALSE, FALSE); }, 87},
        {"a service by RID", [] { return TARVO_SetObjectSecurityRid(SE_SERVICE, "x", 0, nullptr, 1, FALSE, FALSE); },
         87},
        {"no type", [] { return TARVO_SetObjectSecurity(0, "x", nullptr, 1, FALSE, FALSE); }, 87},
        {"no name", [] { return TARVO_SetFileSecurity(nullptr, nullptr, 1, FALSE, FALSE); }, 87},
        {"no name by RID", [] { return TARVO_SetRegistrySecurityRid(nullptr, 0, nullptr, 1, FALSE, FALSE); }, 87},
        {"a main key alone", [] { return TARVO_SetRegistrySecurity("HKEY_USERS", nullptr, 1, FALSE, FALSE); }, 87},
        {"no such main key", [] { return TARVO_SetRegistrySecurity("HKLM\\Software", nullptr, 1, FALSE, TRUE); }, 87},
        {"a tree without a key", [] { return TARVO_SetRegistrySecurity("HKEY_USERS\\", nullptr, 1, FALSE, TRUE); }, 87},
        {"no such account", [&] { return TARVO_SetRegistrySecurity(KeyPath().c_str(), "nobody", 1, FALSE, FALSE); },
         ERROR_NONE_MAPPED},
        {"no such key", [&] { return TARVO_SetRegistrySecurity((KeyPath() + "\\x").c_str(), nullptr, 1, FALSE, TRUE); },
         ERROR_FILE_NOT_FOUND},
        {"no such file", [] { return TARVO_SetFileSecurity("C:\\no such", nullptr, 1, FALSE, TRUE); },
         ERROR_FILE_NOT_FOUND},
        {"a key of 2048 bytes", [&] { return TARVO_SetRegistrySecurity(tooLong.c_str(), nullptr, 1, FALSE, TRUE); },
         ERROR_FILENAME_EXCED_RANGE},
    };
    AllowOpenHandles(); // the system keeps what it looks accounts up with
    acl::Write(ObjectName(), "allow X");
    RecordedSets sets;
    for (const auto& row : kCases) {
        EXPECT_TRUE(kit::Gives(row.code, row.call())) << row.fact;
    }
    EXPECT_EQ(Names(), sets.names);
    EXPECT_EQ("allow X", Dacl());
}

TEST_F(Grants, LinesOfTheLog)
{
    kit::TraceLog log(Scratch().Path("trace.log"));
    acl::Write(ObjectName(), "deny S-1-5-32-544");
    GrantAdmins(TRUE, FALSE);
    GrantAdmins(FALSE, TRUE);
    TARVO_SetObjectSecurity(SE_SERVICE, nullptr, nullptr, 16, 2, 3);
    EXPECT_TRUE(
        log.HasEach({"[4] [" + KeyPath() + "] [0x220] [null]", "[0xF003F] [1] [0]", "[0xF003F] [0] [1]",
                     "RID=[0x220], PSID ptr=[0x", "Calling GetAclInformation...", "Calling DeleteAce...",
                     "Old ACE count: [0]", "Calling InitializeAcl...", "Calling AddAce...",
                     "Calling GetNamedSecurityInfo...", "Calling SetNamedSecurityInfo...", "{ ProcessAllRegKeys(0x",
                     "[" + std::to_string(SE_SERVICE) + "] [null] [null] [0x10] [2] [3]", "Unsupported object type."}));
}

TEST_F(Grants, EveryKeyOfATree)
{
    MakeKeys({"A", "A\\1", "B", "B\\2", "C"});
    RecordedSets sets;
    kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
    EXPECT_EQ(0U, GrantAdmins(TRUE, TRUE));
    EXPECT_EQ(Names({"", "\\A", "\\A\\1", "\\B", "\\B\\2", "\\C"}), sets.NamesBelow(ObjectName()));
    EXPECT_EQ(6, get.Calls());
    for (const char* name : {"", "\\A\\1", "\\C"})
        EXPECT_EQ(ADMINS, acl::Read(ObjectName() + name, SE_REGISTRY_KEY)) << name;
}

TEST_F(Grants, FailureInATreeSparesWhatLiesBelow)
{
    MakeKeys({"A", "A\\1", "B"});
    RecordedSets sets;
    sets.failing = ObjectName() + "\\A";
    EXPECT_EQ(0U, GrantAdmins(TRUE, TRUE));
    EXPECT_EQ(Names({"", "\\A", "\\B"}), sets.NamesBelow(ObjectName()));
    sets.names.clear();
    sets.failing = ObjectName();
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GrantAdmins(TRUE, TRUE));
    EXPECT_EQ(Names({""}), sets.NamesBelow(ObjectName()));
}

TEST_F(Grants, VanishingKeysArePassedOver)
{
    MakeKeys({"A", "B", "C"});
    kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
    get.Answer([&](const char* name, auto... rest) {
        if (std::string_view(name).ends_with("\\A"))
            kit::RemoveKeyTree(Key().Path("B"), kit::View::kOwn);
        return get.Original()(name, rest...);
    });
    RecordedSets sets;
    EXPECT_EQ(0U, GrantAdmins(TRUE, TRUE));
    EXPECT_EQ(Names({"", "\\A", "\\C"}), sets.NamesBelow(ObjectName()));
}

TEST_F(Grants, DomainPrincipalsComeFromItsController)
{
    std::vector<BYTE> sid = acl::Sid("S-1-5-21-7-8-9");
    NET_API_STATUS status = NERR_Success;
    kit::ImportHook controller("NetGetDCName", &NetGetDCName);
    controller.Answer([](const wchar_t* server, const wchar_t* domain, BYTE** buffer) {
        EXPECT_EQ(nullptr, server);
        EXPECT_STREQ(L"D\xE9", domain);
        void* name = nullptr;
        NetApiBufferAllocate(32, &name);
        wcscpy(static_cast<wchar_t*>(name), L"\\\\PDC");
        *buffer = static_cast<BYTE*>(name);
        return NET_API_STATUS{NERR_Success};
    });
    kit::ImportHook modals("NetUserModalsGet", &NetUserModalsGet);
    modals.Answer([&](const wchar_t* server, DWORD level, BYTE** buffer) {
        EXPECT_STREQ(L"\\\\PDC", server);
        EXPECT_EQ(2U, level);
        void* info = nullptr;
        NetApiBufferAllocate(sizeof(USER_MODALS_INFO_2), &info);
        *static_cast<USER_MODALS_INFO_2*>(info) = {nullptr, sid.data()};
        *buffer = static_cast<BYTE*>(info);
        return status;
    });
    kit::ImportHook release("NetApiBufferFree", &NetApiBufferFree);
    RecordedSets sets(false);
    const auto grant = [&] { return TARVO_SetRegistrySecurityRid(KeyPath().c_str(), 512, "D\xE9", kAll, TRUE, FALSE); };
    EXPECT_EQ(0U, grant());
    EXPECT_EQ("allow S-1-5-21-7-8-9-512:f003f | inherit-only allow S-1-5-21-7-8-9-512:f003f", sets.lists.back());
    EXPECT_EQ(2, release.Calls());
    status = ERROR_NOT_ENOUGH_MEMORY;
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, grant()) << "whatever the network's code";
    EXPECT_EQ(4, release.Calls());
    status = NERR_Success;
    for (sid = acl::Sid("S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15"); *GetSidSubAuthorityCount(sid.data()) < 16;) {
        EXPECT_NE(0U, grant()) << "a SID that cannot be longer"; // Wine names no code of its own
        ++sid[1];                                                // and one that is too long to be valid
        EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, grant());
    }
}

TEST_F(Grants, LackOfMemoryLeavesTheListAlone)
{
    AllowOpenHandles();
    for (const char* account : {static_cast<const char*>(nullptr), "Everyone"}) {
        WithEachAllocationFailing([&] {
            acl::Write(ObjectName(), "allow X");
            const DWORD code = TARVO_SetRegistrySecurity(KeyPath().c_str(), account, kAll, FALSE, FALSE);
            EXPECT_EQ(Heap().FailureHappened() ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0U, code);
            EXPECT_EQ(code != 0, Dacl() == "allow X");
        });
    }
}

TEST_F(Grants, EveryPlatformCallMayFail)
{
    acl::Write(ObjectName(), "deny S-1-5-32-544 | allow X");
    const auto check = [&](const char* name, auto like, auto result, int n) {
        SCOPED_TRACE(name);
        kit::ImportHook hook(name, like);
        hook.FailNth(n, ERROR_GEN_FAILURE, result);
        EXPECT_TRUE(kit::Gives(ERROR_GEN_FAILURE, GrantAdmins()));
        EXPECT_EQ("deny S-1-5-32-544 | allow X", Dacl());
    };
    check("AllocateAndInitializeSid", &AllocateAndInitializeSid, FALSE, 1);
    check("CopySid", &CopySid, FALSE, 1); // into the SID
    check("CopySid", &CopySid, FALSE, 2); // into an entry
    check("GetNamedSecurityInfoA", &GetNamedSecurityInfoA, ERROR_GEN_FAILURE, 1);
    check("GetAclInformation", &GetAclInformation, FALSE, 1);
    check("GetAclInformation", &GetAclInformation, FALSE, 2);
    check("GetAce", &GetAce, FALSE, 1);
    check("DeleteAce", &DeleteAce, FALSE, 1);
    check("InitializeAcl", &InitializeAcl, FALSE, 1);
    check("AddAce", &AddAce, FALSE, 1);
    check("AddAce", &AddAce, FALSE, 3);
    check("SetNamedSecurityInfoA", &SetNamedSecurityInfoA, ERROR_GEN_FAILURE, 1);
}

} // namespace
