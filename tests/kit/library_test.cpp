#include "kit/library_test.h"

#include <stdexcept>

#include "tarvo/tarvo.h"

namespace kit {
namespace {

/**
 * A number that grows with each handle left open. Wine does not count handles,
 * but gives a new one the lowest free place.
 */
DWORD_PTR HandleMark()
{
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count)
        return count;
    const HANDLE fresh = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(fresh);
    return reinterpret_cast<DWORD_PTR>(fresh);
}

/**
 * Keeps the system's libraries loaded, so that they do not come and go with
 * the DLL, and takes what keeps a handle from its first use on.
 */
void WarmUp()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    for (const char* name : {"advapi32", "netapi32", "ole32", "shell32", "user32", "version"})
        LoadLibraryA(name);
    const ScratchKey key;
    const ScratchFolder folder;
    PendingValue::Read();
    // Wine 10 keeps the pipe to the service manager from the first connection on.
    CloseServiceHandle(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
    WritePrivateProfileStringA("a", "b", "c", folder.Path("warm.ini").c_str());
    SCOPED_TRACE("GoogleTest's first");
    EXPECT_THROW(throw std::runtime_error("the runtime's first"), std::runtime_error);
}

} // namespace

void LibraryTest::SetUp()
{
    WarmUp();
    pendingBefore_ = PendingValue::ReadRaw();
    Reload();
}

void LibraryTest::TearDown()
{
    Unload();
    if (scratch_) {
        EXPECT_TRUE(scratch_->Remove()) << "something in " << scratch_->Path() << " is still open";
    }
    scratch_.reset();
    key_.reset();
    if (pendingBefore_)
        PendingValue::WriteRaw(pendingBefore_->units, pendingBefore_->type);
    else
        PendingValue::Remove();
}

void LibraryTest::Unload()
{
    if (!library_)
        return;
    EXPECT_TRUE(library_->Unload()) << "TARVO.DLL stays in the process";
    EXPECT_EQ("", heap_->Leaks()) << "left by TARVO.DLL";
    heap_.reset();
    library_.reset();
    if (countHandles_) {
        EXPECT_EQ(handlesBefore_, HandleMark()) << "a handle is still open";
    }
}

void LibraryTest::Reload()
{
    Unload();
    handlesBefore_ = HandleMark();
    library_ = std::make_unique<Library>();
    heap_ = std::make_unique<GuardedHeap>(library_->Module());
}

ScratchFolder& LibraryTest::Scratch()
{
    return scratch_ ? *scratch_ : scratch_.emplace();
}

ScratchKey& LibraryTest::Key()
{
    return key_ ? *key_ : key_.emplace();
}

std::string LibraryTest::Record()
{
    const std::string log = Scratch().Path("uninstall.log");
    EXPECT_EQ(0U, TARVO_StartUninstallLogging(log.c_str(), nullptr));
    return log;
}

void LibraryTest::WithEachAllocationFailing(const std::function<void()>& call)
{
    for (unsigned n = 1;; ++n) {
        SCOPED_TRACE("failing allocation " + std::to_string(n));
        Heap().FailAllocation(n);
        call();
        if (!Heap().FailureHappened())
            break;
        ASSERT_LT(n, 10000U) << "every run asks for more memory than the one before";
    }
    Heap().FailAllocation(0);
}

} // namespace kit
