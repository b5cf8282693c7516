// Copying and moving files, over locked ones too.

#include "base/multibyte.h"
#include "base/path.h"
#include "files/file_identity.h"
#include "files/given_path.h"
#include "files/path_utils.h"
#include "files/source_copy.h"
#include "frame/scope.h"
#include "pending/clearing.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

const char* ShownFailIfExists(BOOL failIfExists)
{
    return failIfExists ? "(FailIfExists)" : "";
}

/** What is known of a destination before it is written to. */
struct Destination {
    bool exists;
    bool readable; // its attributes could be read
};

/** A destination that only its owner may look at exists too. */
Destination LookAtDestination(const char* path)
{
    if (GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES)
        return {true, true};
    return {GetLastError() == ERROR_ACCESS_DENIED, false};
}

/** Makes an existing destination writable, or refuses it. @param warning  Traced when it stays read-only. */
DWORD PrepareExisting(const char* destination, BOOL failIfExists, const char* warning)
{
    if (failIfExists)
        return ERROR_FILE_EXISTS;
    if (TARVO_ResetFileReadOnlyAttribute(destination, 0) != ERROR_SUCCESS)
        TracePrint(kWarning, 1, "%s", warning);
    return ERROR_SUCCESS;
}

DWORD CheckPaths(const char* source, const char* destination)
{
    if (!source || IsEmpty(destination))
        return ERROR_INVALID_PARAMETER;
    const DWORD code = CheckNewPath(source);
    return code ? code : CheckNewPath(destination);
}

DWORD CopyNow(const char* source, const char* destination, BOOL failIfExists)
{
    if (const DWORD code = CheckPaths(source, destination))
        return code;
    if (IsPathExist(destination, 0)) {
        if (const DWORD code =
                PrepareExisting(destination, failIfExists, "Reseting read-only attribute on existing file failed.\n"))
            return code;
    }
    if (!CopyFileA(source, destination, failIfExists))
        return GetLastError();
    ClearPendingEntries(destination, source);
    TARVO_AddFileToUninstallLog(destination);
    return ERROR_SUCCESS;
}

bool LieInSameFolder(const char* source, const char* destination)
{
    PathText sourceFolder;
    PathText destinationFolder;
    return sourceFolder.Set(FolderPart(SplitPath(source))) &&
           destinationFolder.Set(FolderPart(SplitPath(destination))) &&
           EqualNoCase(sourceFolder.Get(), destinationFolder.Get());
}

/** Makes what the restart shall move onto the destination. */
DWORD MakeSourceCopy(const char* source, const char* destination, PathText& sourceCopy)
{
    if (const DWORD code = FindSourceCopyName(destination, sourceCopy))
        return code;
    if (CopyFileA(source, sourceCopy.Get(), TRUE))
        return ERROR_SUCCESS;
    const DWORD code = GetLastError();
    TracePrint(kError, 1, "Creating temporary SourceCopy [%s] failed.\n", sourceCopy.Get());
    return code;
}

DWORD ScheduleSourceCopy(const char* sourceCopy, const char* destination)
{
    TracePrint(kInfo, 1, "Defined SourceCopy = [%s]\n", sourceCopy);
    return TARVO_RenameAfterReboot(sourceCopy, destination);
}

DWORD DeferCopy(const char* source, const char* destination)
{
    if (LieInSameFolder(source, destination))
        return ScheduleSourceCopy(source, destination);
    PathText sourceCopy;
    if (const DWORD code = MakeSourceCopy(source, destination, sourceCopy))
        return code;
    const DWORD code = ScheduleSourceCopy(sourceCopy.Get(), destination);
    if (code != ERROR_SUCCESS) {
        // The list keeps what it could not write.
        TARVO_RemovePendingFileOperation(sourceCopy.Get(), destination);
        DeleteSourceCopy(sourceCopy.Get());
    }
    return code;
}

/** Does what copying and moving share before they begin. */
DWORD CheckSource(const char* source, const char* destination, DWORD* needRestart)
{
    if (source && !IsEmpty(destination) && needRestart)
        *needRestart = 0;
    if (const DWORD code = CheckPaths(source, destination))
        return code;
    return GetFileAttributesA(source) == INVALID_FILE_ATTRIBUTES ? GetLastError() : ERROR_SUCCESS;
}

