#include "files/path_utils.h"

#include "files/normalized_path.h"
#include "kit/dice.h"
#include "kit/import_hook.h"

namespace {

using namespace tarvo;

TEST(PathUtils, PathsAreNormalised)
{
    kit::Dice dice;
    NormalizePath(nullptr);
    for (int step = 0; step < 60000 && !testing::Test::HasFailure(); ++step) {
        std::string path;
        for (int left = dice.Below(17); left; --left)
            path += "\\\\\\..a/:"[dice.Below(8)];
        const std::wstring expected = model::Normalized({path.begin(), path.end()});
        std::string normalised = path;
        NormalizePath(normalised.data());
        EXPECT_EQ(std::string(expected.begin(), expected.end()), normalised.c_str())
            << path << " at " << kit::Dice::Place(step);
    }
}

TEST(PathUtils, FailedLookMeansMissingOrUnknown)
{
    constexpr int kMissing = 8; // the codes that say so come first
    int index = 0;
    for (const DWORD code : {2, 3, 15, 18, 53, 67, 161, 206, 1, 5, 21, 32, 54, 123, 1326}) {
        kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, GetModuleHandleA(nullptr));
        look.FailAll(code, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(0, IsPathExist("C:\\x", 0)) << code;
        EXPECT_EQ(index++ < kMissing ? 0 : 7, IsPathExist("C:\\x", 7)) << code;
        EXPECT_EQ(0, IsPathFile("C:\\x"));
        EXPECT_EQ(0, IsPathDirectory("C:\\x"));
    }
}

} // namespace
