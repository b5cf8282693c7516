// The pickers, against their records, with both browsers stood in for; and the shell's real browser.

#include <shlobj.h>

#include "kit/kit.h"

namespace {

using PickerRecords = kit::BehaviorTest;
using Pickers = kit::LibraryTest;
using kit::OutPlace;
using kit::Stage;

const auto kOwner = reinterpret_cast<HWND>(0x77);
const auto kDialog = reinterpret_cast<HWND>(0x77777); // no window

/** Stands in for the system's user browser, which is loaded by its name. */
class UserBrowser {
public:
    UserBrowser()
    {
        playing = this;
        load_.Answer([this](const char* name, auto... rest) {
            return load_.Original()(strstr(name, "\\netui2.dll") ? "version.dll" : name, rest...);
        });
        find_.Answer([this](HMODULE module, const char* name) {
            const std::pair<const char*, void*> functions[] = {
                {"OpenUserBrowser", reinterpret_cast<void*>(&Open)},
                {"EnumUserBrowserSelection", reinterpret_cast<void*>(&Enumerate)},
                {"CloseUserBrowser", reinterpret_cast<void*>(&Close)}};
            for (const auto& [known, function] : functions) {
                if (HIWORD(name) && strcmp(name, known) == 0)
                    return reinterpret_cast<FARPROC>(function);
            }
            return find_.Original()(module, name);
        });
    }

    bool cancels = false;
    const wchar_t* domain = L"DOMAIN";
    const wchar_t* account = L"account";

private:
    static HANDLE WINAPI Open(DWORD* request)
    {
        request[1] = playing->cancels;
        return playing;
    }
    static BOOL WINAPI Enumerate(HANDLE, BYTE* buffer, DWORD*)
    {
        memset(buffer, 0x5A, 40);
        memcpy(buffer + 16, &playing->domain, sizeof playing->domain);
        memcpy(buffer + 24, &playing->account, sizeof playing->account);
        return TRUE;
    }
    static BOOL WINAPI Close(HANDLE) { return TRUE; }

