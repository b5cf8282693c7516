#include "base/multibyte.h"

#include <cstring>

namespace tarvo {
namespace {

/** What the process's code page says of each byte. Filled on first use; filling it twice at once does no harm. */
struct CodePage {
    bool filled = false;
    bool anyLead = false;
    bool isUtf8 = false; // the one page with characters of more than two bytes
    bool lead[256] = {}; // of double-byte characters
    unsigned char folded[256] = {};
};

constinit CodePage codePage;

/** A character's bytes. */
struct Character {
    char bytes[4] = {};
    size_t size = 0;

    /** As a number that no other character has. */
    unsigned Number() const
    {
        unsigned number = 0;
        for (size_t at = 0; at < size; ++at)
            number = number << 8 | static_cast<unsigned char>(bytes[at]);
        return number;
    }
};

char MapAscii(char character, DWORD mapping)
{
    const char first = mapping == LCMAP_LOWERCASE ? 'A' : 'a';
    const bool isOther = character >= first && character <= first + ('Z' - 'A');
    return isOther ? static_cast<char>(character ^ ('a' - 'A')) : character;
}

/** @return the bytes of the mapped character; 0 if it cannot be mapped */
size_t MapByUtf16(std::string_view text, DWORD mapping, Character& mapped)
{
    wchar_t wide[2];
    wchar_t other[2];
    const int size = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, wide, 2);
    if (units == 0 || LCMapStringW(LOCALE_SYSTEM_DEFAULT, mapping, wide, units, other, 2) != units)
        return 0;
    return static_cast<size_t>(
        WideCharToMultiByte(CP_ACP, 0, other, units, mapped.bytes, sizeof mapped.bytes, nullptr, nullptr));
}

/** Maps one character. One that has no other letter case, or cannot be mapped, stays as it is. */
Character MapCase(const CodePage& page, std::string_view text, DWORD mapping)
{
    if (static_cast<unsigned char>(text.front()) < 0x80)
        return {{MapAscii(text.front(), mapping)}, 1};
    Character mapped;
    const int size = static_cast<int>(text.size());
    // LCMapStringA knows no characters of more than two bytes, and takes the locale's code page unless told otherwise.
    mapped.size = page.isUtf8 ? MapByUtf16(text, mapping, mapped)
                              : static_cast<size_t>(LCMapStringA(LOCALE_SYSTEM_DEFAULT, mapping | LOCALE_USE_CP_ACP,
                                                                 text.data(), size, mapped.bytes, size));
    if (mapped.size == 0) {
        mapped.size = text.size();
        memcpy(mapped.bytes, text.data(), text.size());
    }
    return mapped;
}

/**
 * What is the same for all letters that names do not tell apart. The system compares names in capitals; but for UTF-8
 * a code page lacks some capitals, which would all become one question mark.
 */
Character Fold(const CodePage& page, std::string_view text)
{
    return MapCase(page, text, page.isUtf8 ? LCMAP_UPPERCASE : LCMAP_LOWERCASE);
}

void FillLeadBytes(CodePage& page)
{
    CPINFO info = {};
    if (!GetCPInfo(CP_ACP, &info))
        return;
    page.isUtf8 = info.MaxCharSize > 2;
    if (info.MaxCharSize != 2)
        return;
    for (int range = 0; range + 1 < MAX_LEADBYTES && info.LeadByte[range]; range += 2) {
        for (unsigned byte = info.LeadByte[range]; byte <= info.LeadByte[range + 1]; ++byte)
            page.lead[byte] = page.anyLead = true;
    }
}

void FillFolded(CodePage& page)
{
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        page.folded[byte] = static_cast<unsigned char>(byte);
        if (!page.lead[byte] && byte != 0)
            page.folded[byte] = static_cast<unsigned char>(Fold(page, {&character, 1}).bytes[0]);
    }
}

const CodePage& ThisCodePage()
{
    if (!codePage.filled) {
        FillLeadBytes(codePage);
        FillFolded(codePage);
        codePage.filled = true;
    }
    return codePage;
}

