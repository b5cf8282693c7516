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
    if (writer == Writer::kPlain)
        return RegistryKey().Create(mainKey.key, path);
    UniqueRegistryKey created;
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

/** Tells whether every level of a subkey is a key of its own, as the walk and the registry take it. */
bool IsPlain(const char* subkey)
{
    bool empty = true;
    for (; *subkey; subkey = NextChar(subkey)) {
        if (*subkey == '/' || (*subkey == '\\' && empty))
            return false;
        empty = *subkey == '\\';
    }
    return !empty;
}

/** Opens a key that is there and may be written to. A log that tells of each level has the walk look at each. */
bool OpensAtOnce(const MainKey& mainKey, const char* subkey, RegistryView view, RegistryKey& key)
{
    return !IsTraced(kInfo, 3) && IsPlain(subkey) &&
           key.Open(mainKey.key, subkey, AccessIn(view, KEY_WRITE)) == ERROR_SUCCESS;
}

/** Makes sure that a key is there. @param key  Receives it where it could be opened for writing at once. */
DWORD EnsureKey(const MainKey& mainKey, const char* subkey, RegistryView view, Writer writer, RegistryKey& key)
{
    return OpensAtOnce(mainKey, subkey, view, key) ? ERROR_SUCCESS : WalkLevels(mainKey, subkey, view, writer);
}

constexpr char kNotCreated[] = "RegCreateKey failed.";

/** @param key  Receives the key if it was there and may be written to; may stay closed all the same. */
DWORD CreateRegKey(const MainKey& mainKey, const char* subkey, RegistryKey& key)
{
    FunctionScope scope("CreateRegKey", 2);
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s].\n", reinterpret_cast<unsigned>(mainKey.key), mainKey.name,
               subkey);
    return scope.End({EnsureKey(mainKey, subkey, RegistryView::kOwn, Writer::kPlain, key), kNotCreated});
}

DWORD CreateRegKeyEx(const MainKey& mainKey, const char* subkey, BOOL virtualized, RegistryKey& key)
{
    FunctionScope scope("CreateRegKeyEx", 2);
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s], virtualized=[%d].\n",
               reinterpret_cast<unsigned>(mainKey.key), mainKey.name, subkey, virtualized);
    return scope.End({EnsureKey(mainKey, subkey, ViewOf(virtualized), Writer::kEx, key), kNotCreated});
}

DWORD WriteBytes(const RegistryKey& key, const char* name, DWORD type, const void* data, size_t size,
                 const char* typeName)
{
    const DWORD code = key.Set(name, type, data, size);
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "SetRegValue: RegSetValueEx(%s) failed.\n", typeName);
    return code;
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

/** A value to be set, as its setter is told of it. */
struct NewValue {
    const MainKey& mainKey;
    const char* subkey;
    const char* name;
    const char* data;
    DWORD type;
    RegistryView view;
};

void Trace(const NewValue& value)
{
    TracePrint(kInfo, 3, "Main key=[%x], [%s], subkey=[%s], entry=[%s], value=[%s], type=[%d].\n",
               reinterpret_cast<unsigned>(value.mainKey.key), value.mainKey.name, value.subkey, value.name, value.data,
               static_cast<int>(value.type));
}

/** @param key  May be open already. */
DWORD OpenToWrite(const NewValue& value, RegistryKey& key)
{
    if (key.Handle())
        return ERROR_SUCCESS;
    const DWORD code = key.Open(value.mainKey.key, value.subkey, AccessIn(value.view, KEY_WRITE));
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "RegOpenKeyEx failed: [%d].\n", static_cast<int>(code));
    return code;
}

DWORD WriteAndRecord(const NewValue& value, RegistryKey& key)
{
    const DWORD code = WriteTyped(key, value.name, value.data, value.type);
    key.Close();
    if (code != ERROR_SUCCESS)
        return code;
    RegistryText entry;
    entry.Format("%s\\%s\\\\%s", value.mainKey.name, value.subkey, value.name);
    RecordEntry(entry.Get(), value.view);
    return ERROR_SUCCESS;
}

DWORD SetRegValue(const char* name, const NewValue& value, RegistryKey& key)
{
    FunctionScope scope(name, 2);
    Trace(value);
    if (const DWORD code = OpenToWrite(value, key))
        return code; // without Error: whoever called reports it
    return scope.End(WriteAndRecord(value, key));
}

/** How SetRegistryValue and SetRegistryValueEx name their steps in the log, and which writers they use. */
struct ValueSetter {
    const char* name;
    const char* keyStep;
    const char* valueStep;
    Writer writer;
    BOOL virtualized;
};

constexpr ValueSetter kPlainSetter = {"SetRegistryValue", "CreateRegKey", "SetRegValue", Writer::kPlain, TRUE};

DWORD CreateKeyWith(const ValueSetter& setter, const MainKey& mainKey, const char* subkey, RegistryKey& key)
{
    return setter.writer == Writer::kPlain ? CreateRegKey(mainKey, subkey, key)
                                           : CreateRegKeyEx(mainKey, subkey, setter.virtualized, key);
}

DWORD SetLocatedValue(const ValueSetter& setter, const char* text, DWORD type)
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
    RegistryKey key;
    if (const DWORD code = CreateKeyWith(setter, mainKey, locator.subkey.Get(), key)) {
        TracePrint(kError, 3, "%s: %s failed.\n", setter.name, setter.keyStep);
        return code;
    }
    const NewValue value = {mainKey, locator.subkey.Get(),      locator.valueName.Get(), locator.data,
                            type,    ViewOf(setter.virtualized)};
    if (const DWORD code = SetRegValue(setter.valueStep, value, key)) {
        TracePrint(kError, 3, "%s: SetRegValue failed.\n", setter.name);
        return code;
    }
    return ERROR_SUCCESS;
}

/** A failure is reported by whoever called. */
DWORD EndSetting(FunctionScope& scope, DWORD code)
{
    return code == ERROR_SUCCESS ? scope.Ok() : code;
}

} // namespace

DWORD CreateRegKey(const MainKey& mainKey, const char* subkey)
{
    RegistryKey key;
    return CreateRegKey(mainKey, subkey, key);
}

DWORD SetRegValue(const MainKey& mainKey, const char* subkey, const char* valueName, const char* data, DWORD type)
{
    RegistryKey key;
    return SetRegValue("SetRegValue", {mainKey, subkey, valueName, data, type, RegistryView::kOwn}, key);
}

DWORD SetRegistryValue(const char* locator, DWORD type, BOOL flush)
{
    FunctionScope scope("SetRegistryValue", 2);
    TracePrint(kInfo, 3, "Locator=[%s], type=[%d], flush=[%d]\n", locator, static_cast<int>(type), flush);
    return EndSetting(scope, SetLocatedValue(kPlainSetter, locator, type));
}

DWORD SetRegistryValueEx(const char* locator, DWORD type, BOOL flush, BOOL virtualized)
{
    FunctionScope scope("SetRegistryValueEx", 2);
    TracePrint(kInfo, 3, "Locator=[%s], type=[%d], flush=[%d], virtualized=[%d]\n", locator, static_cast<int>(type),
               flush, virtualized);
    const ValueSetter setter = {"SetRegistryValueEx", "CreateRegKeyEx", "SetRegValueEx", Writer::kEx, virtualized};
    return EndSetting(scope, SetLocatedValue(setter, locator, type));
}

} // namespace tarvo
