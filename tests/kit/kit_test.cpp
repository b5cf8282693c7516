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
    const kit::ImportPatch look(kit::HookedModule(), nullptr, name, nullptr);
    return reinterpret_cast<Function>(look.Original());
}

bool IsAccessible(const void* at)
{
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(at, &memory, sizeof memory);
    return memory.State == MEM_COMMIT && memory.Protect == PAGE_READWRITE;
}

TEST_F(KitTest, HookCountsAndGoesAway)
{
    const std::string folder = Scratch().Path("made");
    {
        kit::ImportHook hook("CreateDirectoryA", &CreateDirectoryA);
        EXPECT_EQ(0U, TARVO_CreateDirectory(folder.c_str()));
        EXPECT_EQ(1, std::min(hook.Calls(), 1));
        EXPECT_TRUE(kit::FileExists(folder));
    }
    EXPECT_EQ(&CreateDirectoryA, Imported<decltype(&CreateDirectoryA)>("CreateDirectoryA"));
}

TEST_F(KitTest, HookFailsTheCallNamed)
{
    kit::ImportHook hook("CreateDirectoryA", &CreateDirectoryA);
    hook.FailNth(2, ERROR_DISK_FULL, FALSE);
    EXPECT_EQ(0U, TARVO_CreateDirectory(Scratch().Path("a").c_str()));
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, TARVO_CreateDirectory(Scratch().Path("b").c_str()));
    EXPECT_EQ(0U, TARVO_CreateDirectory(Scratch().Path("c").c_str()));
}

TEST_F(KitTest, HookAnswersInPlaceOfTheFunction)
{
    kit::ImportHook first("RemoveDirectoryA", &RemoveDirectoryA); // of the same type as the next
    kit::ImportHook second("DeleteFileA", &DeleteFileA);
    std::string deleted;
    second.Answer([&](const char* path) { return deleted = path, TRUE; });
    const std::string file = Scratch().Make("file");
    EXPECT_EQ(0U, TARVO_DeleteFileEx(file.c_str(), nullptr));
    EXPECT_EQ(file, deleted);
    EXPECT_TRUE(kit::FileExists(file));
}

TEST_F(KitTest, HookOfWhatIsNotImportedThrows)
{
    EXPECT_THROW(kit::ImportHook("CreateMailslotA", &CreateMailslotA), std::runtime_error);
    EXPECT_THROW(kit::ImportHook("DeleteFileA", &DeleteFileA, kit::HookedModule(), "user32.dll"), std::runtime_error);
    kit::ImportHook still("DeleteFileA", &DeleteFileA); // the failed ones gave their place back
}

TEST_F(KitTest, ByteBehindABlockIsInaccessible)
{
    for (const size_t size : {1, 2, 3, 4095, 4096, 4097, 100000}) {
        char* const block = static_cast<char*>(Imported<Allocate>("malloc")(size));
        EXPECT_TRUE(IsAccessible(block)) << size;
        EXPECT_TRUE(IsAccessible(block + size - 1)) << size;
        EXPECT_FALSE(IsAccessible(block + size)) << size;
        Imported<Release>("free")(block);
        EXPECT_FALSE(IsAccessible(block)) << size;
    }
}

TEST_F(KitTest, ReallocationKeepsContent)
{
    char* block = static_cast<char*>(Imported<Allocate>("malloc")(3));
    memcpy(block, "ab", 3);
    block = static_cast<char*>(Imported<decltype(&realloc)>("realloc")(block, 5000));
    EXPECT_STREQ("ab", block);
    EXPECT_EQ(1U, Heap().LiveBlocks());
    Imported<Release>("free")(block);
}

TEST_F(KitTest, BlocksFromBeforeGoBackToWhereTheyCameFrom)
{
    Imported<Release>("free")(malloc(10)); // ends the run if it is taken for one of the guarded heap
    EXPECT_EQ(0U, Heap().LiveBlocks());
}

TEST_F(KitTest, NthAllocationFails)
{
    const auto allocate = Imported<Allocate>("malloc");
    Heap().FailAllocation(2);
    void* const first = allocate(1);
    EXPECT_TRUE(first);
    EXPECT_FALSE(Heap().FailureHappened());
    EXPECT_FALSE(allocate(1));
    EXPECT_TRUE(Heap().FailureHappened());
    void* const third = allocate(1);
    EXPECT_TRUE(third);
    Imported<Release>("free")(first);
    Imported<Release>("free")(third);
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

TEST_F(KitTest, PendingValueReadsWhatWasWritten)
{
    const kit::PendingValue::Pairs pairs = {{R"(\??\C:\a)", ""}, {R"(\??\C:\b)", R"(!\??\C:\c)"}};
    kit::PendingValue::Write(pairs);
    EXPECT_EQ(pairs, kit::PendingValue::Read());
    kit::PendingValue::Remove();
    EXPECT_FALSE(kit::PendingValue::ReadRaw());
}

TEST_F(KitTest, TraceLogBeginsBehindTheBanner)
{
    const kit::TraceLog log(Scratch().Path("sub\\trace.log"));
    EXPECT_TRUE(log.Lines().empty());
    TARVO_SetLanguage();
    ASSERT_EQ(3U, log.Messages().size());
    EXPECT_EQ("{ TARVO_SetLanguage", log.Messages()[0]);
    EXPECT_EQ("   Function TARVO_SetLanguage error: [1] (" + kit::SystemText(1) + ")", log.Indented()[1]);
    EXPECT_EQ(kit::SystemText(1), kit::LastMessage());
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

const kit::ChildRole sleeper("sleep", [](const std::string& argument) {
    kit::WriteFile(argument, "here");
    kit::ChildIsReady();
    Sleep(60000);
});

TEST(KitChild, RunsItsRoleUntilKilled)
{
    const kit::ScratchFolder scratch;
    kit::ChildProcess child("sleep", scratch.Path("sign"));
    EXPECT_EQ("here", kit::ReadFile(scratch.Path("sign")));
    child.Kill();
    EXPECT_EQ(99U, child.Wait());
}

} // namespace
