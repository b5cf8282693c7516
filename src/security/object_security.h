#pragma once

#include <windows.h>

#include <accctrl.h>

#include "registry/locator.h"
#include "security/dacl.h"

namespace tarvo {

/**
 * Makes the name by which the platform's security functions take a registry key.
 * @return 0; ERROR_FILE_NOT_FOUND, no such main key; ERROR_FILENAME_EXCED_RANGE, more than 2047 bytes
 */
DWORD FormatRegistryObjectName(HKEY mainKey, const char* subkey, RegistryText& name);

/**
 * Rewrites the access list of one object with a grant, by one query and one write. The list is written as a
 * protected one: the object no longer inherits, and what it had inherited stays in it.
 * @param name  A path, or a registry key as FormatRegistryObjectName makes it.
 * @return 0, or the code of reading, making (GenerateNewDacl) or writing the list; the object then has its old one
 */
DWORD SetObjectSecurity(SE_OBJECT_TYPE type, const char* name, const Grant& grant);

/**
 * Makes a grant on an object or, recursively, on a tree: each object before what lies in it.
 * @param type  SE_FILE_OBJECT or SE_REGISTRY_KEY.
 * @param name  A path, or "main key\subkey".
 * @return as SetObjectSecurity, below the starting object nothing counts; ERROR_INVALID_PARAMETER, another type or a
 *         malformed key path; or the code of walking the tree (ProcessAllFilesAndDirs, ProcessAllRegKeys)
 */
DWORD ApplyObjectSecurity(DWORD type, const char* name, const Grant& grant, BOOL recursive);

} // namespace tarvo
