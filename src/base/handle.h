#pragma once

#include <windows.h>

#include "base/last_error.h"

namespace tarvo {

/**
 * Owner of one platform handle. Traits name the handle's type, the value that
 * means "none" and the call that closes it. Closing keeps the last error.
 */
template <class Traits> class Unique {
public:
    using Handle = typename Traits::Handle;

    constexpr Unique() : handle_(Traits::None()) {}
    explicit Unique(Handle handle) : handle_(handle) {}
    Unique(Unique&& other) noexcept : handle_(other.Release()) {}
    Unique& operator=(Unique&& other) noexcept
    {
        Reset(other.Release());
        return *this;
    }
    ~Unique() { Reset(); }

    Handle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != Traits::None(); }

    /** Closes what is held and lends the empty place to a call that fills it. */
    Handle* Put()
    {
        Reset();
        return &handle_;
    }

    Handle Release()
    {
        const Handle handle = handle_;
        handle_ = Traits::None();
        return handle;
    }

    void Reset(Handle handle = Traits::None())
    {
        const Handle old = handle_;
        handle_ = handle;
        if (old != Traits::None()) {
            const LastErrorKeeper keeper;
            Traits::Close(old);
        }
    }

private:
    Handle handle_;
};

/** Handles of CreateFile, whose "none" is INVALID_HANDLE_VALUE. */
struct FileTraits {
    using Handle = HANDLE;
    static Handle None() { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) { CloseHandle(file); }
};
using UniqueFile = Unique<FileTraits>;

/** Kernel handles whose "none" is NULL, such as tokens. */
struct KernelTraits {
    using Handle = HANDLE;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle handle) { CloseHandle(handle); }
};
using UniqueKernelHandle = Unique<KernelTraits>;

struct FileSearchTraits {
    using Handle = HANDLE;
    static Handle None() { return INVALID_HANDLE_VALUE; }
    static void Close(Handle search) { FindClose(search); }
};
using UniqueFileSearch = Unique<FileSearchTraits>;

struct RegistryKeyTraits {
    using Handle = HKEY;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle key) { RegCloseKey(key); }
};
using UniqueRegistryKey = Unique<RegistryKeyTraits>;

struct ModuleTraits {
    using Handle = HMODULE;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle module) { FreeLibrary(module); }
};
using UniqueModule = Unique<ModuleTraits>;

/** Blocks that the system hands back from its local heap (FormatMessage, LocalAlloc). */
template <class T> struct LocalMemoryTraits {
    using Handle = T*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle block) { LocalFree(block); }
};
template <class T> using UniqueLocal = Unique<LocalMemoryTraits<T>>;

} // namespace tarvo
