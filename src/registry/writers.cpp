#include "registry/writers.h"

#include <cstdlib>
#include <cstring>

#include "base/multibyte.h"
#include "base/multistring.h"
#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/registry_key.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

/** The older writers and the view-aware ones differ in the names that they trace and in how they create a key. */
enum class Writer { kPlain, kEx };

void RecordEntry(const char* entry, RegistryView view)
{
    if (view == RegistryView::k64Bit)
        AddRollbackReg64Entry(entry);
    else
        AddRollbackRegEntry(entry);
}

void RecordKey(const MainKey& mainKey, const char* path, RegistryView view)
{
    RegistryText entry;
    entry.Format("%s\\%s", mainKey.name, path);
    RecordEntry(entry.Get(), view);
}

/** @param made  Receives whether the key is this call's: what others have made is not recorded. */
DWORD CreateKey(const MainKey& mainKey, const char* path, RegistryView view, Writer writer, bool& made)
{
    UniqueRegistryKey created;
    if (writer == Writer::kPlain)
        return static_cast<DWORD>(RegCreateKeyA(mainKey.key, path, created.Put()));
    DWORD disposition = 0;
    const LSTATUS code = RegCreateKeyExA(mainKey.key, path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         AccessIn(view, KEY_READ), nullptr, created.Put(), &disposition);
    made = made && disposition == REG_CREATED_NEW_KEY;
    return static_cast<DWORD>(code);
}

DWORD CreateLevel(const MainKey& mainKey, const char* path, RegistryView view, Writer writer)
{
    RegistryKey existing;
    const DWORD opened = existing.Open(mainKey.key, path, AccessIn(view, KEY_READ));
    if (opened == ERROR_SUCCESS) {
        TracePrint(kInfo, 3, "%s", "RegOpenKeyEx succeed - intermediate subkey already exists.\n");
        return ERROR_SUCCESS;
    }
    TracePrint(kInfo, 1, "Creating registry key [%s]...\n", path);
    bool made = opened == ERROR_FILE_NOT_FOUND;
    const DWORD code = CreateKey(mainKey, path, view, writer, made);
    if (code == ERROR_SUCCESS && made)
        RecordKey(mainKey, path, view);
    return code;
}

DWORD WalkLevels(const MainKey& mainKey, const char* subkey, RegistryView view, Writer writer)
{
    HeapText path;
    if (!path.Join(subkey, "\\"))
        return ERROR_NOT_ENOUGH_MEMORY;
    char* from = path.Get();
    while (char* separator = FindSeparator(from)) {
        const char kept = *separator;
        *separator = '\0';
        if (const DWORD code = CreateLevel(mainKey, path.Get(), view, writer))
            return code;
        *separator = kept;
        from = separator + 1;
    }
    return ERROR_SUCCESS;
}

/** @return the number of levels of a subkey in which every level is a key of its own, else 0. */
int CountPlainLevels(const char* subkey)
{
    int levels = 1;
    bool empty = true;
    for (; *subkey; subkey = NextChar(subkey)) {
        if (*subkey == '/' || (*subkey == '\\' && empty))
            return 0;
        empty = *subkey == '\\';
        levels += empty;
    }
    return empty ? 0 : levels;
}

/** Tells whether the whole path opens, in one call: then every level is there, as the walk would find and say. */
bool AllLevelsExist(const MainKey& mainKey, const char* subkey, RegistryView view)
{
    const int levels = CountPlainLevels(subkey);
    RegistryKey key;
    if (levels == 0 || key.Open(mainKey.key, subkey, AccessIn(view, KEY_READ)) != ERROR_SUCCESS)
        return false;
    for (int level = 0; level < levels; ++level)
        TracePrint(kInfo, 3, "%s", "RegOpenKeyEx succeed - intermediate subkey already exists.\n");
    return true;
}

