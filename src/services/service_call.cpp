#include "services/service_call.h"

namespace tarvo {

DWORD ServiceCall::OpenManager(const char* machine)
{
    return manager_.Open(machine, nullptr, SC_MANAGER_ALL_ACCESS);
}

DWORD ServiceCall::OpenService(const char* machine, const char* name, DWORD access)
{
    if (!name)
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = OpenManager(machine))
        return code;
    return service_.Open(manager_, name, access);
}

DWORD ServiceCall::End(DWORD code)
{
    if (code != ERROR_SUCCESS && service_.Code() == code)
        return scope_.Error(service_);
    if (code != ERROR_SUCCESS && manager_.Code() == code)
        return scope_.Error(manager_);
    return scope_.End(code);
}

} // namespace tarvo
