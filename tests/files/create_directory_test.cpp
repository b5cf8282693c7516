#include "files/file_exports.h"

namespace {

using CreateDirectories = FileExports;

TEST_F(CreateDirectories, EachMissingLevelIsMadeAndRecorded)
{
    const struct LevelCase {
        const char* fact;
        Tree before;
        const char* path;
        DWORD code;
        Tree after;
        std::vector<std::string> recorded;
    } kCases[] = {
        {"two levels of three",
         {{"A\\", ""}},
         "A\\B\\C",
         0,
         {{"A\\", ""}, {"A\\B\\", ""}, {"A\\B\\C\\", ""}},
         {"A\\B", "A\\B\\C"}},
        {"nothing where all is there", {{"A\\", ""}}, "A", 0, {{"A\\", ""}}, {}},
        {"separators at the end and doubled", {}, "A\\\\B\\", 0, {{"A\\", ""}, {"A\\B\\", ""}}, {"A", "A\\\\B"}},
        {"forward slashes further on", {}, "A/B", 0, {{"A\\", ""}, {"A\\B\\", ""}}, {"A", "A/B"}},
        {"a file of that name", {{"A", "x"}}, "A", 80, {{"A", "x"}}, {}},
        {"a file on the way", {{"A", "x"}}, "A\\B", ERROR_PATH_NOT_FOUND, {{"A", "x"}}, {}},
        {"UNC", {}, "\\\\srv\\share\\x", 87, {}, {}},
        {"UNC with forward slashes", {}, "//srv/share/x", 87, {}, {}},
        {"no drive", {}, "\\A", 87, {}, {}},
        {"relative to a drive", {}, "C:A", 87, {}, {}},
        {"forward slash at the drive", {}, "C:/A", 87, {}, {}},
        {"drive alone", {}, "C:", 87, {}, {}},
        {"no path", {}, "", 87, {}, {}},
    };
    for (const LevelCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        Record();
        Make(row.before);
        EXPECT_TRUE(kit::Gives(row.code, TARVO_CreateDirectory((row.code == 87 ? row.path : At(row.path)).c_str())));
        EXPECT_EQ(row.after, Found());
        EXPECT_EQ(RecordOf(row.recorded), Recorded());
        Empty();
    }
    EXPECT_EQ(87U, TARVO_CreateDirectory(nullptr));
    EXPECT_EQ(0U, TARVO_CreateDirectory("C:\\"));
}

TEST_F(CreateDirectories, PendingOperationsOnNewLevelsGo)
{
    Make({{"A\\", ""}});
    kit::PendingValue::Write(Stored({{"A", ""}, {"A\\B", ""}, {"x", "A\\B\\C"}, {"A\\B\\C\\D", ""}}));
    EXPECT_EQ(0U, TARVO_CreateDirectory(At("A\\B\\C").c_str()));
    EXPECT_EQ(Stored({{"A", ""}, {"A\\B\\C\\D", ""}}), kit::PendingValue::Read());
}

TEST_F(CreateDirectories, LevelsMadeBeforeAFailureStay)
{
    Record();
    kit::TraceLog log(At("trace.log"));
    kit::ImportHook create("CreateDirectoryA", &CreateDirectoryA);
    create.FailNth(2, ERROR_DISK_FULL, FALSE);
    EXPECT_TRUE(kit::Gives(ERROR_DISK_FULL, TARVO_CreateDirectory(At("A\\B\\C").c_str())));
    EXPECT_EQ((Tree{{"A\\", ""}}), Found());
    EXPECT_EQ(RecordOf({"A"}), Recorded());
    Make({{"f", ""}});
    EXPECT_EQ(80U, TARVO_CreateDirectory(At("f").c_str()));
    EXPECT_TRUE(
        log.HasEach({"1 Called with [" + At("A\\B\\C") + "].", "1 Creating directory [" + At("A") + "]...",
                     "1 Creating directory [" + At("A\\B") + "]...", "1 The specified path is the path to a file."}));
}

TEST_F(CreateDirectories, LongNamesAndMissingMemoryAreReported)
{
    EXPECT_NE(0U, TARVO_CreateDirectory(At(std::string(300, 'x')).c_str()));
    EXPECT_EQ(Tree{}, Found());
    unsigned failures = 0;
    WithEachAllocationFailing([&] {
        const DWORD code = TARVO_CreateDirectory(At("A\\B").c_str());
        failures += code == 8;
        EXPECT_TRUE(code == 0 || code == 8) << code;
        EXPECT_TRUE(code == 8 || kit::FileExists(At("A\\B")));
        RemoveDirectoryA(At("A\\B").c_str());
        RemoveDirectoryA(At("A").c_str());
    });
    EXPECT_GE(failures, 1U);
}

} // namespace
