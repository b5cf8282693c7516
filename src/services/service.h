#pragma once

#include <windows.h>

#include "frame/error_handler.h"
#include "services/service_handle.h"

namespace tarvo {

class ServiceControlManager;

/** How a service is set up; in a change SERVICE_NO_CHANGE and NULL keep what is set. */
struct ServiceSettings {
    const char* displayName;
    DWORD serviceType;
    DWORD startType;
    const char* binaryPath;
    const char* account;
    const char* password;
};

constexpr size_t kMaxServiceText = 1024; // bytes of an account or display name that is read back

/** Where the answers of Service::QueryConfig go; each may be NULL. */
struct ServiceConfigAnswers {
    DWORD* startType;
    DWORD* interactive; // receives 1 or 0
    char* binaryPath;   // MAX_PATH bytes; the text is cut to fit
    char* account;      // kMaxServiceText bytes; cut likewise
    char* displayName;  // kMaxServiceText bytes; cut likewise
};

/**
 * An open service. Every operation returns a Win32 code and leaves a failure's code and text in this object, except
 * for ERROR_INVALID_HANDLE, which tells that nothing is open. None waits, but for WaitForState.
 */
class Service : public GetLastErrorHandler {
public:
    /** Opens a service (OpenService). This object must not hold one. */
    DWORD Open(const ServiceControlManager& manager, const char* name, DWORD access);

    /** Takes ownership of an open handle. */
    void Attach(SC_HANDLE service);

    /** Closing what is not open succeeds. */
    DWORD Close();

    /**
     * Asks for the present state (QueryServiceStatus); both answers may be NULL.
     * @param interactive  Receives SERVICE_INTERACTIVE_PROCESS or 0, unlike the answer of QueryConfig.
     * @param state        Receives a SERVICE_... state.
     */
    DWORD QueryStatus(DWORD* interactive, DWORD* state);

    /** @return whether the service is in any state but stopped; false also if it does not tell. */
    bool IsActive();

    /** Starts a service that is not active (StartService). */
    DWORD Start();

    /** Asks an active service to stop (ControlService). */
    DWORD Stop();

    /** Marks the service for deletion (DeleteService); one that is active is asked to stop first, come what may. */
    DWORD Delete();

    /** Reads the configuration (QueryServiceConfig). */
    DWORD QueryConfig(const ServiceConfigAnswers& answers);

    /** Changes the configuration (ChangeServiceConfig) and, failure ignored, the description to the display name. */
    DWORD ChangeConfig(const ServiceSettings& settings);

    /** Changes an optional setting (ChangeServiceConfig2, looked up at each call). */
    DWORD ChangeConfig2(DWORD level, void* information);

    /** Makes text the description, as ChangeConfig2 does; NULL keeps what is set. */
    DWORD Describe(const char* text);

    /** Sends a control code (ControlService). */
    DWORD Control(DWORD code);

    /**
     * Asks for the state once a second until it is the wanted one; the state is always asked for before the time-out
     * is judged.
     * @param timeout   Milliseconds; the wait is longer than this before it is given up.
     * @param exitCode  Receives the service's exit code of the wanted state, else 0; may be NULL.
     * @return 0; ERROR_TIMEOUT; or the code of asking
     */
    DWORD WaitForState(DWORD wanted, DWORD timeout, DWORD* exitCode);

private:
    UniqueServiceHandle service_;
};

} // namespace tarvo
