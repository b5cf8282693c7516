#pragma once

#include <windows.h>

#include "registry/writers.h"

namespace tarvo {

/** The product family's keys, all below HKEY_LOCAL_MACHINE. */
inline constexpr char kMachineName[] = "HKEY_LOCAL_MACHINE";
inline constexpr char kDelayLoadingKey[] = "SOFTWARE\\Norrin Vale\\Velmora\\Delay Loading";
inline constexpr char kLocalizationKey[] = "SOFTWARE\\Norrin Vale\\Velmora\\Localization";

inline MainKey MachineKey()
{
    return {HKEY_LOCAL_MACHINE, kMachineName};
}

/** Creates one of the family's keys and puts the current security policy on it, whose result does not count. */
DWORD CreateProductKey(const char* subkey);

} // namespace tarvo
