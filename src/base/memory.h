#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>

#include "base/handle.h"

namespace tarvo {

template <class T> struct HeapArrayTraits {
    using Handle = T*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle block) { free(block); }
};

/**
 * Owner of an array on the runtime's heap, for plain data only: elements are
 * neither constructed nor destroyed. No memory shows as an empty owner.
 */
template <class T> class HeapArray : public Unique<HeapArrayTraits<T>> {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    constexpr HeapArray() = default;

    /** Replaces what is held by count elements of undefined content. @return false without memory, holding none. */
    [[nodiscard]] bool Allocate(size_t count)
    {
        this->Reset();
        if (count <= kMostElements)
            this->Reset(static_cast<T*>(malloc(count * sizeof(T))));
        return this->Get() != nullptr;
    }

    /** As Allocate, filled with zeros. */
    [[nodiscard]] bool AllocateZeroed(size_t count)
    {
        this->Reset();
        if (count <= kMostElements)
            this->Reset(static_cast<T*>(calloc(count, sizeof(T))));
        return this->Get() != nullptr;
    }

    T& operator[](size_t index) const { return this->Get()[index]; }

private:
    // The runtime of an early Windows multiplies calloc's arguments without a look.
    static constexpr size_t kMostElements = static_cast<size_t>(INTPTR_MAX) / sizeof(T);
};

template <class T> struct HeapObjectTraits {
    using Handle = T*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle object) { delete object; }
};

/** Owner of one object made by MakeHeapObject. */
template <class T> using UniqueObject = Unique<HeapObjectTraits<T>>;

/** Makes a T on the runtime's heap; an empty owner tells that there was no memory. */
template <class T> UniqueObject<T> MakeHeapObject()
{
    return UniqueObject<T>(new (std::nothrow) T);
}

/**
 * Place of a process-wide object, which is made at its first use and whose end the library entry decides: nothing is
 * registered with the runtime, and nothing runs after the entry point.
 */
template <class T> class ProcessWide {
public:
    [[gnu::noinline]] T& Get()
    {
        if (!made_)
            new (place_) T;
        made_ = true;
        return *reinterpret_cast<T*>(place_);
    }
    T* operator->() { return &Get(); }

private:
    alignas(T) unsigned char place_[sizeof(T)] = {};
    bool made_ = false;
};

} // namespace tarvo
