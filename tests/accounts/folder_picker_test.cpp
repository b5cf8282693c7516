// The folder picker: the shell's real browser, driven by a timer, and what the library tells it.

#include <windows.h>

#include <commctrl.h>
#include <shlobj.h>

#include "kit/kit.h"

namespace {

// Wine's browser does not find every folder that was just made.
constexpr char kChosen[] = "C:\\windows\\system32";
constexpr char kCancelled[] = "Dialog was canceled by the user.";

/** Plays a person in front of the browser: waits for the dialog, then tries something until it is done. */
class Person {
public:
    explicit Person(std::function<bool(HWND dialog)> act)
    {
        acting = std::move(act);
        timer_ = SetTimer(nullptr, 0, 50, &Look);
    }
    ~Person() { KillTimer(nullptr, timer_); }
    Person(const Person&) = delete;
    Person& operator=(const Person&) = delete;

    static bool Press(HWND dialog, int button)
    {
        return PostMessageA(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0);
    }

private:
    static void CALLBACK Look(HWND, UINT, UINT_PTR timer, DWORD)
    {
        for (HWND dialog = nullptr; (dialog = FindWindowExA(nullptr, dialog, "#32770", nullptr));) {
            const bool isOurs = GetWindowThreadProcessId(dialog, nullptr) == GetCurrentThreadId();
            if (isOurs && IsWindowVisible(dialog) && acting(dialog))
                KillTimer(nullptr, timer);
        }
    }

    static inline std::function<bool(HWND)> acting;
    UINT_PTR timer_;
};

/** A window that notes what the browser's callback sends it. */
class BrowserWindow {
public:
    BrowserWindow() : window_(CreateWindowA("STATIC", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr))
    {
        SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Note));
    }
    ~BrowserWindow() { DestroyWindow(window_); }
    BrowserWindow(const BrowserWindow&) = delete;
    BrowserWindow& operator=(const BrowserWindow&) = delete;

    HWND Get() const { return window_; }
    static std::vector<std::string> TakeNotes() { return std::exchange(notes, {}); }

private:
    static LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        const auto text = reinterpret_cast<const char*>(lParam);
        if (message == WM_SETTEXT)
            notes.push_back(std::string("title ") + text);
        if (message == BFFM_SETSELECTIONA && wParam == TRUE)
            notes.push_back(std::string("select ") + text);
        if (message == BFFM_ENABLEOK)
            notes.push_back("enable " + std::to_string(wParam) + std::to_string(lParam));
        return DefWindowProcA(window, message, wParam, lParam);
    }

    static inline std::vector<std::string> notes;
    HWND window_;
};

class FolderPicker : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        AllowOpenHandles(); // COM and the shell keep some
        SetFolder("as it was");
    }

    void TearDown() override
    {
        ExpectNoCom();
        LibraryTest::TearDown();
    }

    DWORD Select(BOOL computerOnly = FALSE)
    {
        return TARVO_DlgSelectSharedFolderEx(nullptr, "Tarvo title", "Instructions", FALSE, FALSE, computerOnly,
                                             folder_);
    }

    /** The tree may not be complete yet: then nothing is selected, and nothing confirmed. */
    bool Choose(HWND dialog)
    {
        SendMessageA(dialog, BFFM_SETSELECTIONA, TRUE, reinterpret_cast<LPARAM>(kChosen));
        return SelectedText(dialog) == "system32" && Person::Press(dialog, IDOK);
    }

    static std::string SelectedText(HWND dialog)
    {
        HWND tree = FindWindowExA(dialog, nullptr, "SysTreeView32", nullptr);
        char text[MAX_PATH] = {};
        TVITEMA item = {};
        item.mask = TVIF_TEXT;
        item.hItem = reinterpret_cast<HTREEITEM>(SendMessageA(tree, TVM_GETNEXTITEM, TVGN_CARET, 0));
        item.pszText = text;
        item.cchTextMax = sizeof text;
        SendMessageA(tree, TVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&item));
        return text;
    }

    static void ExpectNoCom()
    {
        EXPECT_EQ(S_OK, CoInitialize(nullptr)) << "COM was left initialised";
        CoUninitialize();
    }

    void SetFolder(const std::string& folder) { snprintf(folder_, sizeof folder_, "%s", folder.c_str()); }

    char folder_[MAX_PATH] = {};
};

