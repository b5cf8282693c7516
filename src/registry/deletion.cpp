#include "registry/deletion.h"

#include "base/multibyte.h"
#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/registry_key.h"
#include "registry/view.h"

namespace tarvo {
namespace {

/** A recorded entry taken apart; its texts lie in the copy that was cut up. */
struct RecordedEntry {
    HKEY mainKey;
    const char* subkey;
    const char* valueName; // NULL for a key
};

/** @param name  The deleter's own name, for the log. @return 0, or the code of a malformed entry */
DWORD SplitEntry(const char* name, char* text, RecordedEntry& entry)
{
    char* const backslash = FindChar(text, '\\');
    if (!backslash) {
        TracePrint(kError, 2, "%s: Can't find first backslash in the string.\n", name);
        return 1;
    }
    *backslash = '\0';
    entry.mainKey = MainKeyFromName(text);
    if (!entry.mainKey) {
        TracePrint(kError, 2, "%s: Can't recognize main key in the string.\n", name);
        return 2;
    }
    entry.subkey = backslash + 1;
    entry.valueName = nullptr;
    if (char* const pair = FindDoubleBackslash(backslash + 1)) {
        *pair = '\0';
        entry.valueName = pair + 2;
    }
    return ERROR_SUCCESS;
}

/** What is already gone counts as deleted. */
Ending EndOf(DWORD code, const char* text)
{
    return code == ERROR_FILE_NOT_FOUND ? Ending{ERROR_SUCCESS} : Ending{code, text};
}

Ending DeleteKey(RegistryKey& key, const RecordedEntry& entry, RegistryView view)
{
    if (SubkeyOrValueUnderKeyExist(key.Handle())) {
        TracePrint(kWarning, 2, "%s", "Subkey or value exist under the specified key.\n");
        key.Close();
        return {ERROR_DIR_NOT_EMPTY, "Subkey or value exist under the specified key"};
    }
    key.Close();
    return EndOf(DeleteKeyIn(view, entry.mainKey, entry.subkey), "Error deleting registry key");
}

Ending DeleteValue(RegistryKey& key, const RecordedEntry& entry)
{
    const LSTATUS code = RegDeleteValueA(key.Handle(), entry.valueName);
    key.Close();
    return EndOf(static_cast<DWORD>(code), "Error deleting registry value.");
}

Ending DeleteEntry(const RecordedEntry& entry, RegistryView view)
{
    RegistryKey key;
    if (const DWORD code = key.Open(entry.mainKey, entry.subkey, AccessIn(view, KEY_READ | KEY_WRITE)))
        return EndOf(code, "Error opening registry key");
    return entry.valueName ? DeleteValue(key, entry) : DeleteKey(key, entry, view);
}

DWORD DeleteIn(RegistryView view, const char* name, const char* text)
{
    FunctionScope scope(name, 1);
    TracePrint(kInfo, 2, "Entry=[%s].\n", text);
    RegistryText copy;
    copy.SetCut(text);
    RecordedEntry entry = {};
    if (const DWORD code = SplitEntry(name, copy.Buffer(), entry))
        return code; // without Error, as callers know it
    return scope.End(DeleteEntry(entry, view));
}

} // namespace

DWORD DeleteRegEntryOrValue(const char* entry)
{
    return DeleteIn(RegistryView::kOwn, "DeleteRegEntryOrValue", entry);
}

DWORD DeleteReg64EntryOrValue(const char* entry)
{
    return DeleteIn(RegistryView::k64Bit, "DeleteReg64EntryOrValue", entry);
}

bool SubkeyOrValueUnderKeyExist(HKEY key)
{
    FunctionScope scope("SubkeyOrValueUnderKeyExist", 2);
    if (!key)
        return false;
    DWORD subkeys = 0;
    DWORD values = 0;
    const LSTATUS code = RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr,
                                          nullptr, nullptr, nullptr);
    if (code != ERROR_SUCCESS) {
        TracePrint(kWarning, 3, "RegQueryInfoKey returned error: [%d].\n", static_cast<int>(code));
        return true;
    }
    return subkeys != 0 || values != 0;
}

} // namespace tarvo
