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
    /** Returns once its thread runs: Wine stumbles where a process ends with a thread that is just beginning. */
    Watchdog()
    {
        const HANDLE runs = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        CloseHandle(CreateThread(nullptr, 0, &Watch, runs, 0, nullptr));
        WaitForSingleObject(runs, INFINITE);
        CloseHandle(runs);
    }

private:
    void OnTestStart(const testing::TestInfo& test) override
    {
        seconds = 0; // first: the thread may look in between
        present = &test;
    }

    void OnTestEnd(const testing::TestInfo&) override { present = nullptr; }

    static DWORD WINAPI Watch(void* runs)
    {
        SetEvent(runs);
        for (;; Sleep(1000)) {
            const testing::TestInfo* const test = present;
            if (!test || ++seconds < kSecondsATest)
                continue;
            fprintf(stderr, "%s.%s hangs; the run ends here.\n", test->test_suite_name(), test->name());
            fflush(stderr);
            TerminateProcess(GetCurrentProcess(), 2);
        }
    }

    // Not the object's: the thread may look once more when the list and its listeners are gone.
    static inline std::atomic<const testing::TestInfo*> present = nullptr;
    static inline std::atomic<DWORD> seconds = 0;
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
