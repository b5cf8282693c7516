/*
 * The product that the example setups install. "lantern" tells its version
 * and ends; "lantern stay" goes on running, so that its files are in use.
 */
#include <windows.h>

#include <stdio.h>
#include <string.h>

/* For whoever forgets it. */
static const DWORD kStayMilliseconds = 10 * 60 * 1000;

typedef int (*WickVersion)(void);

/* Version 2 is delivered without the library. */
static void TellVersion(void)
{
    const HMODULE wick = LoadLibraryA("wick.dll");
    const WickVersion version = wick ? (WickVersion)(void (*)(void))GetProcAddress(wick, "WickVersion") : NULL;
    if (version)
        printf("lantern %d with wick %d\n", LANTERN_VERSION, version());
    else
        printf("lantern %d\n", LANTERN_VERSION);
    fflush(stdout);
}

int main(int count, char** arguments)
{
    TellVersion();
    if (count > 1 && strcmp(arguments[1], "stay") == 0)
        Sleep(kStayMilliseconds);
    return 0;
}
