// Copying and moving files, over locked ones too.

#include "base/multibyte.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "files/pending_entries.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr int kMaxSourceCopies = 998;

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

DWORD CopyNow(const char* source, const char* destination, BOOL failIfExists)
{
    if (!source || !destination)
        return ERROR_INVALID_PARAMETER;
    if (IsPathExist(destination, 0)) {
        if (const DWORD code =
                PrepareExisting(destination, failIfExists, "Reseting read-only attribute on existing file failed.\n"))
            return code;
    }
    if (!CopyFileA(source, destination, failIfExists))
        return GetLastError();
    ClearPendingEntries(destination);
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

/** Finds a free name beside the destination, its extension a number; the last one tried if all are taken. */
DWORD FindSourceCopyName(const char* destination, PathText& name)
{
    const PathParts parts = SplitPath(destination);
    for (int number = 1; number <= kMaxSourceCopies; ++number) {
        BoundedText<8> extension;
        extension.Format("%d", number);
        if (!JoinPath(name, FolderPart(parts), parts.name, extension.Get()))
            return ERROR_FILENAME_EXCED_RANGE;
        if (!IsPathExist(name.Get(), 1))
            break;
    }
    return ERROR_SUCCESS;
}

/** Settles what the restart shall move onto the destination: the source itself, or a copy beside the destination. */
DWORD MakeSourceCopy(const char* source, const char* destination, PathText& sourceCopy)
{
    if (LieInSameFolder(source, destination))
        return sourceCopy.Set(source) ? ERROR_SUCCESS : ERROR_FILENAME_EXCED_RANGE;
    if (const DWORD code = FindSourceCopyName(destination, sourceCopy))
        return code;
    if (CopyFileA(source, sourceCopy.Get(), TRUE))
        return ERROR_SUCCESS;
    const DWORD code = GetLastError();
    TracePrint(kError, 1, "Creating temporary SourceCopy [%s] failed.\n", sourceCopy.Get());
    return code;
}

DWORD DeferCopy(const char* source, const char* destination)
{
    PathText sourceCopy;
    if (const DWORD code = MakeSourceCopy(source, destination, sourceCopy))
        return code;
    TracePrint(kInfo, 1, "Defined SourceCopy = [%s]\n", sourceCopy.Get());
    return TARVO_RenameAfterReboot(sourceCopy.Get(), destination);
}

/** Does what copying and moving share before they begin. */
DWORD CheckSource(const char* source, const char* destination, DWORD* needRestart)
{
    if (!source || !destination)
        return ERROR_INVALID_PARAMETER;
    if (needRestart)
        *needRestart = 0;
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
        ClearPendingEntries(destination);
    } else {
        TracePrint(kInfo, 1, "Immediate CopyFile failed with error code: %d\n", static_cast<int>(GetLastError()));
        if (const DWORD code = DeferCopy(source, destination))
            return code;
        ReportRestart(needRestart);
    }
    TARVO_AddFileToUninstallLog(destination);
    return ERROR_SUCCESS;
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
    if (state.readable && !DeleteFileA(destination)) {
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
        ClearPendingEntries(destination);
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
