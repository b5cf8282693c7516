#pragma once

#include <windows.h>

#include <lm.h>

#include "base/handle.h"

namespace tarvo {

/** Blocks that the network management functions hand back. */
template <class T> struct NetBufferTraits {
    using Handle = T*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle block) { NetApiBufferFree(block); }
};

/** Owner of such a block; filled by Put, which also lends the place of a call that may fail. */
template <class T> using UniqueNetBuffer = Unique<NetBufferTraits<T>>;

} // namespace tarvo