DWORD EndCreation(FunctionScope& scope, const MainKey& mainKey, const char* subkey, RegistryView view, Writer writer)
{
    if (AllLevelsExist(mainKey, subkey, view))
        return scope.Ok();
    const DWORD code = WalkLevels(mainKey, subkey, view, writer);
    return code == ERROR_SUCCESS ? scope.Ok() : scope.Error("RegCreateKey failed.", code);
}

DWORD WriteBytes(const RegistryKey& key, const char* name, DWORD type, const void* data, size_t size,
                 const char* typeName)
{
    const LSTATUS code =
        RegSetValueExA(key.Handle(), name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "SetRegValue: RegSetValueEx(%s) failed.\n", typeName);
    return static_cast<DWORD>(code);
}

DWORD WriteString(const RegistryKey& key, const char* name, DWORD type, const char* data)
{
    const size_t size = strlen(data) + 1;
    TracePrint(kInfo, 3, "Got size for string value = [%d]\n", static_cast<int>(size));
    return WriteBytes(key, name, type, data, size, "REG_SZ");
}

DWORD WriteNumber(const RegistryKey& key, const char* name, const char* data)
{
    const long number = strtol(data, nullptr, 10);
    TracePrint(kInfo, 3, "Got numeric value = [%d]\n", static_cast<int>(number));
    return WriteBytes(key, name, REG_DWORD, &number, sizeof number, "REG_DWORD");
}

DWORD WriteMultiString(const RegistryKey& key, const char* name, const char* data)
{
    const size_t size = MultiStringSize(data);
    TracePrint(kInfo, 3, "Got size for multi-string value = [%d]\n", static_cast<int>(size));
    return WriteBytes(key, name, REG_MULTI_SZ, data, size, "REG_MULTI_SZ");
}

DWORD WriteTyped(const RegistryKey& key, const char* name, const char* data, DWORD type)
{
    switch (type) {
    case REG_NONE:
        TracePrint(kInfo, 3, "%s", "No value required.\n");
        return ERROR_SUCCESS;
    case REG_SZ:
    case REG_EXPAND_SZ:
        return WriteString(key, name, type, data);
    case REG_DWORD:
        return WriteNumber(key, name, data);
    case REG_MULTI_SZ:
        return WriteMultiString(key, name, data);
    default:
        TracePrint(kError, 3, "SetRegValue: Unsupported data type [%d].\n", static_cast<int>(type));
        return ERROR_INVALID_PARAMETER;
    }
}

DWORD SetValueIn(FunctionScope& scope, const MainKey& mainKey, const char* subkey, const char* valueName,
                 const char* data, DWORD type, RegistryView view)
{
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s], entry=[%s], value=[%s], type=[%d].\n",
               reinterpret_cast<unsigned>(mainKey.key), mainKey.name, subkey, valueName, data, static_cast<int>(type));
    RegistryKey key;
    if (const DWORD code = key.Open(mainKey.key, subkey, AccessIn(view, KEY_WRITE))) {
        TracePrint(kError, 3, "RegOpenKeyEx failed: [%d].\n", static_cast<int>(code));
        return code; // without Error: whoever called reports it
    }
    const DWORD code = WriteTyped(key, valueName, data, type);
    key.Close();
    if (code != ERROR_SUCCESS)
        return scope.Error(code);
    RegistryText entry;
    entry.Format("%s\\%s\\\\%s", mainKey.name, subkey, valueName);
    RecordEntry(entry.Get(), view);
    return scope.Ok();
}

/** How SetRegistryValue and SetRegistryValueEx name their steps in the log, and which writers they use. */
struct ValueSetter {
    const char* name;
    const char* keyStep;
    Writer writer;
    BOOL virtualized;
};

DWORD CreateKeyWith(const ValueSetter& setter, const MainKey& mainKey, const char* subkey)
{
    return setter.writer == Writer::kPlain ? CreateRegKey(mainKey, subkey)
                                           : CreateRegKeyEx(mainKey, subkey, setter.virtualized);
}

