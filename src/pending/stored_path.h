#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

/** The prefixes of the form in which the system stores a path, for one of an entry's two texts. */
struct StoredForm {
    const char* local;
    const char* unc;  // stands for the two backslashes of a UNC path
    size_t minLength; // a shorter text is no path
};

inline constexpr StoredForm kSourceForm = {"\\??\\", "\\??\\UNC\\", 5};
inline constexpr StoredForm kTargetForm = {"!\\??\\", "!\\??\\UNC\\", 6};

/**
 * Puts a plain path into the stored form. Nothing resolves it at the restart, so what it means now is written out:
 * forward slashes, a relative path, a long-path prefix, a parent reference, and the System32 that a 32-bit process
 * sees on a 64-bit Windows.
 * @param plain  NULL gives none, "" gives "".
 * @return 0; ERROR_NOT_ENOUGH_MEMORY; ERROR_FILENAME_EXCED_RANGE, a relative path is too long when full.
 */
DWORD FormatPath(const char* plain, const StoredForm& form, HeapText& stored);

/** @param plain  MAX_PATH bytes, or NULL. @return false, the text handed out as it is, for another form. */
bool UnFormatPath(const char* stored, const StoredForm& form, char* plain);

} // namespace tarvo