/** How many bytes a character of UTF-8 has by its first one. */
size_t Utf8Size(unsigned char first)
{
    if (first < 0xC0)
        return 1;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/** @param end  NULL: the text ends at its terminator, which continues no character. */
size_t CharLength(const CodePage& page, const char* text, const char* end = nullptr)
{
    const auto first = static_cast<unsigned char>(*text);
    if (page.lead[first])
        return text + 1 != end && text[1] ? 2 : 1;
    if (!page.isUtf8)
        return 1;
    size_t length = 1;
    while (length < Utf8Size(first) && text + length != end && (text[length] & 0xC0) == 0x80)
        ++length;
    return length;
}

/** Takes the characters of a text off its front, each folded. */
class FoldedReader {
public:
    explicit FoldedReader(std::string_view text) : page_(ThisCodePage()), at_(text.data()), end_(at_ + text.size()) {}

    bool AtEnd() const { return at_ == end_; }

    unsigned Take()
    {
        const char* const character = at_;
        const size_t length = CharLength(page_, character, end_);
        at_ += length;
        if (length == 1)
            return page_.folded[static_cast<unsigned char>(*character)];
        return Fold(page_, {character, length}).Number();
    }

private:
    const CodePage& page_;
    const char* at_;
    const char* end_;
};

/** @return whether one text begins with the other; rest is then behind it. */
bool SkipNoCase(FoldedReader& rest, std::string_view prefix)
{
    for (FoldedReader wanted(prefix); !wanted.AtEnd();) {
        if (rest.AtEnd() || rest.Take() != wanted.Take())
            return false;
    }
    return true;
}

/** Tells whether a mapped character can stand for the one it was made of, in its place. */
bool FitsFor(const CodePage& page, const Character& mapped, std::string_view text)
{
    return mapped.size <= text.size() && Fold(page, {mapped.bytes, mapped.size}).Number() == Fold(page, text).Number();
}

void MapCaseInPlace(char* text, DWORD mapping)
{
    const CodePage& page = ThisCodePage();
    char* write = text;
    for (const char* read = text; *read;) {
        const std::string_view character(read, CharLength(page, read));
        const Character mapped = MapCase(page, character, mapping);
        const bool fits = FitsFor(page, mapped, character);
        const std::string_view kept = fits ? std::string_view(mapped.bytes, mapped.size) : character;
        read += character.size();
        memmove(write, kept.data(), kept.size());
        write += kept.size();
    }
    *write = '\0';
}

} // namespace

bool IsLeadByte(char byte)
{
    return ThisCodePage().lead[static_cast<unsigned char>(byte)];
}

const char* NextChar(const char* text)
{
    return *text ? text + CharLength(ThisCodePage(), text) : text;
}

char* NextChar(char* text)
{
    return const_cast<char*>(NextChar(static_cast<const char*>(text)));
}

bool IsTrailByte(const char* start, const char* at)
{
    const CodePage& page = ThisCodePage();
    if (!page.anyLead)
        return false;
    // A byte that cannot lead ends a character, so the run of lead bytes
    // right before the place tells how the bytes pair up.
    const char* run = at;
    while (run > start && page.lead[static_cast<unsigned char>(run[-1])])
        --run;
    return (at - run) % 2 != 0;
}

const char* FindChar(const char* text, char wanted)
{
    const CodePage& page = ThisCodePage();
    if (!page.anyLead)
        return strchr(text, wanted);
    for (; *text; text += CharLength(page, text)) {
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
    const CodePage& page = ThisCodePage();
    for (size_t at = 0; at < text.size(); at += page.lead[static_cast<unsigned char>(text[at])] ? 2 : 1) {
        if (text[at] == wanted)
            return at;
    }
    return text.npos;
}

const char* FindLastChar(const char* text, char wanted)
{
    const CodePage& page = ThisCodePage();
    if (!page.anyLead)
        return strrchr(text, wanted);
    const char* last = nullptr;
    for (; *text; text += CharLength(page, text)) {
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
    const CodePage& page = ThisCodePage();
    if (!page.anyLead && !page.isUtf8)
        return strlen(text);
    size_t count = 0;
    for (; *text; text += CharLength(page, text))
        ++count;
    return count;
}

bool EqualNoCase(std::string_view left, std::string_view right)
{
    FoldedReader rest(left);
    return SkipNoCase(rest, right) && rest.AtEnd();
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    FoldedReader rest(text);
    return SkipNoCase(rest, prefix);
}

uint32_t HashNoCase(std::string_view text)
{
    uint32_t hash = 2166136261U; // FNV-1a
    for (FoldedReader rest(text); !rest.AtEnd();)
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
