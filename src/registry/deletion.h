#pragma once

#include <windows.h>

namespace tarvo {

/**
 * Deletes what a recorded entry names: "main key\path", a key that has become empty, or "main key\path\\value".
 * What is already gone counts as deleted.
 * @return 0; 1, no backslash; 2, no such main key (neither stores a text); ERROR_DIR_NOT_EMPTY, the key holds
 *         something and stays; or the registry's code
 */
DWORD DeleteRegEntryOrValue(const char* entry);

/** The same in the 64-bit view. */
DWORD DeleteReg64EntryOrValue(const char* entry);

/** @return whether an open key holds a subkey or a value, or does not tell; false for NULL. */
bool SubkeyOrValueUnderKeyExist(HKEY key);

} // namespace tarvo
