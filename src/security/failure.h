#pragma once

#include <windows.h>

#include "frame/trace.h"

namespace tarvo {

/** Traces that a platform call has just failed. @return its last error */
inline DWORD FailedCall(const char* line, int detail = 3)
{
    TracePrint(kError, detail, "%s", line);
    return GetLastError();
}

} // namespace tarvo
