// TARVO_ReadIniFileSection: which lines a section has, what they need, and where the bytes go.

#include <io.h>

#include <cstring>

#include "kit/double_byte.h"
#include "kit/kit.h"

namespace {

using Texts = std::vector<std::string>;

/** What a call gave, as one line: the code, the size it reported, the texts in the buffer. */
std::string Section(DWORD code, DWORD size, const Texts& texts)
{
    return std::to_string(code) + ", " + std::to_string(size) + ", " + testing::PrintToString(texts);
}

class IniSection : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        file_ = Scratch().Path("read.ini");
    }

    void Write(std::string_view content) { kit::WriteFile(file_, content); }

    DWORD Ask(const char* section)
    {
        DWORD size = 0;
        EXPECT_EQ(DWORD{ERROR_MORE_DATA}, TARVO_ReadIniFileSection(file_.c_str(), section, nullptr, &size));
        return size;
    }

    /** Reads into a buffer of exactly that many bytes; the page behind it is inaccessible. */
    std::string Read(const char* section, DWORD room)
    {
        const size_t page = 4096;
        const size_t pages = room / page + 1;
        char* const block = static_cast<char*>(VirtualAlloc(nullptr, (pages + 1) * page, MEM_RESERVE, PAGE_NOACCESS));
        VirtualAlloc(block, pages * page, MEM_COMMIT, PAGE_READWRITE);
        char* const buffer = block + pages * page - room;
        memset(buffer, kUnwritten, room);
        DWORD size = room;
        const DWORD code = TARVO_ReadIniFileSection(file_.c_str(), section, buffer, &size);
        written_ = std::string(buffer, room).find_last_not_of(kUnwritten) + 1;
        Texts texts;
        for (const char* text = buffer; written_ && *text; text += strlen(text) + 1)
            texts.emplace_back(text);
        VirtualFree(block, 0, MEM_RELEASE);
        const kit::FileLock nobodyHasIt(file_);
        return Section(code, size, texts);
    }

    static constexpr char kUnwritten = '\x7E';
    std::string file_;
    size_t written_ = 0; // bytes at the buffer, up to the last one changed
};

struct SectionRow {
    const char* fact;
    std::string_view file;
    const char* section;
    DWORD required;
    Texts texts;
};

using namespace std::string_view_literals;

const SectionRow kSections[] = {
    {"line ends, blanks in front and empty lines count", "[x]\n[s]\na=1\n   b=2\n\n", "s", 16, {"a=1", "b=2"}},
    {"CR LF is one line end", "[x]\r\n[s]\r\na=1\r\n   b=2\r\n\r\n", "s", 16, {"a=1", "b=2"}},
    {"an empty file has no section", "", "s", 2, {}},
    {"a missing section is empty", "[t]\na\n", "s", 2, {}},
    {"a section may be empty", "[s]\n[t]\na\n", "s", 2, {}},
    {"lines of blanks alone count, but are left out", "[s]\n \t \n", "s", 6, {}},
    {"lines before the first header belong to none", "a\n[s]\nb\n", "s", 4, {"b"}},
    {"letter case does not matter", "[sECTION one]\na\n", "SectioN OnE", 4, {"a"}},
    {"names match as a whole", "[ss]\na\n[s]\nb\n", "s", 4, {"b"}},
    {"a blank in the name counts", "[s ]\na\n[s]\nb\n", "s", 4, {"b"}},
    {"only the first of two is read", "[s]\na\n[t]\nx\n[s]\nb\n", "s", 4, {"a"}},
    {"the second of two in a row ends the first", "[s]\na\n[s]\nb\n", "s", 4, {"a"}},
    {"blanks may stand before a header", "  [s]\na\n  [t]\nb\n", "s", 4, {"a"}},
    {"with a tab before it a header is a line", "[s]\na\n\t[t]\nb\n", "s", 13, {"a", "[t]", "b"}},
    {"with a tab before it a header begins nothing", "\t[s]\na\n", "s", 2, {}},
    {"without its bracket a header is a line", "[s]\na\n[t\nb\n", "s", 11, {"a", "[t", "b"}},
    {"without its bracket a header begins nothing", "[s\na\n", "s", 2, {}},
    {"text behind the bracket is ignored", "[s] ; first]\na\n", "s", 4, {"a"}},
    {"the first bracket ends the name", "[s]x]\na\n", "s]x", 2, {}},
    {"the name may be empty", "[]\na\n", "", 4, {"a"}},
    {"comments and blanks at the end stay", "[s]\n; c\nk = v \t\n", "s", 15, {"; c", "k = v \t"}},
    {"the last line needs no line end", "[s]\na", "s", 3, {"a"}},
    {"a zero in a line ends it", "[s]\nab\0cd\ne\n"sv, "s", 7, {"ab", "e"}},
};

TEST_F(IniSection, LinesAndRequiredSize)
{
    for (const SectionRow& row : kSections) {
        SCOPED_TRACE(row.fact);
        Write(row.file);
        EXPECT_EQ(row.required, Ask(row.section));
        EXPECT_EQ(Section(0, row.required, row.texts), Read(row.section, row.required));
    }
}

