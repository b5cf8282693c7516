// The uninstall run: one step for each kind of thing to remove.

#include "base/multibyte.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "pending/clearing.h"
#include "registry/deletion.h"
#include "tarvo/tarvo.h"
#include "uninstall/entries.h"
#include "uninstall/recording.h"
#include "uninstall/rollback_log.h"
#include "uninstall/service_step.h"

namespace tarvo {
namespace {

/** A section of the log with its lines sorted for removal. */
struct SortedSection {
    HeapText list;
    SortedEntries sorted; // points into the list
};

DWORD ReadSorted(const char* section, SortedSection& lines)
{
    if (const DWORD code = GetRollbackSection(section, lines.list))
        return code;
    return GetSortedListOfEntries(lines.list.Get(), lines.sorted);
}

DWORD DeleteRegistrySection(const char* section, DWORD (*deleteEntry)(const char*))
{
    SortedSection lines;
    if (const DWORD code = ReadSorted(section, lines))
        return code;
    for (size_t index = 0; index < lines.sorted.count; ++index) {
        EntryLine line;
        if (!line.Split(lines.sorted.entries[index]) || !line.IsMarked())
            continue;
        const DWORD code = deleteEntry(line.Item());
        TracePrint(kInfo, 3, "Deleting of registry value or key [%s] results in [%d]\n", line.Item(),
                   static_cast<int>(code));
    }
    return ERROR_SUCCESS;
}

DWORD PerformUninstallRegistry()
{
    FunctionScope scope("PerformUninstallRegistry", 2);
    // Its code is dropped, as callers know it: what is left of the first section does not keep the second.
    DeleteRegistrySection(kRegistrySection, DeleteRegEntryOrValue);
    return scope.End(DeleteRegistrySection(kRegistry64Section, DeleteReg64EntryOrValue));
}

/** @return false where a path has no folder in front, or without memory */
[[nodiscard]] bool ParentFolder(const char* path, HeapText& folder)
{
    const char* const backslash = FindLastChar(path, '\\');
    return backslash && folder.Copy({path, static_cast<size_t>(backslash - path)});
}

void DeleteDirectoryOrDefer(const char* path)
{
    TracePrint(kInfo, 3, "Deleting directory [%s]...\n", path);
    if (RemoveDirectoryA(path))
        return;
    TracePrint(kInfo, 3, "%s", "Deleting failed, marking to be deleted after reboot...\n");
    TARVO_DeleteAfterReboot(path);
}

/** A directory goes with its last file; one with a locked file goes with it at the restart. */
void DeleteParentDirectory(const char* path, bool deferred)
{
    HeapText directory;
    if (!ParentFolder(path, directory))
        return;
    if (deferred) {
        TracePrint(kInfo, 3, "%s", "Marking the directory to be deleted after reboot...\n");
        TARVO_DeleteAfterReboot(directory.Get());
        return;
    }
    TracePrint(kInfo, 3, "%s", "Trying to delete the directory...\n");
    if (!RemoveDirectoryA(directory.Get()))
        TracePrint(kWarning, 3, "%s", "Deleting failed.\n");
}

void DeleteFileAndParent(const char* path)
{
    TracePrint(kInfo, 3, "Deleting file [%s]...\n", path);
    DWORD needRestart = 0;
    if (TARVO_DeleteFileEx(path, &needRestart) != ERROR_SUCCESS) {
        TracePrint(kWarning, 3, "%s", "File deleting failed.\n");
        return;
    }
    if (needRestart)
        TracePrint(kInfo, 3, "%s", "Reboot needed to finish deleting.\n");
    DeleteParentDirectory(path, needRestart != 0);
}

/** The system itself tells what a path comes to: a drive's root ("C:\\a\\.."), a device ("C:\\NUL"). */
bool NamesOneFile(const char* path)
{
    PathText full;
    return IsFullPath(path) && MakeFullPath(path, full) && IsFullPath(full.Get());
}

void DeletePath(const char* path)
{
    // No recording writes such paths; in the uninstaller's folder they would name something else.
    if (!NamesOneFile(path)) {
        TracePrint(kWarning, 3, "Path [%s] is not full, passed over.\n", path);
        return;
    }
    ClearRenamesOnto(path, nullptr); // or the restart would bring it back
    if (!IsPathExist(path, 1))
        TracePrint(kInfo, 3, "File or directory [%s] does not exist...\n", path);
    else if (IsPathDirectory(path))
        DeleteDirectoryOrDefer(path);
    else
        DeleteFileAndParent(path);
}

void DeletePaths(const SortedEntries& sorted)
{
    for (size_t index = 0; index < sorted.count; ++index) {
        EntryLine line;
        if (line.Split(sorted.entries[index]) && line.IsMarked())
            DeletePath(line.Item());
    }
}

DWORD UninstallFilesFromSection(const char* section)
{
    FunctionScope scope("UninstallFilesFromSection", 2);
    TracePrint(kInfo, 3, "Section=[%s]\n", section);
    SortedSection lines;
    if (const DWORD code = GetRollbackSection(section, lines.list))
        return scope.Error(code);
    if (!*lines.list.Get()) {
        BoundedText<MAX_PATH> file;
        GetRollbackLogName(file.Buffer(), MAX_PATH);
        TracePrint(kInfo, 3, "Did not find files in section [%s] from file [%s]\n", section, file.Get());
        return scope.Ok();
    }
    const DWORD code = GetSortedListOfEntries(lines.list.Get(), lines.sorted);
    if (code == ERROR_SUCCESS)
        DeletePaths(lines.sorted);
    return scope.End(code);
}

DWORD PerformUninstallFile()
{
    FunctionScope scope("PerformUninstallFile", 2);
    return scope.End(UninstallFilesFromSection(kFilesSection));
}

DWORD PerformUninstallShortcut()
{
    FunctionScope scope("PerformUninstallShortcut", 2);
    return scope.End(UninstallFilesFromSection(kShortcutsSection));
}

// Nothing is recorded of these kinds; their codes are valid all the same.

DWORD PerformUninstallEvent()
{
    FunctionScope scope("PerformUninstallEvent", 2);
    return ERROR_SUCCESS;
}

DWORD PerformUninstallShellExtension()
{
    FunctionScope scope("PerformUninstallShellExtension", 2);
    return ERROR_SUCCESS;
}

struct StepRow {
    DWORD operation;
    DWORD (*perform)();
};

constexpr StepRow kSteps[] = {
    {TARVO_UNINSTALL_REGISTRY, PerformUninstallRegistry},
    {TARVO_UNINSTALL_FILES, PerformUninstallFile},
    {TARVO_UNINSTALL_SERVICES, PerformUninstallService},
    {TARVO_UNINSTALL_SHORTCUTS, PerformUninstallShortcut},
    {TARVO_UNINSTALL_EVENTS, PerformUninstallEvent},
    {TARVO_UNINSTALL_SHELL_EXTENSION, PerformUninstallShellExtension},
};

DWORD PerformStep(DWORD operation)
{
    for (const StepRow& row : kSteps) {
        if (row.operation == operation)
            return row.perform();
    }
    return ERROR_INVALID_PARAMETER;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_PerformUnInstall(DWORD operation)
{
    FunctionScope scope("TARVO_PerformUnInstall", 0);
    TracePrint(kInfo, 1, "Operation=[%d]\n", static_cast<int>(operation));
    if (!IsRollbackLogOpen())
        return scope.Error("Uninstallation log is not opened", TARVO_ERROR_NO_LOG);
    return scope.End(PerformStep(operation));
}
