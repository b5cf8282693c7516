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

/** One character in lower case, in the low 16 bits; moves text behind it. */
unsigned TakeLower(const ByteTable& bytes, const char*& text)
{
    if (CharLength(bytes, text) == 1)
        return bytes.lower[static_cast<unsigned char>(*text++)];
    char lower[2] = {text[0], text[1]};
    LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_LOWERCASE, text, 2, lower, 2);
    text += 2;
    return static_cast<unsigned>(static_cast<unsigned char>(lower[0]) << 8 | static_cast<unsigned char>(lower[1]));
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

char* FindSeparator(char* text)
{
    for (; *text; text = NextChar(text)) {
        if (*text == '\\' || *text == '/')
            return text;
    }
    return nullptr;
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

bool EqualNoCase(const char* left, const char* right)
{
    const ByteTable& bytes = Bytes();
    while (*left && *right) {
        if (TakeLower(bytes, left) != TakeLower(bytes, right))
            return false;
    }
    return *left == *right;
}

bool StartsWithNoCase(const char* text, const char* prefix)
{
    const ByteTable& bytes = Bytes();
    while (*prefix) {
        if (!*text || TakeLower(bytes, text) != TakeLower(bytes, prefix))
            return false;
    }
    return true;
}

uint32_t HashNoCase(const char* text)
{
    const ByteTable& bytes = Bytes();
    uint32_t hash = 2166136261U; // FNV-1a
    while (*text)
        hash = (hash ^ TakeLower(bytes, text)) * 16777619U;
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