    static inline UserBrowser* playing;
    kit::ImportHook<decltype(&LoadLibraryExA)> load_{"LoadLibraryExA", &LoadLibraryExA};
    kit::ImportHook<decltype(&GetProcAddress)> find_{"GetProcAddress", &GetProcAddress};
};

TEST_F(PickerRecords, User)
{
    Open("accounts/user");
    const auto call = [](Stage& stage, DWORD userSize = 20, DWORD domainSize = 20) {
        OutPlace& user = stage.Text("user", userSize);
        stage.Call(&TARVO_DlgSelectUser, kOwner, user, userSize, stage.Text("domain", domainSize), domainSize);
    };
    Case("a user is chosen", [=](Stage& stage) {
        const UserBrowser browser;
        call(stage);
    });
    Case("cancelling touches no buffer", [=](Stage& stage) {
        UserBrowser browser;
        browser.cancels = true;
        call(stage);
    });

    const Ways once = {.failures = false, .allocations = false};
    Case("names are cut to the buffers", once, [=](Stage& stage) {
        UserBrowser browser;
        call(stage, 8, 6);
        browser.domain = nullptr;
        call(stage, 7, 2);
        call(stage, 0, 0);
    });
    Case("buffers are needed, and memory", once, [](Stage& stage) {
        OutPlace& buffer = stage.Text("buffer", 10);
        stage.Call(&TARVO_DlgSelectUser, nullptr, nullptr, 10, buffer, 10);
        stage.Call(&TARVO_DlgSelectUser, nullptr, buffer, 10, nullptr, 10);
        stage.Call(&TARVO_DlgSelectUser, nullptr, buffer, 0x80000001, buffer, 10);
    });
}

/** Stands in for the shell's browser: begins, selects a folder of the file system and one that is none, and answers. */
class FolderBrowser {
public:
    /** @param chosen  Of the file system; "" to cancel. */
    explicit FolderBrowser(std::string chosen)
    {
        SetCurrentDirectoryA("C:\\windows");
        browse_.Answer([chosen](BROWSEINFOA* info) {
            info->lpfn(kDialog, BFFM_INITIALIZED, 0, info->lParam);
            for (const int folder : {CSIDL_WINDOWS, CSIDL_DRIVES}) {
                LPITEMIDLIST list = nullptr;
                SHGetSpecialFolderLocation(nullptr, folder, &list);
                SetLastError(ERROR_CANCELLED);
                info->lpfn(kDialog, BFFM_SELCHANGED, reinterpret_cast<LPARAM>(list), info->lParam);
                CoTaskMemFree(list);
            }
            SetCurrentDirectoryA("C:\\"); // as a real browser does
            SetLastError(ERROR_CANCELLED);
            return chosen.empty() ? nullptr : ILCreateFromPathA(chosen.c_str());
        });
    }
    ~FolderBrowser() { SetCurrentDirectoryA(kit::ProgramFolder().c_str()); }
    FolderBrowser(const FolderBrowser&) = delete;
    FolderBrowser& operator=(const FolderBrowser&) = delete;

private:
    kit::ImportHook<LPITEMIDLIST(WINAPI*)(BROWSEINFOA*)> browse_{"SHBrowseForFolderA", nullptr};
};

TEST_F(PickerRecords, Folder)
{
    Open("accounts/folder");
    Case("a folder below the drives is chosen", [](Stage& stage) {
        const FolderBrowser browser(Stage::Folder());
        const std::string initial = Stage::Folder("missing\\sub");
        stage.Call(&TARVO_DlgSelectSharedFolderEx, kOwner, "Title", "Text", TRUE, TRUE, TRUE,
                   stage.Text("folder", MAX_PATH, initial.c_str()));
    });
    const Ways once = {.failures = false, .allocations = false};
    Case("COM that was entered before is not left", once, [](Stage& stage) {
        CoInitialize(nullptr);
        const FolderBrowser browser(Stage::Folder());
        stage.Call(&TARVO_DlgSelectSharedFolderEx, nullptr, nullptr, nullptr, FALSE, FALSE, FALSE,
                   stage.Text("folder", MAX_PATH, ""));
        CoUninitialize();
        CoUninitialize(); // the call's own: it leaves only what it was the first to enter
    });

    Case("the needed size is told", once, [](Stage& stage) {
        const FolderBrowser browser(Stage::Folder());
        for (const DWORD given : {0UL, 15UL, 16UL, 18UL}) {
            OutPlace& size = stage.Number("size");
            *static_cast<DWORD*>(size) = given;
            stage.Call(&TARVO_DlgSelectSharedFolder, nullptr, stage.Text("folder", given), size);
        }
    });
    Case("cancelling changes nothing", once, [](Stage& stage) {
        const FolderBrowser browser("");
        const kit::ImportHook attributes("GetFileAttributesA", &GetFileAttributesA, ERROR_FILE_NOT_FOUND,
                                         INVALID_FILE_ATTRIBUTES);
        OutPlace& size = stage.Number("size");
        *static_cast<DWORD*>(size) = 30;
        stage.Call(&TARVO_DlgSelectSharedFolder, nullptr, stage.Text("folder", 30), size);
        for (const char* initial : {"", "\\\\server\\share", "Q:\\nothing"})
            stage.Call(&TARVO_DlgSelectSharedFolderEx, nullptr, nullptr, nullptr, FALSE, initial[0] == 'Q', FALSE,
                       stage.Text("folder", MAX_PATH, initial));
    });
    Case("places for the answer are needed", once, [](Stage& stage) {
        stage.Call(&TARVO_DlgSelectSharedFolder, kOwner, nullptr, stage.Number("size"));
        stage.Call(&TARVO_DlgSelectSharedFolder, kOwner, stage.Text("folder", 10), nullptr);
        stage.Call(&TARVO_DlgSelectSharedFolderEx, kOwner, nullptr, nullptr, FALSE, FALSE, FALSE, nullptr);
    });
}

/** A person in front of the browser: presses a button once the dialog is there. */
int button = IDCANCEL;
void CALLBACK PressButton(HWND, UINT, UINT_PTR timer, DWORD)
{
    for (HWND dialog = nullptr; (dialog = FindWindowExA(nullptr, dialog, "#32770", nullptr));) {
        if (GetWindowThreadProcessId(dialog, nullptr) != GetCurrentThreadId() || !IsWindowVisible(dialog))
            continue;
        PostMessageA(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
        KillTimer(nullptr, timer);
    }
}

TEST_F(Pickers, RealBrowserBeginsInWhatExistsOfTheFolder)
{
    AllowOpenHandles();                                                // COM and the shell keep some
    const std::string initial = "C:\\windows\\system32\\missing\\sub"; // Wine does not find every folder just made
    for (const auto& [pressed, code, chosen] :
         {std::tuple(IDCANCEL, 1U, initial), {IDOK, 0U, std::string("C:\\windows\\system32")}}) {
        button = pressed;
        char folder[MAX_PATH] = {};
        initial.copy(folder, sizeof folder);
        SetTimer(nullptr, 0, 50, &PressButton);
        EXPECT_EQ(code, TARVO_DlgSelectSharedFolderEx(nullptr, "Tarvo title", "Text", FALSE, FALSE, FALSE, folder));
        EXPECT_STRCASEEQ(chosen.c_str(), folder);
    }
}

TEST_F(Pickers, CharactersAreNotCutInHalf)
{
    // As the system would convert into a code page in which each of these letters takes two bytes.
    kit::ImportHook convert("WideCharToMultiByte", &WideCharToMultiByte);
    convert.Answer([&](UINT, DWORD flags, const wchar_t* text, int length, char* bytes, int size, const char*, BOOL*) {
        return convert.Original()(932, flags, text, length, bytes, size, nullptr, nullptr);
    });
    UserBrowser browser;
    browser.account = L"\x30BD\x30BD\x30BD";
    char user[6];
    char domain[10];
    EXPECT_EQ(0U, TARVO_DlgSelectUser(nullptr, user, sizeof user, domain, sizeof domain));
    EXPECT_STREQ("\x83\x5C\x83\x5C", user);
}

} // namespace
