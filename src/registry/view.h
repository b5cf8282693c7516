#pragma once

#include <windows.h>

#include "base/dynamic_call.h"

namespace tarvo {

/** Which of a 64-bit Windows' two registry views a call works in. */
enum class RegistryView { kOwn, k64Bit };

constexpr RegistryView ViewOf(BOOL virtualized)
{
    return virtualized ? RegistryView::kOwn : RegistryView::k64Bit;
}

constexpr REGSAM AccessIn(RegistryView view, REGSAM access)
{
    return view == RegistryView::k64Bit ? access | KEY_WOW64_64KEY : access;
}

/** Deletes a key that has no subkeys, by its path; a Windows without RegDeleteKeyEx has one view. */
inline DWORD DeleteKeyIn(RegistryView view, HKEY mainKey, const char* subkey)
{
    if (view == RegistryView::k64Bit) {
        if (const auto deleteKeyEx = LookUp<decltype(&RegDeleteKeyExA)>("advapi32", "RegDeleteKeyExA"))
            return static_cast<DWORD>(deleteKeyEx(mainKey, subkey, KEY_WOW64_64KEY, 0));
    }
    return static_cast<DWORD>(RegDeleteKeyA(mainKey, subkey));
}

} // namespace tarvo
