// A grant to a tree of registry keys.

#include <windows.h>

#include <aclapi.h>

#include <string>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kGroups = 50;
constexpr int kKeysInAGroup = 99;

/** @return the tree's path below HKEY_CURRENT_USER */
std::string MakeTree(const ScratchKey& scratch)
{
    for (int group = 0; group < kGroups; ++group) {
        for (int key = 0; key < kKeysInAGroup; ++key)
            scratch.Subkey(Format("Tree\\Group %02d\\Key %03d", group, key));
    }
    return scratch.Subkey("Tree");
}

void GrantPlain(const std::string& key, PSID sid)
{
    char* const name = const_cast<char*>(key.c_str());
    PACL old = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    Require(GetNamedSecurityInfoA(name, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, &old, nullptr,
                                  &descriptor) == 0,
            "GetNamedSecurityInfo");
    EXPLICIT_ACCESS_A access = {};
    access.grfAccessPermissions = KEY_READ;
    access.grfAccessMode = SET_ACCESS;
    access.grfInheritance = SUB_CONTAINERS_AND_OBJECTS_INHERIT;
    BuildTrusteeWithSidA(&access.Trustee, sid);
    PACL changed = nullptr;
    Require(SetEntriesInAclA(1, &access, old, &changed) == 0, "SetEntriesInAcl");
    Require(SetNamedSecurityInfoA(name, SE_REGISTRY_KEY,
                                  DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                  changed, nullptr) == 0,
            "SetNamedSecurityInfo");
    LocalFree(changed);
    LocalFree(descriptor);
}

/** Grants on a key and all below it: whoever has no list of the keys has to find them too. */
void GrantTreePlain(const std::string& path, HKEY above, const char* name, PSID sid)
{
    GrantPlain("CURRENT_USER\\" + path, sid);
    HKEY key = nullptr;
    Require(RegOpenKeyExA(above, name, 0, KEY_READ, &key) == 0, "RegOpenKeyEx");
    char child[256];
    DWORD size = sizeof child;
    for (DWORD index = 0; RegEnumKeyExA(key, index, child, &size, nullptr, nullptr, nullptr, nullptr) == 0; ++index) {
        GrantTreePlain(path + "\\" + child, key, child, sid);
        size = sizeof child;
    }
    RegCloseKey(key);
}

} // namespace

void MeasureSecurity(Report& report)
{
    const Library library;
    const ScratchKey scratch;
    const std::string path = MakeTree(scratch);
    const std::string keyPath = "HKEY_CURRENT_USER\\" + path;
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    Require(CreateWellKnownSid(WinBuiltinUsersSid, nullptr, sid, &size), "CreateWellKnownSid");
    const auto grantTree = [&] {
        Require(library.SetRegistrySecurityRid(keyPath.c_str(), DOMAIN_ALIAS_RID_USERS, nullptr, KEY_READ, FALSE,
                                               TRUE) == 0,
                "TARVO_SetRegistrySecurityRid");
    };
    const auto grantPlain = [&] { GrantTreePlain(path, HKEY_CURRENT_USER, path.c_str(), sid); };
    report.Compare("TARVO_SetRegistrySecurityRid, a key and 5000 below it",
                   "RegEnumKeyExA; GetNamedSecurityInfoA, SetEntriesInAclA, SetNamedSecurityInfoA for each", 1.2,
                   {grantTree}, {grantPlain});
}

} // namespace bench
