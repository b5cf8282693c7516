#include "pending/rename_value.h"

#include <winternl.h>

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "frame/trace.h"

extern "C" NTSTATUS NTAPI NtQueryValueKey(HANDLE key, const UNICODE_STRING* name, int informationClass,
                                          void* information, ULONG size, ULONG* needed);

namespace tarvo {
namespace {

constexpr int kMaxReads = 8;

bool IsTextType(DWORD type)
{
    return type == REG_MULTI_SZ || type == REG_SZ || type == REG_EXPAND_SZ;
}

size_t WideLength(const char* text, const wchar_t* exact)
{
    // No code page gives more characters than it has bytes.
    return exact ? wcslen(exact) : strlen(text);
}

bool IsAscii(wchar_t character)
{
    return character < 0x80;
}

/** In steps of eight bytes: the runtime's comparison takes as long as reading the value does. */
bool SameChars(const wchar_t* left, const wchar_t* right, size_t count)
{
    constexpr size_t kStep = sizeof(uint64_t) / sizeof(wchar_t);
    for (; count >= kStep; count -= kStep, left += kStep, right += kStep) {
        uint64_t parts[2];
        memcpy(&parts[0], left, sizeof parts[0]);
        memcpy(&parts[1], right, sizeof parts[1]);
        if (parts[0] != parts[1])
            return false;
    }
    for (; count && *left == *right; --count, ++left, ++right) {
    }
    return count == 0;
}

/** In steps of four bytes: most of a merge is this. @return false if there is another character */
bool WidenAscii(const char* text, size_t count, wchar_t* wide)
{
    uint32_t bits = 0;
    for (; count >= sizeof bits; count -= sizeof bits, text += sizeof bits, wide += sizeof bits) {
        uint32_t bytes;
        memcpy(&bytes, text, sizeof bytes);
        bits |= bytes;
        const uint32_t pairs[] = {(bytes & 0xFF) | (bytes & 0xFF00) << 8,
                                  (bytes >> 16 & 0xFF) | (bytes >> 8 & 0xFF0000)};
        memcpy(wide, pairs, sizeof pairs);
    }
    for (; count; --count)
        bits |= * wide++ = static_cast<unsigned char>(*text++);
    return (bits & 0x80808080) == 0;
}

/** @return the length of a star and digits in front of a stored form. */
size_t MarkerLength(PairReader::Text text)
{
    size_t at = 1;
    if (text.length == 0 || text.begin[0] != L'*')
        return 0;
    while (at < text.length && text.begin[at] >= L'0' && text.begin[at] <= L'9')
        ++at;
    const bool stored = at < text.length && (text.begin[at] == L'\\' || text.begin[at] == L'!');
    return stored && at > 1 ? at : 0;
}

} // namespace

DWORD RenameValue::QueryData(HKEY key, const wchar_t* name, DWORD& bytes, bool& grew)
{
    DWORD type = REG_NONE;
    const auto code =
        static_cast<DWORD>(RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(Chars()), &bytes));
    grew = code == ERROR_MORE_DATA;
    if (code != ERROR_SUCCESS)
        return code;
    return IsTextType(type) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

/**
 * Reads into the room that an earlier reading or writing has left, if the value is there and fits: by the call that
 * MoveFileEx uses itself, for RegQueryValueEx would read into a block of its own first and then copy.
 */
bool RenameValue::ReadIntoRoom(HKEY key, const wchar_t* name)
{
    if (room_ == 0)
        return false;
    constexpr int kPartialInformation = 2;
    const auto nameBytes = static_cast<USHORT>(wcslen(name) * sizeof(wchar_t));
    const UNICODE_STRING value = {nameBytes, nameBytes, const_cast<wchar_t*>(name)};
    const auto bytes = static_cast<ULONG>((kHeaderChars + room_) * sizeof(wchar_t));
    ULONG read = 0;
    if (NtQueryValueKey(key, &value, kPartialInformation, block_.Get(), bytes, &read) != 0)
        return false;
    Header header;
    memcpy(&header, block_.Get(), sizeof header);
    if (!IsTextType(header.type))
        return false;
    length_ = header.bytes / sizeof(wchar_t);
    return length_ != 0;
}

DWORD RenameValue::Read(HKEY key, const wchar_t* name)
{
    length_ = 0;
    state_ = ERROR_SUCCESS;
    if (ReadIntoRoom(key, name))
        return ERROR_SUCCESS;
    DWORD code = ERROR_SUCCESS;
    bool grew = true;
    for (int read = 0; grew && read < kMaxReads; ++read) {
        DWORD bytes = 0;
        code = static_cast<DWORD>(RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &bytes));
        if (code == ERROR_FILE_NOT_FOUND || bytes == 0) {
            state_ = code;
            TracePrint(kInfo, 3, "%ls registry value does not exist.\n", name);
            return ERROR_SUCCESS;
        }
        if (code != ERROR_SUCCESS)
            break;
        if ((code = Reserve(bytes / sizeof(wchar_t) + 1)) != ERROR_SUCCESS)
            return code;
        const DWORD room = bytes;
        if (ReadIntoRoom(key, name))
            return ERROR_SUCCESS;
        code = QueryData(key, name, bytes, grew);
        if (code == ERROR_SUCCESS)
            length_ = (bytes < room ? bytes : room) / sizeof(wchar_t);
    }
    if (code != ERROR_SUCCESS)
        TracePrint(kWarning, 3, "RegQueryValueEx failed to read [%ls], error code: [%d].\n", name,
                   static_cast<int>(code));
    return code;
}

