#include "accounts/user_browser.h"

#include <cstring>
#include <cwchar>

#include "base/dynamic_call.h"
#include "base/path.h"
#include "base/wide_text.h"
#include "frame/scope.h"

namespace tarvo {
namespace {

/** What the browser is asked for: a record of a closed system library, of which only these fields are known. */
struct BrowserRequest {
    DWORD size;
    BOOL cancelled;
    DWORD reserved3;
    HWND owner;
    const wchar_t* title;
    const wchar_t* domain;
    DWORD flags;
    DWORD reserved8;
    DWORD reserved9;
};
static_assert(sizeof(BrowserRequest) == 36);

constexpr DWORD kSelectionSize = 2048;
constexpr size_t kDomainNameOffset = 16;
constexpr size_t kAccountNameOffset = 24;

/** The three functions of the browser, for as long as the library is loaded. */
class BrowserLibrary {
public:
    bool Load()
    {
        LoadFromSystem();
        if (!module_) {
            TracePrint(kError, 3, "%s", "netui2.dll failed to load.\n");
            return false;
        }
        if (Find("OpenUserBrowser", open) && Find("EnumUserBrowserSelection", enumerate) &&
            Find("CloseUserBrowser", close))
            return true;
        TracePrint(kError, 3, "%s", "At least one of the functions failed to load.\n");
        return false;
    }

