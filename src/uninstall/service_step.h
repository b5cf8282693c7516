#pragma once

#include <windows.h>

namespace tarvo {

/**
 * Stops and removes the services that the open log lists. Single failures are traced only; a service that does not
 * stop within a minute is removed all the same.
 * @return 0; or the code of reading the log
 */
DWORD PerformUninstallService();

} // namespace tarvo
