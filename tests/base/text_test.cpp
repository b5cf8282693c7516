// Bounded texts, lists of texts, command lines.

#include "base/text.h"

#include <gtest/gtest.h>

#include <string>

#include "base/command_line.h"
#include "base/multistring.h"

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

TEST(Text, FormatTellsWhetherAllFitted)
{
    BoundedText<5> text;
    EXPECT_TRUE(text.Format("%d", 1234));
    EXPECT_FALSE(text.Format("%d", 12345)); // as many as there is room, without the terminator
    EXPECT_STREQ("1234", text.Get());
    EXPECT_FALSE(text.Format("%s", std::string(10000, 'x').c_str()));
    EXPECT_STREQ("xxxx", text.Get());
    char none = '~';
    EXPECT_FALSE(FormatCut(&none, 0, "x"));
    CopyCut(&none, 0, "x");
    EXPECT_EQ('~', none);
}

TEST(Text, FormatsAreThoseOfTheCLibrary)
{
    BoundedText<8> text;
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
    const char* volatile none = nullptr; // unseen by the compiler, which would warn
    const char* const missing = none;
    EXPECT_TRUE(text.Format("%s", missing));
    EXPECT_STREQ("(null)", text.Get());
}

TEST(MultiString, CountsAndMeasures)
{
    EXPECT_EQ(1U, MultiStringSize(""));
    EXPECT_EQ(0U, MultiStringCount(""));
    const char list[] = "a\0bcd\0";
    EXPECT_EQ(sizeof list, MultiStringSize(list));
    EXPECT_EQ(2U, MultiStringCount(list));
    EXPECT_STREQ("bcd", NextString(list));
}

struct CommandLineCase {
    const char* text;
    const char* program;
    const char* arguments;
};

const CommandLineCase kCommandLines[] = {
    {"", "", ""},
    {"C:\\a b.exe /x", "C:\\a b.exe /x", ""},
    {"\"C:\\a b.exe\" /x \"y z\"", "C:\\a b.exe", " /x \"y z\""},
    {"\"C:\\a.exe\"", "C:\\a.exe", ""},
    {"\"C:\\open.exe /x", "C:\\open.exe /x", ""},
    {"\"\"x", "", "x"},
    {"\"", "", ""},
    {" \"a\" b", " \"a\" b", ""},
};

TEST(CommandLine, IsTakenApart)
{
    for (const CommandLineCase& row : kCommandLines) {
        SCOPED_TRACE(row.text);
        const CommandLine line = SplitCommandLine(row.text);
        EXPECT_EQ(row.program, line.program);
        EXPECT_STREQ(row.arguments, line.arguments);
    }
}

} // namespace
