#include "uninstall/recording.h"

#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constinit PathText recordingFile; // "" while recording is off

void WriteLine(const char* section, const char* key, const char* value)
{
    if (recordingFile.Empty()) {
        TracePrint(kWarning, 1, "%s", "TARVO_AddRollbackEntry: No rollback log file.\n");
        return;
    }
    if (!WritePrivateProfileStringA(section, key, value, recordingFile.Get())) {
        TracePrint(kWarning, 1, "TARVO_AddRollbackEntry: WritePrivateProfileString() failed with error code [%d]\n",
                   static_cast<int>(GetLastError()));
    }
}

DWORD StartRecording(const char* file)
{
    if (!file)
        return ERROR_INVALID_PARAMETER;
    if (IsPathExist(file, 0)) {
        if (const DWORD code = TARVO_ResetFileReadOnlyAttribute(file, 0))
            return code;
    }
    recordingFile.SetCut(file);
    return ERROR_SUCCESS;
}

/** A line whose item is the key. */
void AddItem(const char* section, const char* item)
{
    TARVO_AddRollbackEntry(section, section, item, FALSE);
}

} // namespace

void AddShortcutToUninstallLog(const char* path)
{
    FunctionScope scope("AddShortcutToUninstallLog", 0);
    TARVO_AddRollbackEntry(kFilesSection, kShortcutsSection, path, FALSE);
    AddItem(kShortcutsSection, path);
    scope.Ok();
}

void AddRollbackRegEntry(const char* entry)
{
    FunctionScope scope("AddRollbackRegEntry", 0);
    AddItem(kRegistrySection, entry);
    scope.Ok();
}

void AddRollbackReg64Entry(const char* entry)
{
    FunctionScope scope("AddRollbackReg64Entry", 0);
    AddItem(kRegistry64Section, entry);
    scope.Ok();
}

} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_StartUninstallLogging(const char* file, const char* plugIn)
{
    FunctionScope scope("TARVO_StartUninstallLogging", 0);
    TracePrint(kInfo, 1, "Uninstall file=[%s] started by plugin=[%s]\n", Shown(file), Shown(plugIn));
    return scope.End(StartRecording(file));
}

DWORD __cdecl TARVO_StopUninstallLogging(void)
{
    FunctionScope scope("TARVO_StopUninstallLogging", 0);
    if (recordingFile.Empty())
        return scope.Error("Uninstall logging is not started", TARVO_ERROR_NO_LOG);
    recordingFile.Clear();
    return scope.Ok();
}

DWORD __cdecl TARVO_AddRollbackEntry(const char* section, const char* entry, const char* value, BOOL single)
{
    FunctionScope scope("TARVO_AddRollbackEntry", 0);
    if (single) {
        TracePrint(kInfo, 1, "Single entry: file=[%s] section=[%s] entry=[%s] value=[%s]\n", recordingFile.Get(),
                   Shown(section), Shown(entry), Shown(value));
    } else {
        TracePrint(kInfo, 1, "Not single entry: file=[%s] section=[%s] entry=[%s] value=[%s]\n", recordingFile.Get(),
                   Shown(section), Shown(value), "1");
    }
    // The INI writer takes NULL as the order to drop a line, or the whole section.
    if (!section || !value || (single && !entry))
        return scope.Error(ERROR_INVALID_PARAMETER);
    if (single)
        WriteLine(section, entry, value);
    else
        WriteLine(section, value, "1");
    return scope.Ok();
}

DWORD __cdecl TARVO_AddFileToUninstallLog(const char* path)
{
    FunctionScope scope("TARVO_AddFileToUninstallLog", 0);
    if (!path)
        return scope.Error(ERROR_INVALID_PARAMETER);
    AddItem(kFilesSection, path);
    return scope.Ok();
}

DWORD __cdecl TARVO_SetCustomUnInstallString(const char* name, const char* value)
{
    FunctionScope scope("TARVO_SetCustomUnInstallString", 0);
    if (!name || !value)
        return scope.Error(ERROR_INVALID_PARAMETER);
    TARVO_AddRollbackEntry(kCustomSection, name, value, TRUE);
    return scope.Ok();
}
