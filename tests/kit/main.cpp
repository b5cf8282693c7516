// Runs the tests of an executable, and ends a run that hangs.

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <map>

#include "kit/child.h"

namespace {

constexpr DWORD kSecondsATest = 60;

std::map<std::string, void (*)(const std::string&)>& Roles()
{
    static std::map<std::string, void (*)(const std::string&)> roles;
    return roles;
}

/** Its thread looks for how long the present test has been running. */
class Watchdog : public testing::EmptyTestEventListener {
public:
    Watchdog()
        : over_(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
          thread_(CreateThread(nullptr, 0, &Watch, this, 0, nullptr))
    {
    }

private:
    void OnTestStart(const testing::TestInfo& test) override
    {
        seconds_ = 0; // first: the thread may look in between
        present_ = &test;
    }

    void OnTestEnd(const testing::TestInfo&) override { present_ = nullptr; }

    /** The thread goes first: Wine stumbles now and then where a process ends that has a young one left. */
    void OnTestProgramEnd(const testing::UnitTest&) override
    {
        SetEvent(over_);
        WaitForSingleObject(thread_, INFINITE);
    }

    static DWORD WINAPI Watch(void* self)
    {
        auto& dog = *static_cast<Watchdog*>(self);
        while (WaitForSingleObject(dog.over_, 1000) == WAIT_TIMEOUT) {
            const testing::TestInfo* const test = dog.present_;
            if (!test || ++dog.seconds_ < kSecondsATest)
                continue;
            fprintf(stderr, "%s.%s hangs; the run ends here.\n", test->test_suite_name(), test->name());
            fflush(stderr);
            TerminateProcess(GetCurrentProcess(), 2);
        }
        return 0;
    }

    std::atomic<const testing::TestInfo*> present_ = nullptr;
    std::atomic<DWORD> seconds_ = 0;
    HANDLE over_;
    HANDLE thread_; // after what it uses
};

} // namespace

kit::ChildRole::ChildRole(const std::string& name, void (*body)(const std::string& argument))
{
    Roles()[name] = body;
}

int main(int argc, char** argv)
{
    if (argc == 4 && std::string(argv[1]) == "--child") {
        Roles().at(argv[2])(argv[3]);
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog); // owned by the list
    return RUN_ALL_TESTS();
}
