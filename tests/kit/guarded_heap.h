#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/import_hook.h"

namespace kit {

/**
 * Stands in for a module's malloc, calloc, realloc and free while it lives.
 * Each block ends right at an inaccessible page, new blocks hold 0xCD, and a
 * freed block stays inaccessible until its place must be used again. Blocks made
 * before go back to where they came from. A write in front of a block, or freeing
 * what is not alive, ends the test run with a message.
 */
class GuardedHeap {
public:
    explicit GuardedHeap(HMODULE module);
    ~GuardedHeap();

    /** Lets the n-th allocation from now (1 is the next) return NULL; 0 takes that back. */
    void FailAllocation(unsigned n);
    /** @return whether the allocation that FailAllocation named was asked for. */
    bool FailureHappened() const;
    /** @return whether a block lies or lay there. */
    static bool Owns(const void* address);
    /** @return a line for each live block, size and number of its allocation; "" without any. */
    std::string Leaks() const;

private:
    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

} // namespace kit
