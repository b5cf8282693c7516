#pragma once

#include <windows.h>

#include "frame/trace.h"

namespace tarvo {

/** Traces that a platform call has just failed. @return its last error, never 0: a failure must not pass for success */
inline DWORD FailedCall(const char* line, int detail = 3)
{
    const DWORD code = GetLastError();
    TracePrint(kError, detail, "%s", line);
    return code != ERROR_SUCCESS ? code : ERROR_GEN_FAILURE;
}

} // namespace tarvo
