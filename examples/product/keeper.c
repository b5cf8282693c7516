/* The product's service: it keeps the lantern, and does nothing until it is to stop. */
#include <windows.h>

static HANDLE stop;
static SERVICE_STATUS_HANDLE service;

static void Report(DWORD state)
{
    SERVICE_STATUS status = {0};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    SetServiceStatus(service, &status);
}

static void WINAPI Control(DWORD control)
{
    if (control == SERVICE_CONTROL_STOP || control == SERVICE_CONTROL_SHUTDOWN)
        SetEvent(stop);
    else
        Report(SERVICE_RUNNING);
}

static void WINAPI Keep(DWORD count, char** arguments)
{
    (void)count;
    service = RegisterServiceCtrlHandlerA(arguments[0], Control);
    if (!service)
        return;
    Report(SERVICE_RUNNING);
    WaitForSingleObject(stop, INFINITE);
    Report(SERVICE_STOPPED);
}

int main(void)
{
    static char name[] = "LanternKeeper";
    const SERVICE_TABLE_ENTRYA services[] = {{name, Keep}, {NULL, NULL}};
    stop = CreateEventA(NULL, TRUE, FALSE, NULL);
    return stop && StartServiceCtrlDispatcherA(services) ? 0 : 1;
}

/* Tells the two versions of the program apart. */
__declspec(dllexport) const int keeper_version = LANTERN_VERSION;
