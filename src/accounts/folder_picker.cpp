// The shell's folder browser.

#include <windows.h>

#include <shlobj.h>

#include <cstring>

#include "base/item_list.h"
#include "base/multibyte.h"
#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr char kCancelText[] = "Dialog was canceled by the user.";

/** The browser changes the current directory; it is put back. */
class CurrentDirectoryKeeper {
public:
    CurrentDirectoryKeeper()
    {
        const DWORD length = GetCurrentDirectoryA(PathText::kSize, directory_.Buffer());
        if (length >= PathText::kSize)
            directory_.Clear();
    }
    ~CurrentDirectoryKeeper()
    {
        if (!directory_.Empty())
            SetCurrentDirectoryA(directory_.Get());
    }
    CurrentDirectoryKeeper(const CurrentDirectoryKeeper&) = delete;
    CurrentDirectoryKeeper& operator=(const CurrentDirectoryKeeper&) = delete;

private:
    PathText directory_;
};

/** What a caller asks of the browser. */
struct FolderQuestion {
    HWND parent;
    const char* title;
    const char* instructions;
    BOOL editBox;
    BOOL newStyle;
    BOOL computerOnly;
};

/** What the callback works with; either text may be NULL. */
struct BrowseContext {
    const char* title;
    const char* initialFolder;
};

/** Cuts components off a path until something of it exists; "" if nothing does. */
void FindExistingAncestor(PathText& path)
{
    while (!path.Empty() && !IsPathExist(path.Get(), 0)) {
        char* const backslash = FindLastChar(path.Buffer(), '\\');
        if (backslash)
            *backslash = '\0';
        else
            path.Clear();
    }
}

void Prepare(HWND dialog, const BrowseContext& context)
{
    if (context.title)
        SetWindowTextA(dialog, context.title);
    if (IsEmpty(context.initialFolder))
        return;
    PathText folder;
    folder.SetCut(context.initialFolder);
    FindExistingAncestor(folder);
    if (!folder.Empty())
        SendMessageA(dialog, BFFM_SETSELECTIONA, TRUE, reinterpret_cast<LPARAM>(folder.Get()));
}

void JudgeSelection(HWND dialog, LPARAM selection)
{
    PathText path;
    const bool isFolder =
        SHGetPathFromIDListA(reinterpret_cast<LPCITEMIDLIST>(selection), path.Buffer()) && !path.Empty();
    // Older manuals of the shell name wParam for the answer, newer ones lParam.
    SendMessageA(dialog, BFFM_ENABLEOK, isFolder, isFolder);
}

int CALLBACK BrowseCallback(HWND dialog, UINT message, LPARAM parameter, LPARAM data)
{
    if (message == BFFM_INITIALIZED)
        Prepare(dialog, *reinterpret_cast<const BrowseContext*>(data));
    else if (message == BFFM_SELCHANGED)
        JudgeSelection(dialog, parameter);
    return 0;
}

UINT FlagsOf(const FolderQuestion& question)
{
    UINT flags = BIF_RETURNONLYFSDIRS | BIF_RETURNFSANCESTORS;
    if (question.editBox)
        flags |= BIF_EDITBOX;
    if (question.newStyle)
        flags |= BIF_NEWDIALOGSTYLE;
    return flags;
}

