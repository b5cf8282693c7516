#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

/** Names in locators and recorded entries: at most 2047 bytes. */
using RegistryText = BoundedText<2048>;

/** A locator taken apart: "main key\subkey\\value name|data". */
struct Locator {
    RegistryText mainKeyName;
    RegistryText subkey;
    RegistryText valueName;
    const char* data = nullptr; // in the caller's text
};

/**
 * Takes a locator apart. The names must lie within its first 2047 bytes; the data may go on beyond.
 * @return 0; 1, no backslash; 2, no double backslash behind it; 3, no vertical bar behind that
 */
DWORD SplitLocator(const char* text, Locator& locator);

/** @return the predefined key of that whole name in any letter case, or NULL. */
HKEY MainKeyFromName(const char* name);

} // namespace tarvo
