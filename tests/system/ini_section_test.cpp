// TARVO_ReadIniFileSection: what random files give, held against a model.

#include <algorithm>
#include <cstring>

#include "kit/dice.h"
#include "kit/kit.h"

namespace {

using IniSection = kit::LibraryTest;
using Texts = std::vector<std::string>;

/** The lines of a section, line feeds included. */
Texts LinesOf(std::string content, const std::string& section)
{
    Texts lines;
    bool inside = false;
    while (!content.empty()) {
        const size_t end = std::min(content.find('\n'), content.size() - 1) + 1;
        const std::string line = content.substr(0, end).c_str(); // a zero ends it
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

/** @return the texts of lines, each with a zero behind it, and with another behind the last. */
std::string ListOf(const Texts& lines)
{
    std::string list;
    for (const std::string& line : lines) {
        const std::string text = line.substr(0, line.find('\n'));
        if (const size_t first = text.find_first_not_of(" \t"); first != text.npos)
            list += text.substr(first) + '\0';
    }
    return list.empty() ? std::string(2, '\0') : list + '\0';
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
        const std::string file = Scratch().Make("read.ini", content);
        for (size_t at = 0; (at = content.find("\r\n", at)) != content.npos; ++at)
            content.erase(at, 1);
        const std::string section = dice.Of(Texts{"s", "s", "S", "s ", "", "ss"});
        size_t required = 1;
        for (const std::string& line : LinesOf(content, section))
            required += line.size() + 1;
        required = std::max<size_t>(required, 2);
        const std::string list = ListOf(LinesOf(content, section));
        for (const size_t room : {size_t{0}, required - 1, required, size_t{40000}}) {
            SCOPED_TRACE(kit::Dice::Place(step) + ", " + std::to_string(room));
            std::string buffer(room + 9, '~');
            DWORD size = static_cast<DWORD>(room);
            const bool fits = room >= required;
            EXPECT_EQ(fits ? 0U : 234U, TARVO_ReadIniFileSection(file.c_str(), section.c_str(), buffer.data(), &size));
            EXPECT_EQ(required, size);
            EXPECT_EQ("~~~~~~~~~", buffer.substr(room));
            EXPECT_EQ(fits ? list : "", buffer.substr(0, buffer.find_last_not_of('~') + 1));
        }
    }
}

} // namespace
