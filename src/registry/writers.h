#pragma once

#include <windows.h>

#include "registry/view.h"

namespace tarvo {

/** A main key and its name as the caller spelled it: so it is recorded. */
struct MainKey {
    HKEY key;
    const char* name;
};

/**
 * Creates every missing level of a key, outermost first, and records each created one. A forward slash ends a level
 * too; the registry takes it as part of a name.
 * @return 0, or the registry's code; levels created so far stay
 */
DWORD CreateRegKey(const MainKey& mainKey, const char* subkey);

/**
 * Sets a value of an existing key from text and records it.
 * @param data  Text; decimal for REG_DWORD; a list ended by an empty text for REG_MULTI_SZ.
 * @param type  REG_NONE writes nothing, and is recorded all the same.
 * @return 0; ERROR_INVALID_PARAMETER, another type; or the registry's code
 */
DWORD SetRegValue(const MainKey& mainKey, const char* subkey, const char* valueName, const char* data, DWORD type);

/** Creates the key and sets the value that a locator names. @return 0; 87, a malformed locator; or the registry's code
 */
DWORD SetRegistryValue(const char* locator, DWORD type, BOOL flush);
DWORD SetRegistryValueEx(const char* locator, DWORD type, BOOL flush, BOOL virtualized);

} // namespace tarvo
