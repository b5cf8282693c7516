#pragma once

#include <windows.h>

namespace tarvo {

/** Tells the platform that a version is, and traces its name. @return TARVO_PLATFORM_... */
DWORD ClassifyPlatform(const OSVERSIONINFOEXA& version);

/** Reads the number in the text of the installed service pack. @return 0; or the code of asking for the version. */
DWORD PlatformGetSPNum(DWORD& number);

/** @return whether the system tells its version and is of that family, a VER_PLATFORM_... value. */
bool IsPlatformFamily(DWORD platformId);

} // namespace tarvo
