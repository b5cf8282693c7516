#pragma once

#include <windows.h>

#include <objbase.h>

#include "base/handle.h"

namespace tarvo {

/** Owner of one reference to a COM object. */
template <class Interface> struct ComTraits {
    using Handle = Interface*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle object) { object->Release(); }
};
template <class Interface> using UniqueCom = Unique<ComTraits<Interface>>;

/** COM on the calling thread for the time of one operation. */
class ComSession {
public:
    ComSession() : result_(CoInitialize(nullptr)) {}
    ~ComSession()
    {
        // A thread that is in another mode was not entered, and must not be left.
        if (SUCCEEDED(result_))
            CoUninitialize();
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;

    /** Leaves COM entered on a thread that was in it before. */
    void StayWhereItWasEntered()
    {
        if (result_ != S_OK)
            result_ = E_FAIL;
    }

private:
    HRESULT result_;
};

} // namespace tarvo
