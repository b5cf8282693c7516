// What is told of the machine, held against what the system itself answers.

#include "kit/kit.h"

namespace {

using PlatformExports = kit::LibraryTest;

TEST_F(PlatformExports, AnswersAreTheSystems)
{
    BOOL wow64 = FALSE;
    IsWow64Process(GetCurrentProcess(), &wow64);
    EXPECT_EQ(wow64, TARVO_Is64BitPlatform());
    MEMORYSTATUS memory = {};
    GlobalMemoryStatus(&memory);
    EXPECT_EQ(memory.dwTotalPhys, TARVO_GetAmountOfRAM());
    BOOL isNt = FALSE;
    EXPECT_EQ(0U, TARVO_GetPlatformEx(TARVO_ASK_IS_NT, &isNt, nullptr));
    EXPECT_TRUE(isNt);
}

} // namespace