DWORD SetValueWith(const ValueSetter& setter, const MainKey& mainKey, const Locator& locator, DWORD type)
{
    return setter.writer == Writer::kPlain
               ? SetRegValue(mainKey, locator.subkey.Get(), locator.valueName.Get(), locator.data, type)
               : SetRegValueEx(mainKey, locator.subkey.Get(), locator.valueName.Get(), locator.data, type,
                               setter.virtualized);
}

DWORD SetLocatedValue(FunctionScope& scope, const ValueSetter& setter, const char* text, DWORD type)
{
    Locator locator;
    if (SplitLocator(text, locator) != 0) {
        TracePrint(kError, 3, "%s: SplitLocator failed.\n", setter.name);
        return ERROR_INVALID_PARAMETER;
    }
    if (locator.mainKeyName.Empty() || locator.subkey.Empty()) {
        TracePrint(kError, 3, "%s: Mainkey or subkey empty, failed.\n", setter.name);
        return ERROR_INVALID_PARAMETER;
    }
    const MainKey mainKey = {MainKeyFromName(locator.mainKeyName.Get()), locator.mainKeyName.Get()};
    if (!mainKey.key) {
        TracePrint(kError, 3, "%s: Unknown key ID, failed.\n", setter.name);
        return ERROR_INVALID_PARAMETER;
    }
    if (const DWORD code = CreateKeyWith(setter, mainKey, locator.subkey.Get())) {
        TracePrint(kError, 3, "%s: %s failed.\n", setter.name, setter.keyStep);
        return code;
    }
    if (const DWORD code = SetValueWith(setter, mainKey, locator, type)) {
        TracePrint(kError, 3, "%s: SetRegValue failed.\n", setter.name);
        return code;
    }
    return scope.Ok();
}

} // namespace

DWORD CreateRegKey(const MainKey& mainKey, const char* subkey)
{
    FunctionScope scope("CreateRegKey", 2);
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s].\n", reinterpret_cast<unsigned>(mainKey.key), mainKey.name,
               subkey);
    return EndCreation(scope, mainKey, subkey, RegistryView::kOwn, Writer::kPlain);
}

DWORD CreateRegKeyEx(const MainKey& mainKey, const char* subkey, BOOL virtualized)
{
    FunctionScope scope("CreateRegKeyEx", 2);
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s], virtualized=[%d].\n",
               reinterpret_cast<unsigned>(mainKey.key), mainKey.name, subkey, virtualized);
    return EndCreation(scope, mainKey, subkey, ViewOf(virtualized), Writer::kEx);
}

DWORD SetRegValue(const MainKey& mainKey, const char* subkey, const char* valueName, const char* data, DWORD type)
{
    FunctionScope scope("SetRegValue", 2);
    return SetValueIn(scope, mainKey, subkey, valueName, data, type, RegistryView::kOwn);
}

DWORD SetRegValueEx(const MainKey& mainKey, const char* subkey, const char* valueName, const char* data, DWORD type,
                    BOOL virtualized)
{
    FunctionScope scope("SetRegValueEx", 2);
    return SetValueIn(scope, mainKey, subkey, valueName, data, type, ViewOf(virtualized));
}

DWORD SetRegistryValue(const char* locator, DWORD type, BOOL flush)
{
    FunctionScope scope("SetRegistryValue", 2);
    TracePrint(kInfo, 3, "Locator=[%s], type=[%d], flush=[%d]\n", locator, static_cast<int>(type), flush);
    return SetLocatedValue(scope, {"SetRegistryValue", "CreateRegKey", Writer::kPlain, TRUE}, locator, type);
}

DWORD SetRegistryValueEx(const char* locator, DWORD type, BOOL flush, BOOL virtualized)
{
    FunctionScope scope("SetRegistryValueEx", 2);
    TracePrint(kInfo, 3, "Locator=[%s], type=[%d], flush=[%d], virtualized=[%d]\n", locator, static_cast<int>(type),
               flush, virtualized);
    return SetLocatedValue(scope, {"SetRegistryValueEx", "CreateRegKeyEx", Writer::kEx, virtualized}, locator, type);
}

} // namespace tarvo
