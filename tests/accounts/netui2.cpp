// Stands in for the system's user browser: notes what it is asked, and answers as the test has told it.

#include "accounts/netui2.h"

UserBrowserPlay play = {};

extern "C" {

UserBrowserPlay* WINAPI StandInPlay(void)
{
    return &play;
}

HANDLE WINAPI OpenUserBrowser(void* request)
{
    memcpy(play.request, request, sizeof play.request);
    play.title[0] = L'?';
    if (play.request[4]) // the request's texts are gone after the call
        wcscpy(play.title, reinterpret_cast<const wchar_t*>(play.request[4]));
    if (!play.opens)
        return nullptr;
    static_cast<DWORD*>(request)[1] = play.cancels;
    ++play.open;
    return &play;
}

BOOL WINAPI EnumUserBrowserSelection(HANDLE browser, void* buffer, DWORD* size)
{
    play.bufferSize = *size;
    if (browser != &play || !play.enumerates)
        return FALSE;
    memset(buffer, 0x5A, 40);
    memcpy(static_cast<BYTE*>(buffer) + 16, &play.domain, sizeof play.domain);
    memcpy(static_cast<BYTE*>(buffer) + 24, &play.account, sizeof play.account);
    return TRUE;
}

BOOL WINAPI CloseUserBrowser(HANDLE browser)
{
    --play.open;
    return browser == &play;
}
}
