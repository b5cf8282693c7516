#pragma once

#include <windows.h>

#include "base/handle.h"

namespace tarvo {

/** Handles of the service control manager: connections to it and services. */
struct ServiceHandleTraits {
    using Handle = SC_HANDLE;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle handle) { CloseServiceHandle(handle); }
};
using UniqueServiceHandle = Unique<ServiceHandleTraits>;

/** Closes what is held, where the result matters. @return false if that failed; GetLastError tells why. */
[[nodiscard]] inline bool CloseChecked(UniqueServiceHandle& handle)
{
    return !handle || CloseServiceHandle(handle.Release());
}

} // namespace tarvo
