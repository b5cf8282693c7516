#pragma once

#include <windows.h>

namespace tarvo {

/** What a shortcut holds; directory and arguments may be NULL. */
struct ShortcutProperties {
    const char* target;
    const char* description;
    const char* startIn;
    const char* arguments; // set only if there are any
    DWORD showCommand;
};

/**
 * Writes a shortcut file through the shell's link object (IShellLinkA, IPersistFile).
 * @return the HRESULT of the first step that failed, or of the save
 */
HRESULT CreateShortcut(const ShortcutProperties& link, const char* linkFile);

} // namespace tarvo
