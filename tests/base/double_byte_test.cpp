// Texts in a code page with double-byte characters. The product asks the
// system for its code page; here the system answers as one with page 932.

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "base/multibyte.h"
#include "base/path.h"
#include "kit/import_hook.h"

namespace {

using namespace tarvo;

constexpr UINT kPage = 932;

/** Takes GetCPInfo and LCMapStringA, all that the product asks, to page 932 before it asks for the first time. */
class JapaneseSystem : public testing::Environment {
    void SetUp() override
    {
        const HMODULE program = GetModuleHandleA(nullptr);
        info_.emplace("GetCPInfo", &GetCPInfo, program);
        info_->Answer(
            [this](UINT page, CPINFO* info) { return info_->Original()(page == CP_ACP ? kPage : page, info); });
        map_.emplace("LCMapStringA", &LCMapStringA, program);
        map_->Answer([](LCID locale, DWORD mapping, const char* text, int length, char* mapped, int size) {
            wchar_t wide[100];
            wchar_t wideMapped[100];
            const int count = MultiByteToWideChar(kPage, 0, text, length, wide, 100);
            LCMapStringW(locale, mapping, wide, count, wideMapped, 100);
            return WideCharToMultiByte(kPage, 0, wideMapped, count, mapped, size, nullptr, nullptr);
        });
    }
    void TearDown() override
    {
        map_.reset();
        info_.reset();
    }

    std::optional<kit::ImportHook<decltype(&GetCPInfo)>> info_;
    std::optional<kit::ImportHook<decltype(&LCMapStringA)>> map_;
};

const testing::Environment* const environment = testing::AddGlobalTestEnvironment(new JapaneseSystem);

// Each is one character; their second bytes are a backslash, "a", "A" and a lead byte.
#define KATAKANA_SO "\x83\x5C"
#define KATAKANA_CHI "\x83\x61"
#define KATAKANA_A "\x83\x41"
#define LEAD_IN_SECOND_PLACE "\x88\x9F"

TEST(DoubleByte, SecondByteIsNoSeparator)
{
    char text[] = "a" KATAKANA_SO "\\b";
    EXPECT_EQ(text + 3, FindChar(text, '\\'));
    EXPECT_EQ(text + 3, FindSeparator(text));
    char twice[] = KATAKANA_SO "\\c" KATAKANA_SO;
    EXPECT_EQ(nullptr, FindDoubleBackslash(twice));
    EXPECT_EQ(twice + 2, FindLastChar(twice, '\\'));
}

TEST(DoubleByte, CharactersAreCountedOnce)
{
    EXPECT_EQ(3U, CountChars("a" KATAKANA_SO "b"));
    EXPECT_EQ(2U, CountChars(LEAD_IN_SECOND_PLACE LEAD_IN_SECOND_PLACE));
    EXPECT_EQ(2U, CountChars("\xB1\xB2")); // half-width letters are single bytes
    EXPECT_EQ(2U, CountChars("a\x83"));    // a lead byte at the end is a character of its own
}

TEST(DoubleByte, LeadByteAtTheEndIsNotFollowed)
{
    const char text[] = "\x83\0\\";
    EXPECT_EQ(text + 1, NextChar(text));
    EXPECT_EQ(nullptr, FindChar(text, '\\'));
    EXPECT_TRUE(EqualNoCase("\x83", "\x83"));
    EXPECT_FALSE(EqualNoCase("\x83", KATAKANA_A));
}

TEST(DoubleByte, TellsSecondBytes)
{
    const std::string text = "x" LEAD_IN_SECOND_PLACE LEAD_IN_SECOND_PLACE KATAKANA_SO "\\";
    const bool second[] = {false, false, true, false, true, false, true, false};
    for (size_t at = 0; at < text.size(); ++at)
        EXPECT_EQ(second[at], IsTrailByte(text.c_str(), text.c_str() + at)) << at;
}

TEST(DoubleByte, LettersOfSecondBytesHaveNoCase)
{
    EXPECT_FALSE(EqualNoCase(KATAKANA_CHI, KATAKANA_A));
    EXPECT_FALSE(StartsWithNoCase(KATAKANA_CHI "x", KATAKANA_A));
    EXPECT_NE(HashNoCase(KATAKANA_CHI), HashNoCase(KATAKANA_A));
    EXPECT_TRUE(EqualNoCase(KATAKANA_A "X", KATAKANA_A "x"));
    char text[] = KATAKANA_A "A";
    LowerInPlace(text);
    EXPECT_STREQ(KATAKANA_A "a", text);
}

TEST(DoubleByte, WideLettersHaveCase)
{
    const char* const upper = "\x82\x60"; // full-width A
    const char* const lower = "\x82\x81";
    EXPECT_TRUE(EqualNoCase(upper, lower));
    EXPECT_EQ(HashNoCase(upper), HashNoCase(lower));
}

TEST(DoubleByte, PathsSplitAndJoinAtRealSeparators)
{
    const char* const path = "C:\\" KATAKANA_SO "\\x" KATAKANA_SO ".txt";
    EXPECT_EQ("C:\\" KATAKANA_SO "\\", FolderPart(SplitPath(path)));
    EXPECT_EQ("x" KATAKANA_SO ".txt", FilePart(SplitPath(path)));
    char joined[100];
    EXPECT_TRUE(JoinPath(joined, sizeof joined, "C:\\" KATAKANA_SO, "f"));
    EXPECT_STREQ("C:\\" KATAKANA_SO "\\f", joined);
}

} // namespace
