// The please-wait window: at most one at a time.

#include <utility>

#include "frame/library_entry.h"
#include "frame/scope.h"
#include "system/dialog_ids.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constinit HWND progressDialog = nullptr;

void CloseProgressDialog()
{
    const HWND dialog = std::exchange(progressDialog, nullptr);
    if (!dialog)
        return;
    ShowWindow(dialog, SW_HIDE);
    DestroyWindow(dialog);
}

INT_PTR CALLBACK ProgressDialogProcedure(HWND dialog, UINT message, WPARAM, LPARAM)
{
    if (message == WM_DESTROY && dialog == progressDialog)
        progressDialog = nullptr; // the owner may go first and take it along
    if (message != WM_INITDIALOG)
        return FALSE;
    TracePrint(kInfo, 3, "%s", "Initializing Progress dialog...\n");
    if (!GetDlgItem(dialog, IDC_PROGRESS_MESSAGE))
        TracePrint(kWarning, 3, "%s", "Unable to get dialog's control\n");
    return TRUE;
}

/** @return NULL, or what could not be done */
const char* SetTexts(const char* caption, const char* message)
{
    if (!SetWindowTextA(progressDialog, caption))
        return "Unable to set dialog's caption";
    const HWND control = GetDlgItem(progressDialog, IDC_PROGRESS_MESSAGE);
    if (!control)
        return "Unable to receive dialog's control";
    if (!SetWindowTextA(control, message))
        return "Unable to set dialog's message";
    // Nobody may come to dispatch messages while the setup works.
    UpdateWindow(progressDialog);
    UpdateWindow(control);
    return nullptr;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ShowProgressDialog(HWND parent, const char* caption, const char* message)
{
    FunctionScope scope("TARVO_ShowProgressDialog", 0);
    TracePrint(kInfo, 1, "ParentWND=[%x], Caption=[%s], Message=[%s]\n", reinterpret_cast<unsigned>(parent),
               Shown(caption), Shown(message));
    if (progressDialog)
        TARVO_HideProgressDialog();
    progressDialog =
        CreateDialogParamA(LibraryInstance(), MAKEINTRESOURCEA(IDD_PROGRESS), parent, ProgressDialogProcedure, 0);
    if (!progressDialog)
        return scope.Error("Unable to create dialog", TARVO_ERROR_FAILED);
    ReleaseAtUnload(ReleaseStage::kProgressDialog, CloseProgressDialog);
    TracePrint(kInfo, 1, "%s", "Showing dialog...\n");
    ShowWindow(progressDialog, SW_SHOW);
    if (const char* failure = SetTexts(caption, message)) {
        scope.Error(failure, TARVO_ERROR_FAILED);
        CloseProgressDialog();
        return TARVO_ERROR_FAILED;
    }
    return scope.Ok();
}

DWORD __cdecl TARVO_HideProgressDialog(void)
{
    FunctionScope scope("TARVO_HideProgressDialog", 0);
    CloseProgressDialog();
    return scope.Ok();
}
