#pragma once

#include <windows.h>

namespace tarvo {

/** @return a function of a module, or NULL; GetLastError then tells why. */
template <class Function> Function LookUpIn(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

/**
 * Looks up, at each call, a function that some Windows versions lack.
 * @param module  A module that is loaded in any case, such as "advapi32".
 * @return the function, or NULL where this Windows has none.
 */
template <class Function> Function LookUp(const char* module, const char* name)
{
    const HMODULE handle = GetModuleHandleA(module);
    return handle ? LookUpIn<Function>(handle, name) : nullptr;
}

} // namespace tarvo
