#pragma once

#include "base/handle.h"

namespace tarvo {

/** Owner of one reference to a COM object. */
template <class Interface> struct ComTraits {
    using Handle = Interface*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle object) { object->Release(); }
};
template <class Interface> using UniqueCom = Unique<ComTraits<Interface>>;

} // namespace tarvo
