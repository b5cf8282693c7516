// The exports that write registry entries.

#include "base/text.h"
#include "frame/scope.h"
#include "registry/writers.h"
#include "tarvo/tarvo.h"

using namespace tarvo;

namespace {

DWORD EndEntry(FunctionScope& scope, DWORD code)
{
    return code == ERROR_SUCCESS ? scope.Ok() : scope.Error("Creating registry entry failed", code);
}

} // namespace

DWORD __cdecl TARVO_CreateRegistryEntry(const char* locator, DWORD type, BOOL flush)
{
    FunctionScope scope("TARVO_CreateRegistryEntry", 0);
    TracePrint(kInfo, 1, "Entry name=[%s], type=[%d], flush=[%d]\n", Shown(locator), static_cast<int>(type), flush);
    if (!locator)
        return scope.Error(ERROR_INVALID_PARAMETER);
    return EndEntry(scope, SetRegistryValue(locator, type, flush));
}

DWORD __cdecl TARVO_CreateRegistryEntryEx(const char* locator, DWORD type, BOOL flush, BOOL virtualized)
{
    FunctionScope scope("TARVO_CreateRegistryEntryEx", 0);
    TracePrint(kInfo, 1, "Entry name=[%s], type=[%d], flush=[%d], virtualized=[%d]\n", Shown(locator),
               static_cast<int>(type), flush, virtualized);
    if (!locator)
        return scope.Error(ERROR_INVALID_PARAMETER);
    return EndEntry(scope, SetRegistryValueEx(locator, type, flush, virtualized));
}
