#include "uninstall/recording.h"

#include <cstring>

#include "base/memory.h"
#include "base/multibyte.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "frame/library_entry.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"
#include "uninstall/log_file.h"

namespace tarvo {
namespace {

/** Where is recorded into; no name while recording is off. */
struct Recording {
    PathText path;
    LogFile file;
};

constinit ProcessWide<Recording> state;

void ReleaseRecording()
{
    state->file.Forget();
}

/** @return why a line would not come back as it is written, or NULL. Values may begin with anything. */
const char* WhyLost(const LogEntry& entry)
{
    constexpr std::string_view kControls("\0\1\2\3\4\5\6\7\b\t\n\v\f\r\x0E\x0F\x10\x11\x12\x13\x14\x15\x16\x17\x18"
                                         "\x19\x1A\x1B\x1C\x1D\x1E\x1F",
                                         32);
    const std::string_view section = entry.section;
    for (const std::string_view text : {section, entry.key, entry.value}) {
        if (text.find_first_of(kControls) != text.npos)
            return "a control character in it";
    }
    if (IndexOfChar(section, ']') != section.npos)
        return "a bracket in its section";
    if (entry.key.empty())
        return "no name";
    if (strchr("[; ", entry.key.front()))
        return "a bracket, semicolon or blank in front";
    if (entry.keyEnd == KeyEnd::kFirstEquals && entry.key.find('=') != entry.key.npos)
        return "an equals sign in its name";
    return nullptr;
}

void WriteLine(const LogEntry& entry)
{
    if (state->path.Empty()) {
        TracePrint(kWarning, 1, "%s", "TARVO_AddRollbackEntry: No rollback log file.\n");
        return;
    }
    if (const char* reason = WhyLost(entry)) {
        TracePrint(kWarning, 1, "TARVO_AddRollbackEntry: Entry is not written: %s.\n", reason);
        return;
    }
    ReleaseAtUnload(ReleaseStage::kUninstallLog, ReleaseRecording);
    if (const DWORD code = state->file.Put(state->path, entry)) {
        TracePrint(kWarning, 1, "TARVO_AddRollbackEntry: WritePrivateProfileString() failed with error code [%d]\n",
                   static_cast<int>(code));
    }
}

bool IsPathSection(const char* section)
{
    return EqualNoCase(section, kFilesSection) || EqualNoCase(section, kShortcutsSection);
}

void WriteItem(const char* section, const char* item)
{
    PathText full;
    const bool relative = IsPathSection(section) && !IsFullPath(item);
    if (relative && !MakeFullPath(item, full)) {
        TracePrint(kWarning, 1, "TARVO_AddRollbackEntry: Entry is not written: %s.\n", "its full path is too long");
        return;
    }
    WriteLine({section, relative ? full.Get() : item, "1", KeyEnd::kLastEquals});
}

/** All records would be lost, each with a warning far from the mistake. */
void WarnWithoutFolder()
{
    PathText folder;
    if (folder.Set(FolderPart(SplitPath(state->path.Get()))) &&
        GetFileAttributesA(folder.Get()) == INVALID_FILE_ATTRIBUTES) {
        TracePrint(kWarning, 0, "Nothing can be recorded: no folder [%s] (error code [%d])\n", folder.Get(),
                   static_cast<int>(GetLastError()));
    }
}

DWORD StartRecording(const char* file)
{
    if (!file)
        return ERROR_INVALID_PARAMETER;
    const bool exists = IsPathExist(file, 0);
    if (exists) {
        if (const DWORD code = TARVO_ResetFileReadOnlyAttribute(file, 0))
            return code;
    }
    KeepLogName(file, state->path);
    state->file.Forget(); // what it holds may be another log's
    if (!exists)
        WarnWithoutFolder();
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
    if (state->path.Empty())
        return scope.Error("Uninstall logging is not started", TARVO_ERROR_NO_LOG);
    // The log of a finished setup outlives a power cut.
    if (const DWORD code = LogFile::Flush(state->path))
        TracePrint(kWarning, 1, "Flushing the uninstall log failed with error code [%d]\n", static_cast<int>(code));
    state->path.Clear();
    state->file.Forget();
    return scope.Ok();
}

DWORD __cdecl TARVO_AddRollbackEntry(const char* section, const char* entry, const char* value, BOOL single)
{
    FunctionScope scope("TARVO_AddRollbackEntry", 0);
    if (single) {
        TracePrint(kInfo, 1, "Single entry: file=[%s] section=[%s] entry=[%s] value=[%s]\n", state->path.Get(),
                   Shown(section), Shown(entry), Shown(value));
    } else {
        TracePrint(kInfo, 1, "Not single entry: file=[%s] section=[%s] entry=[%s] value=[%s]\n", state->path.Get(),
                   Shown(section), Shown(value), "1");
    }
    // The INI writer takes NULL as the order to drop a line, or the whole section.
    if (!section || !value || (single && !entry))
        return scope.Error(ERROR_INVALID_PARAMETER);
    if (single)
        WriteLine({section, entry, value, KeyEnd::kFirstEquals});
    else
        WriteItem(section, value);
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
