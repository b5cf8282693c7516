// TARVO_CreateDirectory: one level after the other.

#include "base/multibyte.h"
#include "base/text.h"
#include "files/given_path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "pending/clearing.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** Tells whether a path begins with a drive and a backslash, as in "C:\\". */
bool IsRootedAtDrive(const char* path)
{
    return path[0] && path[0] != '\\' && path[0] != '/' && path[1] == ':' && path[2] == '\\';
}

DWORD CreateLevel(const char* path)
{
    if (IsPathExist(path, 1))
        return ERROR_SUCCESS;
    TracePrint(kInfo, 1, "Creating directory [%s]...\n", path);
    if (!CreateDirectoryA(path, nullptr))
        return GetLastError();
    TARVO_AddFileToUninstallLog(path);
    ClearPendingEntries(path, nullptr);
    return ERROR_SUCCESS;
}

/** Creates each level of a path that ends in a separator; cuts the path there for the time of its level. */
DWORD CreateLevels(char* path)
{
    char* separator = path + 2;
    while ((separator = FindSeparator(separator + 1)) != nullptr) {
        const char kept = *separator;
        *separator = '\0';
        if (const DWORD code = CreateLevel(path))
            return code;
        *separator = kept;
    }
    return ERROR_SUCCESS;
}

DWORD CreateDirectories(const char* path)
{
    if (const DWORD code = CheckNewPath(path))
        return code;
    if (IsPathFile(path)) {
        TracePrint(kInfo, 1, "%s", "The specified path is the path to a file.\n");
        return ERROR_FILE_EXISTS;
    }
    HeapText levels;
    if (!levels.Join(path, "\\"))
        return ERROR_NOT_ENOUGH_MEMORY;
    return IsRootedAtDrive(path) ? CreateLevels(levels.Get()) : ERROR_INVALID_PARAMETER;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_CreateDirectory(const char* path)
{
    FunctionScope scope("TARVO_CreateDirectory", 0);
    TracePrint(kInfo, 1, "Called with [%s].\n", Shown(path));
    return scope.End(CreateDirectories(path));
}
