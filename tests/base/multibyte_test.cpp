// Letter case in the system's own code page.

#include "base/multibyte.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace tarvo;

struct PairCase {
    const char* left;
    const char* right;
    bool equal;
    bool starts; // left starts with right
};

const PairCase kPairs[] = {
    {"", "", true, true},
    {"a", "", false, true},
    {"", "a", false, false},
    {"C:\\Dir\\FILE.txt", "c:\\dir\\file.TXT", true, true},
    {"C:\\Dir\\FILE.txt", "c:\\dir", false, true},
    {"C:\\Dir", "c:\\dir\\", false, false},
    {"a[", "A{", false, false}, // 0x20 apart, but no letters
    {"@", "`", false, false},
    {"1", "\x11", false, false},
};

TEST(Multibyte, ComparesWithoutCase)
{
    for (const PairCase& row : kPairs) {
        SCOPED_TRACE(std::string(row.left) + " and " + row.right);
        EXPECT_EQ(row.equal, EqualNoCase(row.left, row.right));
        EXPECT_EQ(row.equal, EqualNoCase(row.right, row.left));
        EXPECT_EQ(row.starts, StartsWithNoCase(row.left, row.right));
        EXPECT_EQ(row.equal, HashNoCase(row.left) == HashNoCase(row.right));
    }
}

TEST(Multibyte, LettersBeyondAsciiHaveCase)
{
    if (GetACP() != 1252)
        GTEST_SKIP() << "the bytes below are letters of code page 1252, this is " << GetACP();
    EXPECT_TRUE(EqualNoCase("\xC4\x8C", "\xE4\x9C"));
    EXPECT_FALSE(EqualNoCase("\xD7", "\xF7")); // signs for times and divided by
}

} // namespace
