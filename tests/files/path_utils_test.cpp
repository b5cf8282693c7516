#include "files/path_utils.h"

#include <gtest/gtest.h>

#include <string>

#include "kit/import_hook.h"

namespace {

using namespace tarvo;

TEST(PathUtils, PathsAreNormalised)
{
    const std::pair<const char*, const char*> kCases[] = {
        {R"(C:\a\\b\..\c\.\d\)", R"(C:\a\c\d)"},
        {R"(C:\)", R"(C:)"},
        {R"(C:)", R"(C:)"},
        {R"(\\)", R"(\\)"},
        {"", ""},
        {R"(\\server\share\x\..\y)", R"(\\server\share\y)"},
        {R"(\\\\a)", R"(\\\a)"}, // the first two are never looked at
        {R"(\??\C:\Temp\..\x)", R"(\??\C:\x)"},
        {R"(!\??\C:\dir\)", R"(!\??\C:\dir)"},
        {R"(C:\..\x)", R"(C:\x)"},
        {R"(C:\a\b\..\..\c)", R"(C:\c)"},
        {R"(C:\a\..)", R"(C:)"},
        {R"(C:\a\..\)", R"(C:)"},
        {R"(C:\a\..\..\..\b)", R"(C:\b)"},
        {R"(C:a\..\b)", R"(C:a\b)"}, // no component before it but the one at the drive
        {R"(C:..\b)", R"(C:..\b)"},
        {R"(C:\a\.\..\b)", R"(C:\a\b)"}, // a current reference counts as a component
        {R"(C:\.\.\a\.)", R"(C:\a)"},
        {R"(C:\a\...\b)", R"(C:\a\...\b)"},
        {R"(C:\a\.b\..c\d.\e..\f)", R"(C:\a\.b\..c\d.\e..\f)"},
        {R"(C:\a\..b\..\c)", R"(C:\a\c)"},
        {R"(C:\a//b/../c)", R"(C:\a//b/../c)"},
    };
    for (const auto& [path, expected] : kCases) {
        std::string normalised = path;
        NormalizePath(normalised.data());
        EXPECT_STREQ(expected, normalised.c_str()) << path;
    }
    NormalizePath(nullptr);
}

TEST(PathUtils, FailedLookMeansMissingOrUnknown)
{
    constexpr DWORD kMissing[] = {2, 3, 15, 18, 53, 67, 161, 206};
    constexpr DWORD kUnknown[] = {1, 5, 21, 32, 54, 123, 1326};
    kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, GetModuleHandleA(nullptr));
    for (const DWORD code : kMissing) {
        look.FailAll(code, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(0, IsPathExist("C:\\x", 1)) << code;
    }
    for (const DWORD code : kUnknown) {
        look.FailAll(code, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(0, IsPathExist("C:\\x", 0)) << code;
        EXPECT_EQ(7, IsPathExist("C:\\x", 7)) << code;
        EXPECT_EQ(0, IsPathFile("C:\\x"));
        EXPECT_EQ(0, IsPathDirectory("C:\\x"));
    }
}

} // namespace