TEST_F(FolderPicker, ChosenFolderComesBackAndTheCurrentOneStays)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    SetCurrentDirectoryA("C:\\windows");
    std::string title;
    const Person person([&](HWND dialog) {
        char text[64] = {};
        GetWindowTextA(dialog, text, sizeof text);
        title = text;
        SetCurrentDirectoryA("C:\\"); // as a real browser does
        return Choose(dialog);
    });
    EXPECT_EQ(0U, Select());
    EXPECT_STRCASEEQ(kChosen, folder_);
    EXPECT_EQ("Tarvo title", title);
    char current[MAX_PATH] = {};
    GetCurrentDirectoryA(sizeof current, current);
    EXPECT_STRCASEEQ("C:\\windows", current);
    ExpectNoCom();
    EXPECT_TRUE(log.HasEach({"hParentWnd = [0], pchTitle = [Tarvo title], pchInstructions = [Instructions], "
                             "bEditBoxEnable = [0], bNewDialogStyle = [0], bMyComputerOnly = [0].",
                             "Calling SHBrowseForFolder...", "Selected folder: ["}));
}

TEST_F(FolderPicker, CancellingChangesNothing)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    {
        const Person person([](HWND dialog) { return Person::Press(dialog, IDCANCEL); });
        EXPECT_EQ(1U, Select());
    }
    EXPECT_EQ(kCancelled, kit::LastMessage());
    EXPECT_STREQ("as it was", folder_);
    EXPECT_TRUE(log.Contains("SHBrowseForFolder returned NULL."));
    ExpectNoCom();
    EXPECT_EQ(S_OK, CoInitialize(nullptr));
    const Person person([](HWND dialog) { return Person::Press(dialog, IDCANCEL); });
    DWORD size = sizeof folder_;
    EXPECT_EQ(1U, TARVO_DlgSelectSharedFolder(nullptr, folder_, &size));
    EXPECT_EQ(kCancelled, kit::LastMessage());
    CoUninitialize();
    EXPECT_EQ(S_FALSE, CoInitialize(nullptr)) << "the call leaves a first entry alone; this was none";
    CoUninitialize();
    CoUninitialize();
}

TEST_F(FolderPicker, WhatExistsOfTheInitialFolderIsSelected)
{
    const std::string chosen = kChosen;
    SetFolder(chosen + "\\missing\\sub");
    const Person person([](HWND dialog) { return Person::Press(dialog, IDOK); });
    EXPECT_EQ(0U, Select());
    EXPECT_STRCASEEQ(chosen.c_str(), folder_);
}

TEST_F(FolderPicker, BufferOneByteTooSmallIsToldTheSize)
{
    const DWORD needed = sizeof kChosen;
    for (const DWORD given : {needed - 1, needed, needed + 3}) {
        const Person person([&](HWND dialog) { return Choose(dialog); });
        std::string buffer(needed + 4, '~');
        DWORD size = given;
        EXPECT_EQ(given < needed ? 1U : 0U, TARVO_DlgSelectSharedFolder(nullptr, buffer.data(), &size));
        EXPECT_EQ(needed, size);
        EXPECT_EQ(std::string(needed + 4 - given, '~'), buffer.substr(given)) << "nothing beyond the size";
        if (given < needed) {
            EXPECT_EQ("Buffer is too small.", kit::LastMessage());
            EXPECT_EQ('~', buffer[0]);
        } else {
            EXPECT_STRCASEEQ(kChosen, buffer.c_str());
        }
    }
    DWORD size = 10;
    EXPECT_EQ(87U, TARVO_DlgSelectSharedFolder(nullptr, nullptr, &size));
    EXPECT_EQ(87U, TARVO_DlgSelectSharedFolder(nullptr, folder_, nullptr));
    EXPECT_EQ(87U, TARVO_DlgSelectSharedFolderEx(nullptr, nullptr, nullptr, FALSE, FALSE, FALSE, nullptr));
}

