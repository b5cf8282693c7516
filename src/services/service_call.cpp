#include "services/service_call.h"

namespace tarvo {

DWORD ServiceCall::OpenManager(const char* machine)
{
    return Judge(manager_, manager_.Open(machine, nullptr, SC_MANAGER_ALL_ACCESS));
}

DWORD ServiceCall::OpenService(const char* machine, const char* name, DWORD access)
{
    if (const DWORD code = OpenManager(machine))
        return code;
    return Judge(service_, service_.Open(manager_, name, access));
}

DWORD ServiceCall::Judge(const GetLastErrorHandler& object, DWORD code)
{
    if (code != ERROR_SUCCESS)
        failed_ = &object;
    return code;
}

DWORD ServiceCall::End(DWORD code)
{
    return code != ERROR_SUCCESS && failed_ ? scope_.Error(*failed_) : scope_.End(code);
}

} // namespace tarvo
