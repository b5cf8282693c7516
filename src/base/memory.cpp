// The language's own allocation entries, over the runtime's heap and without
// exceptions: the versions of the standard library would bring its unwinder
// into the DLL, and end the process where this library reports a code.

#include "base/memory.h"

void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    return malloc(bytes ? bytes : 1);
}

void operator delete(void* block) noexcept
{
    free(block);
}

void operator delete(void* block, size_t) noexcept
{
    free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    free(block);
}

/** Where a call through an object under construction would land. */
extern "C" void __cxa_pure_virtual()
{
    __builtin_trap();
}
