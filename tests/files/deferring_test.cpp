// Copies, moves and deletions with names at the edge.

#include "kit/kit.h"

namespace {

using Deferring = kit::LibraryTest;

TEST_F(Deferring, LastNumberIsTriedWhenAllAreTaken)
{
    CreateDirectoryA(Scratch().Path("s").c_str(), nullptr);
    const std::string source = Scratch().Make("s\\a", "new");
    const std::string target = Scratch().Make("b.exe", "old");
    const kit::FileLock lock(target);
    const kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, 0, DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_TRUE(kit::Gives(0, TARVO_CopyFileEx(source.c_str(), target.c_str(), FALSE, nullptr)));
    EXPECT_EQ("new", kit::ReadFile(Scratch().Path("b.998")));
}

TEST_F(Deferring, LongPathsAreRefusedWhole)
{
    kit::PendingValue::Remove();
    const std::string file = Scratch().Make("a", "new");
    const std::string target = Scratch().Path("b");
    const std::string longPath = Scratch().Path(std::string(300, 'x'));
    DWORD needRestart = 77;
    EXPECT_NE(0U, TARVO_CreateDirectory(longPath.c_str()));
    EXPECT_NE(0U, TARVO_CopyFile(file.c_str(), longPath.c_str(), FALSE));
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE},
              TARVO_CopyFileEx(file.c_str(), (longPath + "\\b").c_str(), FALSE, &needRestart));
    EXPECT_NE(0U, TARVO_CopyFileEx(longPath.c_str(), target.c_str(), FALSE, &needRestart));
    EXPECT_NE(0U, TARVO_MoveFileEx(longPath.c_str(), target.c_str(), FALSE, &needRestart));
    EXPECT_EQ(0U, TARVO_DeleteFileEx(longPath.c_str(), &needRestart)) << "nothing can be there";
    EXPECT_EQ(0U, needRestart);
    EXPECT_TRUE(kit::PendingValue::Read().empty()) << "no cut name is scheduled";
    EXPECT_FALSE(kit::FileExists(target));
}

} // namespace