bool RenameValue::SameAs(const RenameValue& other) const
{
    if (state_ != other.state_ || length_ != other.length_)
        return false;
    return length_ == 0 || SameChars(Chars(), other.Chars(), length_);
}

void RenameValue::Swap(RenameValue& other)
{
    RenameValue moved = static_cast<RenameValue&&>(other);
    other = static_cast<RenameValue&&>(*this);
    *this = static_cast<RenameValue&&>(moved);
}

/** Makes room for that many characters in all. What is there goes. */
DWORD RenameValue::Reserve(size_t room)
{
    length_ = 0;
    if (room <= room_)
        return ERROR_SUCCESS;
    room_ = 0;
    if (!block_.Allocate(kHeaderChars + room)) {
        TracePrint(kWarning, 3, "%s", "Can't allocate memory.\n");
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    room_ = room;
    return ERROR_SUCCESS;
}

DWORD RenameValue::Start(const RenameValue* front, size_t chars)
{
    const size_t before = front ? front->length_ - 1 : 0; // without the closing zero
    const size_t needed = before + chars + 1;
    // A value that grows pair by pair would else get a new block each time.
    if (const DWORD code = Reserve(needed <= room_ ? needed : needed + needed / 2))
        return code;
    if (before)
        memcpy(Chars(), front->Chars(), before * sizeof(wchar_t));
    length_ = before;
    return ERROR_SUCCESS;
}

PairReader::Text PairReader::Take()
{
    const wchar_t* begin = at_;
    while (at_ < end_ && *at_)
        ++at_;
    const Text text = {begin, static_cast<size_t>(at_ - begin)};
    if (at_ < end_)
        ++at_;
    return text;
}

bool PairReader::Next(Text& source, Text& target)
{
    source = Take();
    if (source.length == 0)
        return false;
    target = Take();
    return true;
}

DWORD TextNarrower::Reserve(size_t bytes)
{
    if (bytes <= room_)
        return ERROR_SUCCESS;
    room_ = 0;
    if (!text_.Allocate(bytes))
        return ERROR_NOT_ENOUGH_MEMORY;
    room_ = bytes;
    return ERROR_SUCCESS;
}

bool TextNarrower::NarrowAscii(PairReader::Text wide)
{
    for (size_t i = 0; i < wide.length; ++i) {
        if (!IsAscii(wide.begin[i]))
            return false;
        text_[i] = static_cast<char>(wide.begin[i]);
    }
    text_[wide.length] = '\0';
    return true;
}

/** @param scratch  Has room for as many characters. */
bool TextNarrower::NarrowAny(PairReader::Text wide, wchar_t* scratch)
{
    const int length = static_cast<int>(wide.length);
    const int bytes =
        WideCharToMultiByte(CP_ACP, 0, wide.begin, length, text_.Get(), static_cast<int>(room_ - 1), nullptr, nullptr);
    text_[static_cast<size_t>(bytes)] = '\0';
    // Only what comes back as it was is held by the code page: best-fit
    // characters and the default character do not.
    const int back = MultiByteToWideChar(CP_ACP, 0, text_.Get(), bytes, scratch, length);
    return back == length && wmemcmp(scratch, wide.begin, wide.length) == 0;
}

DWORD TextNarrower::Narrow(PairReader::Text wide, ExactText& exact)
{
    constexpr size_t kMaxBytesPerChar = 4;
    exact = ExactText();
    const size_t marker = MarkerLength(wide);
    const PairReader::Text text = {wide.begin + marker, wide.length - marker};
    if (const DWORD code = Reserve(text.length * kMaxBytesPerChar + 1))
        return code;
    const bool ascii = NarrowAscii(text);
    if (ascii && !marker)
        return ERROR_SUCCESS;
    if (!exact.text.Allocate(wide.length + 1))
        return ERROR_NOT_ENOUGH_MEMORY;
    wchar_t* const copy = exact.text.Get();
    if (!ascii && !NarrowAny(text, copy))
        exact.unheld = copy + marker;
    else if (!marker)
        return exact.text.Reset(), ERROR_SUCCESS;
    wmemcpy(copy, wide.begin, wide.length);
    copy[wide.length] = L'\0';
    return ERROR_SUCCESS;
}

bool NarrowedPairs::Next()
{
    if (!pairs_.Next(wideSource_, wideTarget_))
        return false;
    code_ = source_.Narrow(wideSource_, exactSource_);
    if (code_ == ERROR_SUCCESS)
        code_ = target_.Narrow(wideTarget_, exactTarget_);
    return true;
}

void NarrowedPairs::HandExactTo(PendingFileEntry& entry)
{
    entry.SetExact(static_cast<ExactText&&>(exactSource_), static_cast<ExactText&&>(exactTarget_));
}

size_t RenameValue::CharsOf(const PendingFileEntry& entry)
{
    return WideLength(entry.Source(), entry.ExactSource()) + 1 + WideLength(entry.Target(), entry.ExactTarget()) + 1;
}

void RenameValue::AddChars(const wchar_t* text, size_t length)
{
    memcpy(Chars() + length_, text, length * sizeof(wchar_t));
    length_ += length;
    Chars()[length_++] = L'\0';
}

void RenameValue::Add(const PendingFileEntry& entry)
{
    AddText(entry.Source(), entry.ExactSource());
    AddText(entry.Target(), entry.ExactTarget());
}

void RenameValue::AddText(const char* text, const wchar_t* exact)
{
    if (exact)
        return AddChars(exact, wcslen(exact));
    const size_t length = strlen(text);
    wchar_t* const at = Chars() + length_;
    const bool ascii = WidenAscii(text, length + 1, at);
    length_ +=
        ascii ? length + 1
              : static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, -1, at, static_cast<int>(room_ - length_)));
}

DWORD RenameValue::Store(HKEY key, const wchar_t* name)
{
    Chars()[length_++] = L'\0';
    state_ = ERROR_SUCCESS;
    const LSTATUS code = RegSetValueExW(key, name, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(Chars()),
                                        static_cast<DWORD>(length_ * sizeof(wchar_t)));
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "RegSetValueEx failed, error code: [%d].\n", static_cast<int>(code));
    return static_cast<DWORD>(code);
}

} // namespace tarvo
