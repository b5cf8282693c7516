#include "system/shell_link.h"

#include <shlobj.h>

#include "base/com_object.h"
#include "base/wide_text.h"
#include "frame/scope.h"

namespace tarvo {
namespace {

HRESULT SetProperties(IShellLinkA& object, const ShortcutProperties& link)
{
    // The interface has no meaning for NULL.
    HRESULT result = object.SetWorkingDirectory(link.startIn ? link.startIn : "");
    if (SUCCEEDED(result))
        result = object.SetShowCmd(static_cast<int>(link.showCommand));
    if (SUCCEEDED(result))
        result = object.SetDescription(link.description);
    if (SUCCEEDED(result) && !IsEmpty(link.arguments))
        result = object.SetArguments(link.arguments);
    if (SUCCEEDED(result))
        result = object.SetPath(link.target);
    return result;
}

HRESULT SaveLink(const ShortcutProperties& link, const char* linkFile)
{
    const ComSession com;
    WideText wideFile;
    if (!wideFile.FromAnsi(linkFile))
        return E_OUTOFMEMORY;
    UniqueCom<IShellLinkA> object;
    HRESULT result = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                                      reinterpret_cast<void**>(object.Put()));
    if (FAILED(result))
        return result;
    UniqueCom<IPersistFile> file;
    result = object.Get()->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(file.Put()));
    if (SUCCEEDED(result))
        result = SetProperties(*object.Get(), link);
    if (SUCCEEDED(result))
        result = file.Get()->Save(wideFile.Get(), TRUE);
    return result;
}

} // namespace

HRESULT CreateShortcut(const ShortcutProperties& link, const char* linkFile)
{
    FunctionScope scope("CreateShortcut", 0);
    const HRESULT result = SaveLink(link, linkFile);
    if (FAILED(result))
        scope.Error("Failed to create shortcut", static_cast<DWORD>(result));
    else
        scope.Ok();
    return result;
}

} // namespace tarvo
