#include "base/text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace tarvo;

TEST(Text, SetRefusesWhatDoesNotFit)
{
    BoundedText<4> text;
    EXPECT_TRUE(text.Set("abc"));
    EXPECT_FALSE(text.Set("abcd"));
    EXPECT_STREQ("abc", text.Get());
    EXPECT_TRUE(text.Set({}));
    EXPECT_TRUE(text.Empty());
}

TEST(Text, FormatsAreThoseOfTheCLibraryAndTellWhetherAllFitted)
{
    BoundedText<8> text;
    EXPECT_TRUE(text.Format("%d", 1234567));
    EXPECT_FALSE(text.Format("%d", 12345678)); // as many as there is room, without the terminator
    EXPECT_STREQ("1234567", text.Get());
    EXPECT_FALSE(text.Format("%s", std::string(10000, 'x').c_str()));
    EXPECT_STREQ("xxxxxxx", text.Get());
    EXPECT_TRUE(text.Format("%s-%s", "abc", "def"));
    EXPECT_STREQ("abc-def", text.Get());
    EXPECT_FALSE(text.Format("%s-%s!", "abc", "def"));
    EXPECT_STREQ("abc-def", text.Get());
    EXPECT_FALSE(text.Format("12345678%s", ""));
    EXPECT_STREQ("1234567", text.Get());
    EXPECT_TRUE(text.Format("%s=%d%%", "abc", 12));
    EXPECT_STREQ("abc=12%", text.Get());
    EXPECT_TRUE(text.Format("%s%-3sx", "ab", "c"));
    EXPECT_STREQ("abc  x", text.Get());
    const char* const volatile missing = nullptr; // unseen by the compiler, which would warn
    EXPECT_TRUE(text.Format("%s", const_cast<const char*>(missing)));
    EXPECT_STREQ("(null)", text.Get());
    char none = '~';
    EXPECT_FALSE(FormatCut(&none, 0, "x"));
    CopyCut(&none, 0, "x");
    EXPECT_EQ('~', none);
}

} // namespace
