// Deleting files and empty directories, locked ones too.

#include "base/text.h"
#include "files/given_path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

bool RemoveNow(const char* path)
{
    BOOL removed = FALSE;
    if (IsPathFile(path)) {
        TracePrint(kInfo, 1, "%s", "Calling DeleteFile...\n");
        removed = DeleteFileA(path);
    } else if (IsPathDirectory(path)) {
        TracePrint(kInfo, 1, "%s", "Calling RemoveDirectory...\n");
        removed = RemoveDirectoryA(path);
    } else {
        return false;
    }
    if (!removed)
        TracePrint(kInfo, 1, "Failed with error code [%d].\n", static_cast<int>(GetLastError()));
    return removed;
}

DWORD DeleteNowOrDefer(const char* path, DWORD* needRestart)
{
    if (!path)
        return ERROR_INVALID_PARAMETER;
    if (needRestart)
        *needRestart = 0;
    if (const DWORD code = CheckPath(path))
        return code;
    const bool readable = GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
    if (!readable && GetLastError() != ERROR_ACCESS_DENIED) {
        TracePrint(kWarning, 1, "%s", "File doesn't exists. Nothing to do.\n");
        return ERROR_SUCCESS;
    }
    if (TARVO_ResetFileReadOnlyAttribute(path, 0) != ERROR_SUCCESS)
        TracePrint(kWarning, 1, "%s", "Reseting read-only attribute on the file failed.\n");
    if (readable && RemoveNow(path)) {
        TARVO_RemovePendingFileOperation(path, nullptr);
        return ERROR_SUCCESS;
    }
    if (const DWORD code = TARVO_DeleteAfterReboot(path))
        return code;
    if (needRestart)
        *needRestart = 1;
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_DeleteFileEx(const char* path, DWORD* needRestart)
{
    FunctionScope scope("TARVO_DeleteFileEx", 0);
    TracePrint(kInfo, 1, "Deleting-over-locked file [%s], report need of reboot to [%x]...\n", Shown(path),
               reinterpret_cast<unsigned>(needRestart));
    return scope.End(DeleteNowOrDefer(path, needRestart));
}

DWORD __cdecl TARVO_DeleteAfterReboot(const char* path)
{
    FunctionScope scope("TARVO_DeleteAfterReboot", 0);
    const DWORD code = path ? CheckPath(path) : ERROR_SUCCESS;
    return scope.End(code ? code : TARVO_RenameAfterReboot(path, nullptr));
}
