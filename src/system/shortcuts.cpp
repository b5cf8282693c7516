// Shortcuts in a group of the Start menu's programs.

#include <windows.h>

#include <shlobj.h>

#include <cstring>

#include "base/command_line.h"
#include "base/item_list.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "system/shell_link.h"
#include "tarvo/tarvo.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

/** Where a shortcut lies. */
struct ShortcutPlace {
    PathText groupFolder;
    PathText linkFile;
};

Ending FindProgramsFolder(PathText& folder)
{
    ItemList list;
    if (!list.Locate(CSIDL_COMMON_PROGRAMS)) {
        TracePrint(kWarning, 1, "%s", "Could not find common program directory, trying user directory...\n");
        if (!list.Locate(CSIDL_PROGRAMS))
            return {TARVO_ERROR_FAILED, "Could not find neither common nor user directory"};
    }
    if (!SHGetPathFromIDListA(list.Get(), folder.Buffer()))
        return {TARVO_ERROR_FAILED, "Could not get shortcut's directory"};
    return {ERROR_SUCCESS};
}

Ending FindPlace(const char* group, const char* description, ShortcutPlace& place)
{
    PathText programs;
    if (const Ending ending = FindProgramsFolder(programs); ending.code)
        return ending;
    if (!JoinPath(place.groupFolder, programs.Get(), group) ||
        !JoinPath(place.linkFile, place.groupFolder.Get(), description, "lnk"))
        return {ERROR_FILENAME_EXCED_RANGE};
    return {ERROR_SUCCESS};
}

DWORD CreateGroup(const char* folder)
{
    if (IsPathExist(folder, 1))
        return ERROR_SUCCESS;
    if (!CreateDirectoryA(folder, nullptr))
        return GetLastError();
    AddShortcutToUninstallLog(folder);
    return ERROR_SUCCESS;
}

/** @return false if target or arguments are longer than 259 characters */
bool SplitTarget(const char* file, PathText& target, PathText& arguments)
{
    const CommandLine parts = SplitCommandLine(file);
    const char* given = parts.arguments;
    given += strspn(given, " \t\r\n\v\f");
    return target.Set(parts.program) && arguments.Set(given);
}

Ending Create(const char* group, const char* description, const char* file, const char* startIn, DWORD runState)
{
    if (!group || !description || !file)
        return {ERROR_INVALID_PARAMETER};
    ShortcutPlace place;
    if (const Ending ending = FindPlace(group, description, place); ending.code)
        return ending;
    PathText target;
    PathText arguments;
    if (!SplitTarget(file, target, arguments))
        return {ERROR_FILENAME_EXCED_RANGE};
    if (const DWORD code = CreateGroup(place.groupFolder.Get()))
        return {code};
    TracePrint(kInfo, 1, "Creating shortcut, file=[%s], target=[%s]...\n", place.linkFile.Get(), target.Get());
    const ShortcutProperties link = {target.Get(), description, startIn, arguments.Get(), runState};
    if (FAILED(CreateShortcut(link, place.linkFile.Get())))
        return {TARVO_ERROR_FAILED, "Failed to create shortcut"};
    AddShortcutToUninstallLog(place.linkFile.Get());
    return {ERROR_SUCCESS};
}

Ending Remove(const char* group, const char* description)
{
    if (!group || !description)
        return {ERROR_INVALID_PARAMETER};
    ShortcutPlace place;
    if (const Ending ending = FindPlace(group, description, place); ending.code)
        return ending;
    if (!DeleteFileA(place.linkFile.Get()))
        return {GetLastError(), "Failed to delete shortcut file"};
    if (!RemoveDirectoryA(place.groupFolder.Get())) {
        TracePrint(kWarning, 1, "Failed to remove group directory [%s], it isn't error.\n", place.groupFolder.Get());
    }
    return {ERROR_SUCCESS};
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_AddShortCut(const char* group, const char* description, const char* file, const char* startIn,
                                DWORD runState)
{
    FunctionScope scope("TARVO_AddShortCut", 0);
    TracePrint(kInfo, 1, "Group=[%s], Description=[%s], File=[%s], StartIn=[%s], RunState=[%d].\n", Shown(group),
               Shown(description), Shown(file), Shown(startIn), static_cast<int>(runState));
    return scope.End(Create(group, description, file, startIn, runState));
}

DWORD __cdecl TARVO_RemoveShortCut(const char* group, const char* description)
{
    FunctionScope scope("TARVO_RemoveShortCut", 0);
    TracePrint(kInfo, 1, "Group=[%s], Description=[%s]\n", Shown(group), Shown(description));
    return scope.End(Remove(group, description));
}
