#pragma once

#include <windows.h>

#include "frame/scope.h"

namespace tarvo {

/** @return the text for a status of the network management functions; "Unspecified error" where there is none. */
const char* GetNetApiErrorText(DWORD status);

/**
 * Ends an export with what a network management function returned: Ok for 0, the system's text for a Win32 code,
 * GetNetApiErrorText for the network's own codes.
 * @return status
 */
DWORD EndNetworkCall(FunctionScope& scope, DWORD status);

} // namespace tarvo
