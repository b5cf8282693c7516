// The kit itself: each of its checks sees what it is there to see.

#include "kit/kit.h"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cstdlib>

namespace {

using KitTest = kit::LibraryTest;
using Allocate = decltype(&malloc);
using Release = decltype(&free);

/** The DLL's malloc or free as it now calls it. */
template <class Function> Function Imported(const char* name)
{
    const kit::ImportPatch look(kit::HookedModule(), name, nullptr);
    return reinterpret_cast<Function>(look.Original());
}

bool IsAccessible(const void* at)
{
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(at, &memory, sizeof memory);
    return memory.State == MEM_COMMIT && memory.Protect == PAGE_READWRITE;
}

TEST_F(KitTest, ByteBehindABlockIsInaccessible)
{
    for (const size_t size : {1, 4095, 4096, 4097}) {
        char* const block = static_cast<char*>(Imported<Allocate>("malloc")(size));
        EXPECT_TRUE(IsAccessible(block) && IsAccessible(block + size - 1)) << size;
        EXPECT_FALSE(IsAccessible(block + size)) << size;
        Imported<Release>("free")(block);
        EXPECT_FALSE(IsAccessible(block)) << size;
    }
}

TEST_F(KitTest, ResizedBlockMovesWithItsBytes)
{
    const auto resize = Imported<decltype(&realloc)>("realloc");
    char* const small = static_cast<char*>(resize(nullptr, 3));
    std::copy_n("abc", 3, small);
    char* const large = static_cast<char*>(resize(small, 5000));
    EXPECT_EQ("abc\xCD", std::string(large, 4));
    EXPECT_FALSE(IsAccessible(small) || IsAccessible(large + 5000));
    EXPECT_EQ(nullptr, resize(large, 0));
    EXPECT_FALSE(IsAccessible(large));
}

TEST_F(KitTest, EachAllocationFailsOnce)
{
    int runs = 0;
    WithEachAllocationFailing([&] {
        ++runs;
        for (int count = 0; count < 3; ++count)
            Imported<Release>("free")(Imported<Allocate>("malloc")(1));
    });
    EXPECT_EQ(4, runs);
}

/** A test whose end is looked at by another one. */
class Leaking : public kit::LibraryTest {
public:
    void TestBody() override {}

    void Run(void (*body)(Leaking&))
    {
        SetUp();
        body(*this);
        TearDown();
    }
};

TEST(KitLeaks, BlockFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(Leaking().Run([](Leaking&) { Imported<Allocate>("malloc")(77); }),
                            "77 bytes, allocation 1");
}

TEST(KitLeaks, HandleFailsTheTest)
{
    static HANDLE leaked;
    EXPECT_NONFATAL_FAILURE(Leaking().Run([](Leaking&) { leaked = CreateEventA(nullptr, FALSE, FALSE, nullptr); }),
                            "handle");
    CloseHandle(leaked);
}

TEST(KitLeaks, LibraryThatStaysFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(Leaking().Run([](Leaking&) { LoadLibraryA("TARVO.DLL"); }), "stays in the process");
    FreeLibrary(GetModuleHandleA("TARVO.DLL"));
}

} // namespace
