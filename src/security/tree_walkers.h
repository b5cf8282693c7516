#pragma once

#include <windows.h>

namespace tarvo {

/** Called for each object of a tree; a result other than 0 keeps the walk out of what lies below it. */
using FileCallback = DWORD(CALLBACK*)(const char* path, void* context);
using KeyCallback = DWORD(CALLBACK*)(HKEY mainKey, const char* subkey, void* context);

/**
 * Calls back for a file, or for a directory and all that lies in it, hidden and system entries included; a link is
 * followed like a directory. What happens below the starting path is not reported.
 *
 * The walk ends: a link to a directory that the walk is in, or has entered through another link, is called back for,
 * but not entered; where the system does not tell what a link leads to, the length of paths ends the walk. Nothing of
 * a directory is open when it is called back for. Paths have no limit here, but the system's own
 * calls may refuse more than 259 characters. Depth takes heap, not stack.
 * @param postOrder  Whether a directory comes after its contents; otherwise before.
 * @return 0; ERROR_FILE_NOT_FOUND, no such path; ERROR_NOT_ENOUGH_MEMORY; or the callback's code for the starting path
 */
DWORD ProcessAllFilesAndDirs(const char* path, FileCallback callback, void* context, bool postOrder);

/**
 * Calls back for a key and all keys below it, a key before its subkeys. Those are listed before the first of them is
 * called back for; one that vanishes meanwhile is passed over. A key is opened when its callback has returned, and one
 * that is a link to another key is not entered. What happens below the starting key is not reported.
 * @return 0; ERROR_INVALID_PARAMETER, an argument missing or an empty path; the callback's code for the starting key;
 *         or the code of opening or listing it
 */
DWORD ProcessAllRegKeys(HKEY mainKey, const char* subkey, KeyCallback callback, void* context);

} // namespace tarvo
