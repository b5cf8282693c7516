// The please-wait window, found on the screen and asked for its texts.

#include "kit/kit.h"

namespace {

constexpr DWORD kFailed = 0xFFFFFFFF;
constexpr int kMessageControl = 1001;

HWND FindDialog(const char* caption)
{
    return FindWindowA("#32770", caption);
}

void DispatchMessages()
{
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageA(&message);
}

class ProgressDialog : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        AllowOpenHandles(); // the window system keeps some from the first window on
    }
};

TEST_F(ProgressDialog, IsShownReplacedAndHidden)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo one", "Copying files..."));
    DispatchMessages();
    const HWND first = FindDialog("Tarvo one");
    ASSERT_TRUE(first);
    EXPECT_TRUE(IsWindowVisible(first));
    char text[256] = {};
    GetDlgItemTextA(first, kMessageControl, text, sizeof text);
    EXPECT_STREQ("Copying files...", text);
    EXPECT_FALSE(log.Contains("{ TARVO_HideProgressDialog"));
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo two", "Registering..."));
    EXPECT_FALSE(IsWindow(first));
    const HWND second = FindDialog("Tarvo two");
    GetDlgItemTextA(second, kMessageControl, text, sizeof text);
    EXPECT_STREQ("Registering...", text);
    EXPECT_EQ(1U, log.Count("{ TARVO_HideProgressDialog"));
    EXPECT_EQ(0U, TARVO_HideProgressDialog());
    EXPECT_FALSE(IsWindow(second));
    EXPECT_EQ(0U, TARVO_HideProgressDialog()) << "none is shown";
    EXPECT_TRUE(log.HasEach({"ParentWND=[0], Caption=[Tarvo two], Message=[Registering...]",
                             "Initializing Progress dialog...", "Showing dialog..."}));
}

TEST_F(ProgressDialog, StandsInTheMiddleOfTheScreen)
{
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo centre", ""));
    RECT place = {};
    RECT work = {};
    GetWindowRect(FindDialog("Tarvo centre"), &place);
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    EXPECT_NEAR(work.left + work.right, place.left + place.right, 4);
    EXPECT_NEAR(work.top + work.bottom, place.top + place.bottom, 4);
}

TEST_F(ProgressDialog, GoesWithTheLibrary)
{
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo unload", "..."));
    const HWND dialog = FindDialog("Tarvo unload");
    Reload();
    EXPECT_FALSE(IsWindow(dialog));
}

TEST_F(ProgressDialog, MayGoWithItsOwner)
{
    const HWND owner = CreateWindowA("STATIC", "owner", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(owner, "Tarvo owned", "..."));
    const HWND dialog = FindDialog("Tarvo owned");
    EXPECT_EQ(owner, GetWindow(dialog, GW_OWNER));
    DestroyWindow(owner);
    EXPECT_FALSE(IsWindow(dialog));
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo alone", "..."));
    EXPECT_FALSE(log.Contains("{ TARVO_HideProgressDialog"));
}

TEST_F(ProgressDialog, FailureLeavesNoWindow)
{
    const auto check = [](const char* text) {
        EXPECT_EQ(kFailed, TARVO_ShowProgressDialog(nullptr, "Tarvo failing", "..."));
        EXPECT_EQ(text, kit::LastMessage());
        EXPECT_FALSE(FindDialog("Tarvo failing"));
        EXPECT_FALSE(FindDialog("")) << "without its caption";
    };
    {
        const kit::ImportHook create("CreateDialogParamA", &CreateDialogParamA, ERROR_NOT_ENOUGH_MEMORY, nullptr);
        check("Unable to create dialog");
    }
    {
        kit::ImportHook set("SetWindowTextA", &SetWindowTextA);
        set.FailNth(1, 5, FALSE);
        check("Unable to set dialog's caption");
        set.FailNth(2, 5, FALSE);
        check("Unable to set dialog's message");
    }
    const kit::TraceLog log(Scratch().Path("trace.log"));
    const kit::ImportHook find("GetDlgItem", &GetDlgItem, ERROR_CONTROL_ID_NOT_FOUND, nullptr);
    check("Unable to receive dialog's control");
    EXPECT_TRUE(log.HasEach({"Unable to get dialog's control"}));
}

} // namespace
