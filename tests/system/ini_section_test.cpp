// TARVO_ReadIniFileSection: which lines a section has, what they need, and where the bytes go.

#include <algorithm>
#include <cstring>

#include "kit/dice.h"
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

/** The lines of a section, as a pass reads them that takes at most so many bytes of a line at once. */
Texts LinesOf(std::string content, const std::string& section, size_t longest)
{
    Texts lines;
    bool inside = false;
    while (!content.empty()) {
        const size_t end = std::min({content.find('\n'), content.size() - 1, longest - 1}) + 1;
        std::string line = content.substr(0, end);
        line.resize(std::min(line.find('\0'), line.size())); // a zero ends it
        content.erase(0, end);
        const size_t open = line.find_first_not_of(' ');
        const size_t close = line.find(']');
        if (open == line.npos || line[open] != '[' || close == line.npos) {
            if (inside)
                lines.push_back(line);
        } else if (inside) {
            break;
        } else {
            inside = _stricmp(line.substr(open + 1, close - open - 1).c_str(), section.c_str()) == 0;
        }
    }
    return lines;
}

DWORD SizeOf(const Texts& texts)
{
    size_t size = 1;
    for (const std::string& text : texts)
        size += text.size() + 1;
    return static_cast<DWORD>(size == 1 ? 2 : size);
}

Texts Trimmed(const Texts& lines)
{
    Texts texts;
    for (const std::string& line : lines) {
        const std::string text = line.substr(0, line.find('\n'));
        if (const size_t first = text.find_first_not_of(" \t"); first != text.npos)
            texts.push_back(text.substr(first));
    }
    return texts;
}

std::string SomeFile(kit::Dice& dice)
{
    const Texts pieces = {"\n",    "\n",   "\n", "\r\n",   "\r\n", "\r",  std::string(1, '\0'),
                          " ",     "\t",   "a",  "k = v ", "; c",  "[s]", "[s]",
                          "[S]\n", "[s ]", "[]", "[",      "]",    "[t]"};
    std::string file;
    for (int left = dice.Below(25); left; --left)
        file += dice.OneIn(12) ? std::string(static_cast<size_t>(1015 + dice.Below(12)), 'x') : dice.Of(pieces);
    return file;
}

TEST_F(IniSection, EveryFileIsReadByTheRules)
{
    kit::Dice dice;
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        std::string content = SomeFile(dice);
        Write(content);
        SCOPED_TRACE(kit::Dice::Place(step));
        for (size_t at = 0; (at = content.find("\r\n", at)) != content.npos; ++at)
            content.erase(at, 1);
        const std::string section = dice.Of(Texts{"s", "s", "S", "s ", "", "ss"});
        // The counting pass takes 1022 bytes at a time, the copying one 1023.
        const DWORD required = SizeOf(LinesOf(content, section, 1022));
        const Texts texts = Trimmed(LinesOf(content, section, 1023));
        const DWORD needed = SizeOf(texts);
        DWORD size = 0;
        EXPECT_EQ(DWORD{ERROR_MORE_DATA}, TARVO_ReadIniFileSection(file_.c_str(), section.c_str(), nullptr, &size));
        EXPECT_EQ(required, size);
        for (const DWORD room : {0UL, required - 1, required, needed - 1, needed, required + needed}) {
            SCOPED_TRACE(room);
            const bool fits = room >= required && room >= needed;
            const DWORD asked = room >= required && !fits ? needed : required;
            EXPECT_EQ(Section(fits ? 0 : ERROR_MORE_DATA, asked, fits ? texts : Texts()), Read(section.c_str(), room));
            if (fits || room < required) {
                EXPECT_EQ(fits ? needed : 0, written_);
            }
        }
    }
}

TEST_F(IniSection, AnUpperBoundIsReported)
{
    Write("[s]\na=1\n   b=2\n\n");
    EXPECT_EQ(Section(0, 16, {"a=1", "b=2"}), Read("s", 16));
    EXPECT_EQ(9U, written_);
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
