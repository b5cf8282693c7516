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

/** Owner of such a block. */
template <class T> class UniqueNetBuffer : public Unique<NetBufferTraits<T>> {
public:
    /** As Put, for calls that fill a byte pointer. */
    BYTE** PutBytes() { return reinterpret_cast<BYTE**>(this->Put()); }
};

} // namespace tarvo
