// Shortcuts in a group of the Start menu's programs.

#include <windows.h>

#include <shlobj.h>

#include <cstring>

#include "base/com_object.h"
#include "base/command_line.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "system/shell_link.h"
#include "tarvo/tarvo.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

/** An item list of the shell, which its own allocator frees. */
class ItemList {
public:
    ItemList() = default;
    ~ItemList()
    {
        UniqueCom<IMalloc> allocator;
        if (list_ && SHGetMalloc(allocator.Put()) == S_OK)
            allocator.Get()->Free(list_);
    }
    ItemList(const ItemList&) = delete;
    ItemList& operator=(const ItemList&) = delete;

    bool Locate(int folder) { return SUCCEEDED(SHGetSpecialFolderLocation(nullptr, folder, &list_)); }
    bool GetPath(PathText& path) const { return SHGetPathFromIDListA(list_, path.Buffer()); }

private:
    LPITEMIDLIST list_ = nullptr;
};

/** Where a shortcut lies. */
struct ShortcutPlace {
    PathText groupFolder;
    PathText linkFile;
};

DWORD FindProgramsFolder(FunctionScope& scope, PathText& folder)
{
    ItemList list;
    if (!list.Locate(CSIDL_COMMON_PROGRAMS)) {
        TracePrint(kWarning, 1, "%s", "Could not find common program directory, trying user directory...\n");
        if (!list.Locate(CSIDL_PROGRAMS))
            return scope.Error("Could not find neither common nor user directory", TARVO_ERROR_FAILED);
    }
    if (!list.GetPath(folder))
        return scope.Error("Could not get shortcut's directory", TARVO_ERROR_FAILED);
    return ERROR_SUCCESS;
}

/** Ends the scope where it fails. */
DWORD FindPlace(FunctionScope& scope, const char* group, const char* description, ShortcutPlace& place)
{
    PathText programs;
    if (const DWORD code = FindProgramsFolder(scope, programs))
        return code;
    if (!JoinPath(place.groupFolder, programs.Get(), group) ||
        !JoinPath(place.linkFile, place.groupFolder.Get(), description, "lnk"))
        return scope.Error(ERROR_FILENAME_EXCED_RANGE);
    return ERROR_SUCCESS;
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

DWORD EndCreation(FunctionScope& scope, const ShortcutPlace& place, const char* description, const char* file,
                  const char* startIn, DWORD runState)
{
    PathText target;
    PathText arguments;
    if (!SplitTarget(file, target, arguments))
        return scope.Error(ERROR_FILENAME_EXCED_RANGE);
    if (const DWORD code = CreateGroup(place.groupFolder.Get()))
        return scope.Error(code);
    TracePrint(kInfo, 1, "Creating shortcut, file=[%s], target=[%s]...\n", place.linkFile.Get(), target.Get());
    const ShortcutProperties link = {target.Get(), description, startIn, arguments.Get(), runState};
    if (FAILED(CreateShortcut(link, place.linkFile.Get())))
        return scope.Error("Failed to create shortcut", TARVO_ERROR_FAILED);
    AddShortcutToUninstallLog(place.linkFile.Get());
    return scope.Ok();
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
    if (!group || !description || !file)
        return scope.Error(ERROR_INVALID_PARAMETER);
    ShortcutPlace place;
    if (const DWORD code = FindPlace(scope, group, description, place))
        return code;
    return EndCreation(scope, place, description, file, startIn, runState);
}

DWORD __cdecl TARVO_RemoveShortCut(const char* group, const char* description)
{
    FunctionScope scope("TARVO_RemoveShortCut", 0);
    TracePrint(kInfo, 1, "Group=[%s], Description=[%s]\n", Shown(group), Shown(description));
    if (!group || !description)
        return scope.Error(ERROR_INVALID_PARAMETER);
    ShortcutPlace place;
    if (const DWORD code = FindPlace(scope, group, description, place))
        return code;
    if (!DeleteFileA(place.linkFile.Get()))
        return scope.Error("Failed to delete shortcut file", GetLastError());
    if (!RemoveDirectoryA(place.groupFolder.Get())) {
        TracePrint(kWarning, 1, "Failed to remove group directory [%s], it isn't error.\n", place.groupFolder.Get());
    }
    return scope.Ok();
}