DWORD Browse(const FolderQuestion& question, char* folder, IMalloc* allocator)
{
    const bool isDrivePath = folder[0] && folder[1] == ':';
    const BrowseContext context = {question.title, isDrivePath ? folder : nullptr};
    PathText displayName;
    ItemList chosen(allocator); // the last to go, behind the directory and the root
    ItemList root(allocator);
    const CurrentDirectoryKeeper directory;
    if (question.computerOnly)
        root.Locate(CSIDL_DRIVES); // else, and where there are none, it is the desktop
    BROWSEINFOA info = {};
    info.hwndOwner = question.parent;
    info.pidlRoot = root.Get();
    info.pszDisplayName = displayName.Buffer();
    info.lpszTitle = question.instructions;
    info.ulFlags = FlagsOf(question);
    info.lpfn = BrowseCallback;
    info.lParam = reinterpret_cast<LPARAM>(&context);
    TracePrint(kInfo, 1, "%s", "Calling SHBrowseForFolder...\n");
    *chosen.Put() = SHBrowseForFolderA(&info);
    if (!chosen.Get()) {
        TracePrint(kWarning, 1, "%s", "SHBrowseForFolder returned NULL.\n");
        return TARVO_PICKER_CANCELLED;
    }
    PathText path;
    if (!SHGetPathFromIDListA(chosen.Get(), path.Buffer()))
        return ERROR_BAD_PATHNAME;
    CopyCut(folder, MAX_PATH, path.Get());
    TracePrint(kInfo, 1, "Selected folder: [%s].\n", folder);
    return ERROR_SUCCESS;
}

DWORD SelectFolder(const FolderQuestion& question, char* folder)
{
    ComSession com;
    com.StayWhereItWasEntered();
    UniqueCom<IMalloc> allocator;
    if (FAILED(SHGetMalloc(allocator.Put())))
        return ERROR_NOT_ENOUGH_MEMORY;
    return Browse(question, folder, allocator.Get());
}

DWORD EndSelection(FunctionScope& scope, DWORD code)
{
    return code == TARVO_PICKER_CANCELLED ? scope.Error(kCancelText, code) : scope.End(code);
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_DlgSelectSharedFolderEx(HWND hParentWnd, const char* pchTitle, const char* pchInstructions,
                                            BOOL bEditBoxEnable, BOOL bNewDialogStyle, BOOL bMyComputerOnly,
                                            char* folder)
{
    FunctionScope scope("TARVO_DlgSelectSharedFolderEx", 0);
    TracePrint(kInfo, 1,
               "hParentWnd = [%x], pchTitle = [%s], pchInstructions = [%s], bEditBoxEnable = [%d], bNewDialogStyle = "
               "[%d], bMyComputerOnly = [%d].\n",
               reinterpret_cast<unsigned>(hParentWnd), Shown(pchTitle), Shown(pchInstructions), bEditBoxEnable,
               bNewDialogStyle, bMyComputerOnly);
    if (!folder)
        return scope.Error(ERROR_INVALID_PARAMETER);
    const FolderQuestion question = {hParentWnd,     pchTitle,        pchInstructions,
                                     bEditBoxEnable, bNewDialogStyle, bMyComputerOnly};
    return EndSelection(scope, SelectFolder(question, folder));
}

DWORD __cdecl TARVO_DlgSelectSharedFolder(HWND hParentWnd, char* pchBuffer, DWORD* pdwBufferLen)
{
    FunctionScope scope("TARVO_DlgSelectSharedFolder", 0);
    TracePrint(kInfo, 1, "hParentWnd=[%x], pchBuffer = [%x], pdwBufferLen = [%x]->[%d].\n",
               reinterpret_cast<unsigned>(hParentWnd), reinterpret_cast<unsigned>(pchBuffer),
               reinterpret_cast<unsigned>(pdwBufferLen), pdwBufferLen ? static_cast<int>(*pdwBufferLen) : 0);
    if (!pchBuffer || !pdwBufferLen)
        return scope.Error(ERROR_INVALID_PARAMETER);
    PathText folder;
    if (const DWORD code =
            TARVO_DlgSelectSharedFolderEx(hParentWnd, nullptr, nullptr, FALSE, FALSE, FALSE, folder.Buffer()))
        return EndSelection(scope, code);
    const DWORD size = *pdwBufferLen;
    *pdwBufferLen = static_cast<DWORD>(strlen(folder.Get()) + 1);
    if (!CopyWhole(pchBuffer, size, folder.Get()))
        return scope.Error("Buffer is too small.", TARVO_PICKER_CANCELLED);
    pchBuffer[size - 1] = '\0';
    return scope.Ok();
}