void ReportRestart(DWORD* needRestart)
{
    if (needRestart)
        *needRestart = 1;
}

DWORD CopyNowOrDefer(const char* source, const char* destination, BOOL failIfExists, DWORD* needRestart)
{
    if (const DWORD code = CheckSource(source, destination, needRestart))
        return code;
    if (LookAtDestination(destination).exists) {
        if (const DWORD code =
                PrepareExisting(destination, failIfExists, "Reseting read-only attribute on existing file failed\n"))
            return code;
    }
    if (CopyFileA(source, destination, failIfExists)) {
        ClearPendingEntries(destination, source);
    } else {
        TracePrint(kInfo, 1, "Immediate CopyFile failed with error code: %d\n", static_cast<int>(GetLastError()));
        if (const DWORD code = DeferCopy(source, destination))
            return code;
        ReportRestart(needRestart);
    }
    TARVO_AddFileToUninstallLog(destination);
    return ERROR_SUCCESS;
}

/** Two names of one file, as in another letter case. Where the system does not tell, they may be. */
bool MayBeOneFile(const char* left, const char* right)
{
    FileIdentity identities[2];
    return !Identify(left, identities[0]) || !Identify(right, identities[1]) || identities[0] == identities[1];
}

DWORD PrepareMove(const char* source, const char* destination, BOOL failIfExists, DWORD* needRestart)
{
    if (const DWORD code = CheckSource(source, destination, needRestart))
        return code;
    const Destination state = LookAtDestination(destination);
    if (!state.exists)
        return ERROR_SUCCESS;
    if (const DWORD code =
            PrepareExisting(destination, failIfExists, "Reseting read-only attribute on existing file failed.\n"))
        return code;
    if (state.readable && !MayBeOneFile(source, destination) && !DeleteFileA(destination)) {
        TracePrint(kWarning, 1, "Deleting target existing file failed with error code %d\n",
                   static_cast<int>(GetLastError()));
    }
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_CopyFile(const char* source, const char* destination, BOOL failIfExists)
{
    FunctionScope scope("TARVO_CopyFile", 0);
    TracePrint(kInfo, 1, "Copying file from [%s] to [%s] %s...\n", Shown(source), Shown(destination),
               ShownFailIfExists(failIfExists));
    return scope.End(CopyNow(source, destination, failIfExists));
}

DWORD __cdecl TARVO_CopyFileEx(const char* source, const char* destination, BOOL failIfExists, DWORD* needRestart)
{
    FunctionScope scope("TARVO_CopyFileEx", 0);
    TracePrint(kInfo, 1, "Copying-over-locked file from [%s] to [%s] %s, report need-of-reboot to [%x]...\n",
               Shown(source), Shown(destination), ShownFailIfExists(failIfExists),
               reinterpret_cast<unsigned>(needRestart));
    return scope.End(CopyNowOrDefer(source, destination, failIfExists, needRestart));
}

DWORD __cdecl TARVO_MoveFileEx(const char* source, const char* destination, BOOL failIfExists, DWORD* needRestart)
{
    FunctionScope scope("TARVO_MoveFileEx", 0);
    TracePrint(kInfo, 1, "Moving-over-locked file from [%s] to [%s] %s, report need-of-reboot to [%x]...\n",
               Shown(source), Shown(destination), ShownFailIfExists(failIfExists),
               reinterpret_cast<unsigned>(needRestart));
    if (const DWORD code = PrepareMove(source, destination, failIfExists, needRestart))
        return scope.Error(code);
    if (MoveFileA(source, destination)) {
        ClearPendingEntries(destination, source);
    } else {
        TracePrint(kInfo, 1, "Immediate MoveFile failed with error code: %d\n", static_cast<int>(GetLastError()));
        // Its code is handed on as it came: the inner call has stored its text.
        if (const DWORD code = TARVO_RenameAfterReboot(source, destination))
            return code;
        ReportRestart(needRestart);
    }
    TARVO_AddFileToUninstallLog(destination);
    return scope.Ok();
}