TEST_F(IniSection, TrailByteEndsNoHeader)
{
    const kit::DoubleByteCodePage japanese;
    Write("[\x83]\na\n[\x83]]\nb\n[s]\nc\n");
    EXPECT_EQ(Section(0, 4, {"b"}), Read("\x83]", 4));
    EXPECT_EQ(Section(0, 4, {"c"}), Read("s", 4));
}

TEST_F(IniSection, SizesAroundTheRequiredOne)
{
    Write("[s]\na=1\n   b=2\n\n");
    for (const DWORD room : {0, 1, 2, 9, 15}) {
        EXPECT_EQ(Section(ERROR_MORE_DATA, 16, {}), Read("s", room)) << room;
        EXPECT_EQ(0U, written_) << room;
    }
    for (const DWORD room : {16, 17, 100000}) {
        EXPECT_EQ(Section(0, 16, {"a=1", "b=2"}), Read("s", room)) << room;
        EXPECT_EQ(9U, written_) << room; // the size is an upper bound
    }
}

struct LongLineRow {
    size_t length; // without the line feed
    DWORD required;
    std::vector<size_t> pieces;
};

// The counting pass takes 1022 bytes at a time, the copying one 1023.
const LongLineRow kLongLines[] = {
    {1020, 1023 + 4, {1020}},           {1021, 1024 + 4, {1021}},    {1022, 1026 + 4, {1022}},
    {1023, 1027 + 4, {1023}},           {1024, 1028 + 4, {1023, 1}}, {1025, 1029 + 4, {1023, 2}},
    {2100, 2105 + 4, {1023, 1023, 54}},
};

TEST_F(IniSection, LongLinesComeInPieces)
{
    for (const LongLineRow& row : kLongLines) {
        SCOPED_TRACE(row.length);
        Write("[s]\n" + std::string(row.length, 'x') + "\nb=\n");
        Texts texts;
        for (const size_t piece : row.pieces)
            texts.emplace_back(piece, 'x');
        texts.emplace_back("b=");
        EXPECT_EQ(row.required, Ask("s"));
        EXPECT_EQ(Section(0, row.required, texts), Read("s", row.required));
    }
}

struct HeaderInALineRow {
    const char* fact;
    std::string file;
    DWORD required; // as the counting pass finds it
    DWORD needed;   // as the lines really are; the same where that is enough
    Texts texts;
};

const std::string kCounted(1022, 'x'); // as much of a line as the counting pass takes at once
const std::string kCopied(1023, 'x');
const HeaderInALineRow kHeadersInALine[] = {
    {"the counting pass stops at it",
     "[s]\n" + kCounted + "[t]\nbehind\n",
     1024,
     1024 + 3 + 7 + 1,
     {kCounted + "[", "t]", "behind"}},
    {"the counting pass never gets inside", "[o]\n" + kCopied + "[s]\none\ntwo\n", 2, 9, {"one", "two"}},
    {"the copying pass stops at it",
     "[s]\n" + kCopied + "[t]\nbehind\n",
     1 + 1023 + 6 + 8,
     1 + 1023 + 6 + 8,
     {kCopied}},
    {"the copying pass never gets inside", "[o]\n" + kCounted + "[s]\nbehind\n", 9, 9, {}},
};

TEST_F(IniSection, PieceThatLooksLikeAHeader)
{
    for (const HeaderInALineRow& row : kHeadersInALine) {
        SCOPED_TRACE(row.fact);
        Write(row.file);
        EXPECT_EQ(row.required, Ask("s"));
        if (row.needed != row.required) {
            for (const DWORD room : {row.required, row.needed - 1})
                EXPECT_EQ(Section(ERROR_MORE_DATA, row.needed, {}), Read("s", room)) << room;
        }
        EXPECT_EQ(Section(0, row.required, row.texts), Read("s", row.needed));
    }
}

TEST_F(IniSection, MissingArgumentsAndFiles)
{
    Write("[s]\na\n");
    const std::string missing = Scratch().Path("missing.ini");
    char buffer[] = "abc";
    DWORD size = 77;
    EXPECT_EQ(87U, TARVO_ReadIniFileSection(nullptr, "s", buffer, &size));
    EXPECT_EQ(87U, TARVO_ReadIniFileSection(file_.c_str(), nullptr, buffer, &size));
    EXPECT_TRUE(kit::Gives(87, TARVO_ReadIniFileSection(file_.c_str(), "s", buffer, nullptr)));
    EXPECT_EQ(2U, TARVO_ReadIniFileSection(missing.c_str(), "s", buffer, &size));
    EXPECT_TRUE(kit::Gives(2, TARVO_ReadIniFileSection(Scratch().Path().c_str(), "s", buffer, &size))) << "a folder";
    const kit::FileLock lock(file_);
    EXPECT_EQ(2U, TARVO_ReadIniFileSection(file_.c_str(), "s", buffer, &size)) << "a locked file";
    EXPECT_STREQ("abc", buffer);
    EXPECT_EQ(77U, size);
}

} // namespace
