#pragma once

#include <windows.h>

namespace tarvo {

/** Where a chosen account goes; both buffers must be given. */
template <class Char> struct AccountBuffers {
    Char* user;
    DWORD userSize; // in characters of the buffer
    Char* domain;
    DWORD domainSize;
};

/**
 * Shows the system's user browser (netui2.dll, which some Windows versions lack) to its end.
 * @param domain     Initial domain, or NULL.
 * @param buffers    Receive the names, cut and terminated; untouched when the user cancels. A size of 0 gets nothing.
 * @param cancelled  Receives whether the user cancelled; may be NULL.
 * @return FALSE if the browser was not usable
 */
BOOL OpenUserBrowseDialogW(HWND owner, const wchar_t* title, const wchar_t* domain, DWORD flags,
                           const AccountBuffers<wchar_t>& buffers, BOOL* cancelled);

/** The same with texts in the system's code page; sizes in bytes. */
BOOL OpenUserBrowseDialogA(HWND owner, const char* title, const char* domain, DWORD flags,
                           const AccountBuffers<char>& buffers, BOOL* cancelled);

} // namespace tarvo
