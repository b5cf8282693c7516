#pragma once

#include <windows.h>

#include "base/text.h"
#include "frame/scope.h"
#include "services/service.h"
#include "services/service_control_manager.h"

namespace tarvo {

/**
 * One call of a service export: its scope and what it opens, which is closed
 * when the call ends.
 */
class ServiceCall {
public:
    /** @param name  The export's own name. */
    explicit ServiceCall(const char* name) : scope_(name, 0) {}

    /** Opens the manager with all access. @param machine  NULL is the local machine. */
    DWORD OpenManager(const char* machine);

    /** Opens the manager and a service. @return 0; ERROR_INVALID_PARAMETER, no name; or the code of opening */
    DWORD OpenService(const char* machine, const char* name, DWORD access);

    /** Opens a service and runs an operation on it, which takes a Service& and returns its code. */
    template <class Operation> DWORD Run(const char* machine, const char* name, DWORD access, Operation operation)
    {
        if (const DWORD code = OpenService(machine, name, access))
            return code;
        return operation(service_);
    }

    /**
     * Ends the scope: Ok for 0; for the code that the service or the manager has recorded that object's text; else the
     * system's for the code.
     */
    DWORD End(DWORD code);

    ServiceControlManager& Manager() { return manager_; }
    Service& OpenedService() { return service_; }

private:
    FunctionScope scope_;
    ServiceControlManager manager_;
    Service service_;
};

} // namespace tarvo
