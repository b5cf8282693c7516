// The exports that write registry entries.

#include "base/text.h"
#include "frame/scope.h"
#include "registry/writers.h"
#include "tarvo/tarvo.h"

using namespace tarvo;

namespace {

constexpr char kFailed[] = "Creating registry entry failed";

} // namespace

DWORD __cdecl TARVO_CreateRegistryEntry(const char* locator, DWORD type, BOOL flush)
{
    FunctionScope scope("TARVO_CreateRegistryEntry", 0);
    TracePrint(kInfo, 1, "Entry name=[%s], type=[%d], flush=[%d]\n", Shown(locator), static_cast<int>(type), flush);
    if (!locator)
        return scope.Error(ERROR_INVALID_PARAMETER);
    return scope.End({SetRegistryValue(locator, type, flush), kFailed});
}

DWORD __cdecl TARVO_CreateRegistryEntryEx(const char* locator, DWORD type, BOOL flush, BOOL virtualized)
{
    FunctionScope scope("TARVO_CreateRegistryEntryEx", 0);
    TracePrint(kInfo, 1, "Entry name=[%s], type=[%d], flush=[%d], virtualized=[%d]\n", Shown(locator),
               static_cast<int>(type), flush, virtualized);
    if (!locator)
        return scope.Error(ERROR_INVALID_PARAMETER);
    return scope.End({SetRegistryValueEx(locator, type, flush, virtualized), kFailed});
}
