#pragma once

#include <windows.h>

namespace tarvo {

/** @return 0; ERROR_INVALID_PARAMETER for NULL; ERROR_FILENAME_EXCED_RANGE for more than 259 characters. */
DWORD CheckPath(const char* path);

/** As CheckPath, for a path that is to come into being; ERROR_INVALID_NAME if no file can have that name. */
DWORD CheckNewPath(const char* path);

} // namespace tarvo
