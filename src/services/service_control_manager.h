#pragma once

#include <windows.h>

#include "frame/error_handler.h"
#include "services/service_handle.h"

namespace tarvo {

struct ServiceSettings;

/**
 * A connection to the service control manager of a machine. Every operation returns a Win32 code and leaves a
 * failure's code and text in this object, except for ERROR_INVALID_HANDLE, which tells that nothing is open.
 */
class ServiceControlManager : public GetLastErrorHandler {
public:
    /**
     * Connects (OpenSCManager); what was open is closed first.
     * @param machine   NULL is the local machine.
     * @param database  NULL is the active database.
     */
    DWORD Open(const char* machine, const char* database, DWORD access);

    /** Closing what is not open succeeds. */
    DWORD Close();

    /** Asks by opening it for reading. @param exists  Receives 1 or 0; may be NULL. */
    DWORD ServiceExists(const char* name, DWORD* exists);

    /**
     * Creates a service (CreateService), which describes itself by its display name. A failure to describe it is
     * ignored.
     * @param dependencies  A list of texts ended by an empty one, or NULL.
     */
    DWORD CreateService(const char* name, const ServiceSettings& settings, const char* dependencies);

    SC_HANDLE Handle() const { return manager_.Get(); }

private:
    UniqueServiceHandle manager_;
};

} // namespace tarvo
