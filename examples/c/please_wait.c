/*
 * Shows the please-wait window while something takes its time.
 *   please_wait CAPTION TEXT SECONDS    TARVO.DLL lies beside it
 */
#include "tarvo/tarvo.h"

#include <stdio.h>
#include <stdlib.h>

typedef DWORD(__cdecl* ShowFunction)(HWND parent, const char* caption, const char* message);
typedef DWORD(__cdecl* HideFunction)(void);

/* The window belongs to this thread: without its messages being dispatched it would stay blank. */
static void WorkFor(DWORD milliseconds)
{
    const DWORD begin = GetTickCount();
    while (GetTickCount() - begin < milliseconds) {
        MSG message;
        while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE))
            DispatchMessageA(&message);
        Sleep(20);
    }
}

int main(int count, char** arguments)
{
    const HMODULE tarvo = LoadLibraryA("TARVO.DLL");
    const ShowFunction show =
        tarvo ? (ShowFunction)(void (*)(void))GetProcAddress(tarvo, "TARVO_ShowProgressDialog") : NULL;
    const HideFunction hide =
        tarvo ? (HideFunction)(void (*)(void))GetProcAddress(tarvo, "TARVO_HideProgressDialog") : NULL;
    if (!show || !hide || count != 4) {
        fprintf(stderr, "please_wait CAPTION TEXT SECONDS, with TARVO.DLL beside it\n");
        return 1;
    }
    if (show(NULL, arguments[1], arguments[2]) != 0)
        return 1;
    WorkFor((DWORD)atoi(arguments[3]) * 1000);
    hide();
    FreeLibrary(tarvo);
    return 0;
}
