#include "base/multibyte.h"

#include <cstring>

namespace tarvo {
namespace {

/** What the code page says of each byte. Filled on first use; filling it twice at once does no harm. */
struct ByteTable {
    bool filled = false;
    bool anyLead = false;
    bool lead[256] = {};
    unsigned char lower[256] = {};
};

constinit ByteTable byteTable;

void FillLeadBytes(ByteTable& table)
{
    CPINFO info = {};
    if (!GetCPInfo(CP_ACP, &info) || info.MaxCharSize != 2)
        return;
    for (int range = 0; range + 1 < MAX_LEADBYTES && info.LeadByte[range]; range += 2) {
        for (unsigned byte = info.LeadByte[range]; byte <= info.LeadByte[range + 1]; ++byte)
            table.lead[byte] = table.anyLead = true;
    }
}

void FillLowerCase(ByteTable& table)
{
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char upper = static_cast<char>(byte);
        char lower = upper;
        if (!table.lead[byte] && byte != 0)
            LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_LOWERCASE, &upper, 1, &lower, 1);
        table.lower[byte] = static_cast<unsigned char>(lower);
    }
}

const ByteTable& Bytes()
{
    if (!byteTable.filled) {
        FillLeadBytes(byteTable);
        FillLowerCase(byteTable);
        byteTable.filled = true;
    }
    return byteTable;
}

size_t CharLength(const ByteTable& bytes, const char* text)
{
    return bytes.lead[static_cast<unsigned char>(*text)] && text[1] ? 2 : 1;
}

/** Takes the characters of a text off its front, each in lower case, in the low 16 bits. */
class LowerCaseReader {
public:
    explicit LowerCaseReader(std::string_view text) : bytes_(Bytes()), at_(text.data()), end_(at_ + text.size()) {}

    bool AtEnd() const { return at_ == end_; }

    unsigned Take()
    {
        const auto first = static_cast<unsigned char>(*at_);
        if (!bytes_.lead[first] || at_ + 1 == end_) {
            ++at_;
            return bytes_.lower[first];
        }
        char lower[2] = {at_[0], at_[1]};
        LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_LOWERCASE, at_, 2, lower, 2);
        at_ += 2;
        return static_cast<unsigned>(static_cast<unsigned char>(lower[0]) << 8 | static_cast<unsigned char>(lower[1]));
    }

private:
    const ByteTable& bytes_;
    const char* at_;
    const char* end_;
};

/** @return whether one text begins with the other; rest is then behind it. */
bool SkipNoCase(LowerCaseReader& rest, std::string_view prefix)
{
    for (LowerCaseReader wanted(prefix); !wanted.AtEnd();) {
        if (rest.AtEnd() || rest.Take() != wanted.Take())
            return false;
    }
    return true;
}

void MapCaseInPlace(char* text, DWORD mapping)
{
    const int length = static_cast<int>(strlen(text));
    if (length > 0)
        LCMapStringA(LOCALE_SYSTEM_DEFAULT, mapping, text, length, text, length);
}

} // namespace

bool IsLeadByte(char byte)
{
    return Bytes().lead[static_cast<unsigned char>(byte)];
}

const char* NextChar(const char* text)
{
    return *text ? text + CharLength(Bytes(), text) : text;
}

char* NextChar(char* text)
{
    return const_cast<char*>(NextChar(static_cast<const char*>(text)));
}

bool IsTrailByte(const char* start, const char* at)
{
    const ByteTable& bytes = Bytes();
    if (!bytes.anyLead)
        return false;
    // A byte that cannot lead ends a character, so the run of lead bytes
    // right before the place tells how the bytes pair up.
    const char* run = at;
    while (run > start && bytes.lead[static_cast<unsigned char>(run[-1])])
        --run;
    return (at - run) % 2 != 0;
}

const char* FindChar(const char* text, char wanted)
{
    const ByteTable& bytes = Bytes();
    if (!bytes.anyLead)
        return strchr(text, wanted);
    for (; *text; text += CharLength(bytes, text)) {
        if (*text == wanted)
            return text;
    }
    return nullptr;
}

char* FindChar(char* text, char wanted)
{
    return const_cast<char*>(FindChar(static_cast<const char*>(text), wanted));
}

size_t IndexOfChar(std::string_view text, char wanted)
{
    const ByteTable& bytes = Bytes();
    for (size_t at = 0; at < text.size(); at += bytes.lead[static_cast<unsigned char>(text[at])] ? 2 : 1) {
        if (text[at] == wanted)
            return at;
    }
    return text.npos;
}

const char* FindLastChar(const char* text, char wanted)
{
    const ByteTable& bytes = Bytes();
    if (!bytes.anyLead)
        return strrchr(text, wanted);
    const char* last = nullptr;
    for (; *text; text += CharLength(bytes, text)) {
        if (*text == wanted)
            last = text;
    }
    return last;
}

char* FindLastChar(char* text, char wanted)
{
    return const_cast<char*>(FindLastChar(static_cast<const char*>(text), wanted));
}

const char* FindSeparator(const char* text)
{
    for (; *text; text = NextChar(text)) {
        if (*text == '\\' || *text == '/')
            return text;
    }
    return nullptr;
}

char* FindSeparator(char* text)
{
    return const_cast<char*>(FindSeparator(static_cast<const char*>(text)));
}

char* FindDoubleBackslash(char* text)
{
    for (; *text; text = NextChar(text)) {
        if (text[0] == '\\' && text[1] == '\\')
            return text;
    }
    return nullptr;
}

size_t CountChars(const char* text)
{
    const ByteTable& bytes = Bytes();
    if (!bytes.anyLead)
        return strlen(text);
    size_t count = 0;
    for (; *text; text += CharLength(bytes, text))
        ++count;
    return count;
}

bool EqualNoCase(std::string_view left, std::string_view right)
{
    LowerCaseReader rest(left);
    return SkipNoCase(rest, right) && rest.AtEnd();
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    LowerCaseReader rest(text);
    return SkipNoCase(rest, prefix);
}

uint32_t HashNoCase(std::string_view text)
{
    uint32_t hash = 2166136261U; // FNV-1a
    for (LowerCaseReader rest(text); !rest.AtEnd();)
        hash = (hash ^ rest.Take()) * 16777619U;
    return hash;
}

void LowerInPlace(char* text)
{
    MapCaseInPlace(text, LCMAP_LOWERCASE);
}

void UpperInPlace(char* text)
{
    MapCaseInPlace(text, LCMAP_UPPERCASE);
}

} // namespace tarvo
