#include "security/object_security.h"

#include <aclapi.h>

#include "base/multibyte.h"
#include "frame/scope.h"
#include "registry/locator.h"
#include "security/tree_walkers.h"

namespace tarvo {
namespace {

constexpr SECURITY_INFORMATION kProtectedDacl = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;

struct ObjectPrefixRow {
    ULONG_PTR mainKey; // the predefined handles are numbers, and no constants to the compiler
    const char* prefix;
};

constexpr ObjectPrefixRow kObjectPrefixes[] = {
    {0x80000000, "CLASSES_ROOT"},
    {0x80000001, "CURRENT_USER"},
    {0x80000002, "MACHINE"},
    {0x80000003, "USERS"},
};

/** An object's access list, in the descriptor that the system hands out. */
struct FetchedDacl {
    UniqueLocal<void> descriptor;
    PACL acl = nullptr;
};

DWORD FetchDacl(SE_OBJECT_TYPE type, const char* name, FetchedDacl& dacl)
{
    TracePrint(kInfo, 3, "%s", "Calling GetNamedSecurityInfo...\n");
    const DWORD code = GetNamedSecurityInfoA(name, type, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl.acl,
                                             nullptr, dacl.descriptor.Put());
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "%s", "GetNamedSecurityInfo failed.\n");
    return code;
}

DWORD StoreDacl(SE_OBJECT_TYPE type, const char* name, PACL acl)
{
    TracePrint(kInfo, 3, "%s", "Calling SetNamedSecurityInfo...\n");
    const DWORD code =
        SetNamedSecurityInfoA(const_cast<char*>(name), type, kProtectedDacl, nullptr, nullptr, acl, nullptr);
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "%s", "SetNamedSecurityInfo failed.\n");
    return code;
}

DWORD RewriteDacl(SE_OBJECT_TYPE type, const char* name, const Grant& grant)
{
    FetchedDacl old;
    if (const DWORD code = FetchDacl(type, name, old))
        return code;
    UniqueAcl dacl;
    if (const DWORD code = GenerateNewDacl(dacl, old.acl, grant))
        return code;
    return StoreDacl(type, name, dacl.Acl());
}

/** The name by which the platform takes a registry key. @return 0; ERROR_FILE_NOT_FOUND, no such main key;
 * ERROR_FILENAME_EXCED_RANGE */
DWORD FormatRegistryObjectName(HKEY mainKey, const char* subkey, RegistryText& name)
{
    for (const ObjectPrefixRow& row : kObjectPrefixes) {
        if (reinterpret_cast<HKEY>(row.mainKey) == mainKey)
            return name.Format("%s\\%s", row.prefix, subkey) ? ERROR_SUCCESS : ERROR_FILENAME_EXCED_RANGE;
    }
    return ERROR_FILE_NOT_FOUND;
}

DWORD SetObjectSecurity(SE_OBJECT_TYPE type, const char* name, const Grant& grant)
{
    FunctionScope scope("SetObjectSecurity", 2);
    TracePrint(kInfo, 3, "[%d] [%s] [0x%X] [0x%X] [%d]\n", type, name, reinterpret_cast<unsigned>(grant.sid),
               static_cast<unsigned>(grant.mask), grant.replace);
    return scope.End(RewriteDacl(type, name, grant));
}

DWORD CALLBACK FileSecurityCallback(const char* path, void* grant)
{
    return SetObjectSecurity(SE_FILE_OBJECT, path, *static_cast<const Grant*>(grant));
}

DWORD CALLBACK RegKeySecurityCallback(HKEY mainKey, const char* subkey, void* grant)
{
    RegistryText name;
    if (const DWORD code = FormatRegistryObjectName(mainKey, subkey, name))
        return code;
    return SetObjectSecurity(SE_REGISTRY_KEY, name.Get(), *static_cast<const Grant*>(grant));
}

/** A key path, "main key\subkey", taken apart; the subkey lies in it. */
struct KeyPath {
    HKEY mainKey;
    const char* subkey;
};

bool SplitKeyPath(const char* path, KeyPath& parts)
{
    const char* const backslash = FindChar(path, '\\');
    BoundedText<32> mainKeyName; // has room for each that there is
    if (!backslash || !mainKeyName.Set({path, static_cast<size_t>(backslash - path)}))
        return false;
    parts = {MainKeyFromName(mainKeyName.Get()), backslash + 1};
    return parts.mainKey != nullptr;
}

DWORD ApplyToFiles(const char* path, Grant grant, BOOL recursive)
{
    return recursive ? ProcessAllFilesAndDirs(path, FileSecurityCallback, &grant, false)
                     : FileSecurityCallback(path, &grant);
}

DWORD ApplyToKeys(const char* path, Grant grant, BOOL recursive)
{
    KeyPath parts = {};
    if (!SplitKeyPath(path, parts))
        return ERROR_INVALID_PARAMETER;
    return recursive ? ProcessAllRegKeys(parts.mainKey, parts.subkey, RegKeySecurityCallback, &grant)
                     : RegKeySecurityCallback(parts.mainKey, parts.subkey, &grant);
}

} // namespace

DWORD ApplyObjectSecurity(DWORD type, const char* name, const Grant& grant, BOOL recursive)
{
    switch (type) {
    case SE_FILE_OBJECT:
        return ApplyToFiles(name, grant, recursive);
    case SE_REGISTRY_KEY:
        return ApplyToKeys(name, grant, recursive);
    default:
        return ERROR_INVALID_PARAMETER;
    }
}

} // namespace tarvo
