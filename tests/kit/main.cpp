// Runs the tests of an executable, and ends a run that hangs.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "kit/child.h"

namespace {

constexpr DWORD kSecondsATest = 60;

std::string Name(const testing::TestInfo& test)
{
    return std::string(test.test_suite_name()) + "." + test.name();
}

/** Its thread looks once a second for how long the present test has been running. */
class Watchdog : public testing::EmptyTestEventListener {
public:
    Watchdog() { CloseHandle(CreateThread(nullptr, 0, &Watch, this, 0, nullptr)); }

private:
    void OnTestStart(const testing::TestInfo& test) override
    {
        started_ = GetTickCount(); // first: the thread may look in between
        present_ = &test;
    }

    void OnTestEnd(const testing::TestInfo&) override { present_ = nullptr; }

    static DWORD WINAPI Watch(void* self)
    {
        for (;; Sleep(1000))
            static_cast<Watchdog*>(self)->Look();
    }

    void Look() const
    {
        const testing::TestInfo* const test = present_;
        if (!test || GetTickCount() - started_ < kSecondsATest * 1000)
            return;
        fprintf(stderr, "%s has been running for %lu seconds; the run ends here.\n", Name(*test).c_str(),
                kSecondsATest);
        fflush(stderr);
        TerminateProcess(GetCurrentProcess(), 2);
    }

    std::atomic<const testing::TestInfo*> present_ = nullptr;
    std::atomic<DWORD> started_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    if (kit::RunAsChild(argc, argv))
        return 0;
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog); // owned by the list
    return RUN_ALL_TESTS();
}