    HANDLE(WINAPI* open)(BrowserRequest* request) = nullptr;
    BOOL(WINAPI* enumerate)(HANDLE browser, void* selection, DWORD* size) = nullptr;
    BOOL(WINAPI* close)(HANDLE browser) = nullptr;

private:
    /** By its bare name, one that lies beside the setup would run with the setup's rights; so would what it needs. */
    void LoadFromSystem()
    {
        PathText folder;
        PathText path;
        const UINT length = GetSystemDirectoryA(folder.Buffer(), PathText::kSize);
        if (length > 0 && length < PathText::kSize && JoinPath(path, folder.Get(), "netui2", "dll"))
            module_.Reset(LoadLibraryExA(path.Get(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    }

    template <class Function> bool Find(const char* name, Function& function)
    {
        function = LookUpIn<Function>(module_.Get(), name);
        return function != nullptr;
    }

    UniqueModule module_;
};

const wchar_t* NameAt(const unsigned char* selection, size_t offset)
{
    const wchar_t* name = nullptr;
    memcpy(&name, selection + offset, sizeof name);
    return name ? name : L"";
}

void CopyName(wchar_t* buffer, DWORD size, const wchar_t* name)
{
    if (size == 0)
        return;
    DWORD length = 0;
    for (; length + 1 < size && name[length]; ++length)
        buffer[length] = name[length];
    buffer[length] = L'\0';
    buffer[size - 1] = L'\0';
}

BOOL TakeSelection(const BrowserLibrary& library, HANDLE browser, const AccountBuffers<wchar_t>& buffers)
{
    alignas(DWORD) unsigned char selection[kSelectionSize] = {};
    DWORD size = kSelectionSize - 1;
    if (!library.enumerate(browser, selection, &size)) {
        TracePrint(kWarning, 3, "%s", "pfnEnumUserBrowserSelection failed.\n");
        return FALSE;
    }
    CopyName(buffers.user, buffers.userSize, NameAt(selection, kAccountNameOffset));
    CopyName(buffers.domain, buffers.domainSize, NameAt(selection, kDomainNameOffset));
    return TRUE;
}

BOOL Browse(const BrowserLibrary& library, BrowserRequest& request, const AccountBuffers<wchar_t>& buffers,
            BOOL* cancelled)
{
    const HANDLE browser = library.open(&request);
    if (!browser) {
        TracePrint(kError, 3, "%s", "OpenUserBrowser failed.\n");
        return FALSE;
    }
    if (cancelled)
        *cancelled = request.cancelled;
    BOOL result = TRUE;
    if (request.cancelled)
        TracePrint(kInfo, 3, "%s", "User clicked cancel.\n");
    else
        result = TakeSelection(library, browser, buffers);
    library.close(browser);
    return result;
}

void TraceReturn(BOOL result, const BOOL* cancelled)
{
    TracePrint(kInfo, 2, "Returning [%d] (Canceled=[%d])\n", result, cancelled ? *cancelled : -1);
}

/** The wide counterparts of what OpenUserBrowseDialogA is given. */
struct WideBrowse {
    WideText title;
    WideText domain;
    WideText userBuffer;
    WideText domainBuffer;

    [[nodiscard]] bool Allocate(const char* givenTitle, const char* givenDomain, const AccountBuffers<char>& buffers)
    {
        return title.FromAnsi(givenTitle) && domain.FromAnsi(givenDomain) &&
               userBuffer.AllocateZeroed(buffers.userSize) && domainBuffer.AllocateZeroed(buffers.domainSize);
    }
};

/** Keeps as many whole characters as fit. @param name  Of less than size characters, as its wide buffer has it. */
void ConvertName(const wchar_t* name, char* buffer, DWORD size)
{
    if (size == 0)
        return;
    int length = static_cast<int>(wcslen(name));
    int written = 0;
    // What a conversion leaves in a buffer that is too small is not defined.
    for (; length > 0 && written == 0; --length)
        written = WideCharToMultiByte(CP_ACP, 0, name, length, buffer, static_cast<int>(size - 1), nullptr, nullptr);
    buffer[written] = '\0';
    buffer[size - 1] = '\0';
}

BOOL BrowseAnsi(HWND owner, const char* title, const char* domain, DWORD flags, const AccountBuffers<char>& buffers,
                BOOL* cancelled)
{
    WideBrowse wide;
    if (!wide.Allocate(title, domain, buffers)) {
        TracePrint(kError, 3, "%s", "Memory allocation failed.\n");
        return FALSE;
    }
    const AccountBuffers<wchar_t> wideBuffers = {wide.userBuffer.Get(), buffers.userSize, wide.domainBuffer.Get(),
                                                 buffers.domainSize};
    BOOL wasCancelled = FALSE;
    const BOOL result =
        OpenUserBrowseDialogW(owner, wide.title.Get(), wide.domain.Get(), flags, wideBuffers, &wasCancelled);
    if (cancelled)
        *cancelled = wasCancelled;
    if (!result) {
        TracePrint(kWarning, 3, "%s", "OpenUserBrowseDialogW failed.\n");
    } else if (!wasCancelled) {
        ConvertName(wide.userBuffer.Get(), buffers.user, buffers.userSize);
        ConvertName(wide.domainBuffer.Get(), buffers.domain, buffers.domainSize);
        TracePrint(kInfo, 2, "Received user=[%s\\%s]\n", buffers.domainSize ? buffers.domain : "",
                   buffers.userSize ? buffers.user : "");
    }
    TraceReturn(result, cancelled);
    return result;
}

} // namespace

BOOL OpenUserBrowseDialogW(HWND owner, const wchar_t* title, const wchar_t* domain, DWORD flags,
                           const AccountBuffers<wchar_t>& buffers, BOOL* cancelled)
{
    FunctionScope scope("OpenUserBrowseDialogW", 2);
    if (!buffers.user || !buffers.domain) {
        TracePrint(kError, 3, "%s", "Argument(s) is NULL.\n");
        return FALSE;
    }
    BOOL result = FALSE;
    {
        BrowserLibrary library;
        if (!library.Load())
            return FALSE;
        BrowserRequest request = {sizeof request, FALSE, 0, owner, title, domain, flags, 0, 0};
        result = Browse(library, request, buffers, cancelled);
    }
    TraceReturn(result, cancelled);
    return result;
}

BOOL OpenUserBrowseDialogA(HWND owner, const char* title, const char* domain, DWORD flags,
                           const AccountBuffers<char>& buffers, BOOL* cancelled)
{
    FunctionScope scope("OpenUserBrowseDialogA", 2);
    TracePrint(kInfo, 3, "Hwnd=[0x%X], Title=[%s], Domain=[%s], flags=[0x%X]\n", reinterpret_cast<unsigned>(owner),
               Shown(title), Shown(domain), static_cast<unsigned>(flags));
    return BrowseAnsi(owner, title, domain, flags, buffers, cancelled);
}

} // namespace tarvo
