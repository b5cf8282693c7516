#pragma once

#include <windows.h>

/** What the stand-in user browser does and saw; its StandInPlay hands it out. */
struct UserBrowserPlay {
    BOOL opens;
    BOOL cancels;
    BOOL enumerates;
    const wchar_t* domain;
    const wchar_t* account;

    DWORD request[9];
    wchar_t title[64];
    DWORD bufferSize;
    int open; // browsers not closed
};
