#pragma once

#include <windows.h>

#include "base/path.h"

namespace tarvo {

/**
 * A source copy is what a restart moves onto a file in use: a copy of the new
 * file beside it, "name.1" to "name.998" for "name.ext".
 */

/** Finds a free name; the last one tried if all are taken. @return 0, or ERROR_FILENAME_EXCED_RANGE */
DWORD FindSourceCopyName(const char* destination, PathText& name);

/** Tells from the names whether a file is a source copy for another one. */
bool IsSourceCopy(const char* path, const char* destination);

void DeleteSourceCopy(const char* path);

} // namespace tarvo
