#pragma once

#include <windows.h>

#include <accctrl.h>

#include "security/dacl.h"

namespace tarvo {

/**
 * Makes a grant on an object or, recursively, on a tree: each object before what lies in it. The list of each is
 * rewritten by one query and one write, and as a protected one: the object no longer inherits, and what it had
 * inherited stays in it.
 * @param type  SE_FILE_OBJECT or SE_REGISTRY_KEY.
 * @param name  A path, or "main key\subkey".
 * @return 0; ERROR_INVALID_PARAMETER, another type or a malformed key path; the code of reading, making
 *         (GenerateNewDacl) or writing the list of the starting object, which then has its old one, while below it
 *         nothing counts; or the code of walking the tree (ProcessAllFilesAndDirs, ProcessAllRegKeys)
 */
DWORD ApplyObjectSecurity(DWORD type, const char* name, const Grant& grant, BOOL recursive);

} // namespace tarvo
