// The please-wait window on the screen, and what else may end it.

#include "kit/kit.h"

namespace {

HWND FindDialog(const char* caption)
{
    return FindWindowA("#32770", caption);
}

class ProgressDialog : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        AllowOpenHandles(); // the window system keeps some from the first window on
    }
};

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

} // namespace
