#pragma once

#include <windows.h>

#include "base/text.h"
#include "frame/scope.h"
#include "services/service.h"
#include "services/service_control_manager.h"

namespace tarvo {

inline const char* ShownMachine(const char* machine)
{
    return Shown(machine, "<Local Machine>");
}

/**
 * One call of a service export: its scope and what it opens, which is closed
 * when the call ends. The call remembers whether a code it hands out came from
 * the manager or the service, so that End can report that object's own text.
 */
class ServiceCall {
public:
    /** @param name  The export's own name. */
    explicit ServiceCall(const char* name) : scope_(name, 0) {}

    /** Opens the manager with all access. @param machine  NULL is the local machine. */
    DWORD OpenManager(const char* machine);

    /** Opens the manager and a service. */
    DWORD OpenService(const char* machine, const char* name, DWORD access);

    /** Opens a service and runs an operation on it, which takes a Service& and returns its code. */
    template <class Operation> DWORD Run(const char* machine, const char* name, DWORD access, Operation operation)
    {
        if (const DWORD code = OpenService(machine, name, access))
            return code;
        return Judge(service_, operation(service_));
    }

    /** Remembers the object of a result that is a failure. @return the result */
    DWORD Judge(const GetLastErrorHandler& object, DWORD code);

    /** Ends the scope: Ok for 0; for a failure the text of the object it came from, or the system's for the code. */
    DWORD End(DWORD code);

    ServiceControlManager& Manager() { return manager_; }
    Service& OpenedService() { return service_; }

private:
    FunctionScope scope_;
    ServiceControlManager manager_;
    Service service_;
    const GetLastErrorHandler* failed_ = nullptr;
};

} // namespace tarvo