TEST_F(FolderPicker, BrowserIsAskedForFoldersOfTheFileSystem)
{
    struct AskCase {
        BOOL editBox, newStyle, computerOnly;
        UINT flags;
        const char* folder;
        std::vector<std::string> notes;
    };
    const std::string chosen = kChosen;
    const AskCase cases[] = {
        {FALSE, FALSE, FALSE, 0x09, chosen.c_str(), {"title Title", "select " + chosen}},
        {TRUE, FALSE, FALSE, 0x19, "", {"title Title"}},
        {FALSE, TRUE, FALSE, 0x49, "\\\\srv\\share", {"title Title"}},
        {TRUE, TRUE, TRUE, 0x59, "Q:\\nothing\\here", {"title Title"}},
        {FALSE, FALSE, TRUE, 0x09, "C:", {"title Title", "select C:"}},
    };
    kit::ImportHook browse("SHBrowseForFolderA", &SHBrowseForFolderA);
    for (const AskCase& row : cases) {
        SCOPED_TRACE(row.folder);
        browse.Answer([&](BROWSEINFOA* info) -> LPITEMIDLIST {
            EXPECT_EQ(row.flags, info->ulFlags);
            EXPECT_EQ(row.computerOnly, info->pidlRoot != nullptr);
            EXPECT_TRUE(info->pszDisplayName && strcmp(info->lpszTitle, "Text") == 0 && info->iImage == 0);
            const BrowserWindow window;
            EXPECT_EQ(0, info->lpfn(window.Get(), BFFM_INITIALIZED, 0, info->lParam));
            EXPECT_EQ(row.notes, BrowserWindow::TakeNotes());
            for (const auto& [folder, note] : {std::pair(CSIDL_WINDOWS, "enable 11"), {CSIDL_DRIVES, "enable 00"}}) {
                LPITEMIDLIST list = nullptr;
                SHGetSpecialFolderLocation(nullptr, folder, &list);
                EXPECT_EQ(0, info->lpfn(window.Get(), BFFM_SELCHANGED, reinterpret_cast<LPARAM>(list), info->lParam));
                EXPECT_EQ(std::vector<std::string>{note}, BrowserWindow::TakeNotes());
                CoTaskMemFree(list);
            }
            return nullptr;
        });
        SetFolder(row.folder);
        EXPECT_EQ(1U, TARVO_DlgSelectSharedFolderEx(nullptr, "Title", "Text", row.editBox, row.newStyle,
                                                    row.computerOnly, folder_));
        EXPECT_STREQ(row.folder, folder_);
    }
    const kit::ImportHook locate("SHGetSpecialFolderLocation", &SHGetSpecialFolderLocation, 0, E_FAIL);
    browse.Answer([](BROWSEINFOA* info) {
        EXPECT_FALSE(info->pidlRoot);
        return LPITEMIDLIST{};
    });
    EXPECT_EQ(1U, Select(TRUE)) << "without the drives the tree begins at the desktop";
}

TEST_F(FolderPicker, FailuresGiveTheirCodesAndLeaveComBalanced)
{
    {
        const kit::ImportHook allocator("SHGetMalloc", &SHGetMalloc, 0, E_FAIL);
        EXPECT_TRUE(kit::Gives(8, Select()));
    }
    ExpectNoCom();
    const Person person([&](HWND dialog) { return Choose(dialog); });
    const kit::ImportHook path("SHGetPathFromIDListA", &SHGetPathFromIDListA, 0, FALSE);
    EXPECT_EQ(DWORD{ERROR_BAD_PATHNAME}, Select());
    EXPECT_STREQ("as it was", folder_);
    ExpectNoCom();
}

} // namespace
