// Exports that the interface names and nothing stands behind.

#include "frame/scope.h"
#include "tarvo/tarvo.h"

using namespace tarvo;

namespace {

DWORD Refuse(const char* name)
{
    FunctionScope scope(name, 0);
    return scope.Error("Function unimplemented", ERROR_INVALID_FUNCTION);
}

} // namespace

DWORD __cdecl TARVO_DlgCreateAccount(void)
{
    return Refuse("TARVO_DlgCreateAccount");
}

DWORD __cdecl TARVO_DeleteShare(void)
{
    return Refuse("TARVO_DeleteShare");
}

DWORD __cdecl TARVO_DlgCreateSharedFolder(void)
{
    return Refuse("TARVO_DlgCreateSharedFolder");
}

DWORD __cdecl TARVO_SetPermissions(void)
{
    return Refuse("TARVO_SetPermissions");
}

DWORD __cdecl TARVO_DlgSetPermissions(void)
{
    return Refuse("TARVO_DlgSetPermissions");
}
