#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kit/guarded_heap.h"
#include "kit/library.h"
#include "kit/pending_value.h"
#include "kit/scratch.h"

namespace kit {

/**
 * Loads the DLL fresh for each test, on the guarded heap. Afterwards the DLL
 * must leave the process and leave nothing behind: no block, no handle, no
 * file it still holds. The pending value is put back.
 *
 *     using PendingExports = kit::LibraryTest;
 *     TEST_F(PendingExports, RemovingDeletionsKeepsRenames) { ... }
 */
class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    GuardedHeap& Heap() { return *heap_; }
    ScratchFolder& Scratch();
    ScratchKey& Key();

    /** Begins to record for uninstalling. @return the log, always the same file of the scratch folder */
    std::string Record();

    /** Unloads the DLL, with the checks, and loads it again. */
    void Reload();

    /** For a test in which the system itself keeps handles. */
    void AllowOpenHandles() { countHandles_ = false; }

    /**
     * Runs call again and again, in each run with one more allocation granted
     * before one fails, until a run in which none failed. In call,
     * Heap().FailureHappened() tells, after the export, whether one did.
     */
    void WithEachAllocationFailing(const std::function<void()>& call);

private:
    void Unload();

    std::optional<PendingValue::Raw> pendingBefore_;
    std::optional<ScratchFolder> scratch_;
    std::optional<ScratchKey> key_;
    std::unique_ptr<Library> library_;
    std::unique_ptr<GuardedHeap> heap_;
    DWORD_PTR handlesBefore_ = 0;
    bool countHandles_ = true;
};

} // namespace kit
