#include "pending/rename_value.h"

#include <cstring>
#include <cwchar>

#include "frame/trace.h"

namespace tarvo {
namespace {

constexpr wchar_t kValueName[] = L"PendingFileRenameOperations";
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

} // namespace

DWORD RenameValue::QuerySize(HKEY key, DWORD& bytes) const
{
    bytes = 0;
    return static_cast<DWORD>(RegQueryValueExW(key, kValueName, nullptr, nullptr, nullptr, &bytes));
}

DWORD RenameValue::QueryData(HKEY key, DWORD& bytes, bool& grew)
{
    DWORD type = REG_NONE;
    const auto code = static_cast<DWORD>(
        RegQueryValueExW(key, kValueName, nullptr, &type, reinterpret_cast<BYTE*>(data_.Get()), &bytes));
    grew = code == ERROR_MORE_DATA;
    if (code != ERROR_SUCCESS)
        return code;
    return IsTextType(type) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

/** Reads into the room that an earlier reading or writing has left, if the value is there and fits. */
bool RenameValue::ReadIntoRoom(HKEY key)
{
    auto bytes = static_cast<DWORD>(room_ * sizeof(wchar_t));
    bool grew = false;
    if (bytes == 0 || QueryData(key, bytes, grew) != ERROR_SUCCESS)
        return false;
    length_ = bytes / sizeof(wchar_t);
    return length_ != 0;
}

DWORD RenameValue::Read(HKEY key)
{
    length_ = 0;
    if (ReadIntoRoom(key))
        return ERROR_SUCCESS;
    DWORD code = ERROR_SUCCESS;
    bool grew = true;
    for (int read = 0; grew && read < kMaxReads; ++read) {
        DWORD bytes = 0;
        code = QuerySize(key, bytes);
        if (code == ERROR_FILE_NOT_FOUND || bytes == 0) {
            TracePrint(kInfo, 3, "%s", "PendingFileRenameOperations registry value does not exist.\n");
            return ERROR_SUCCESS;
        }
        if (code != ERROR_SUCCESS)
            break;
        if ((code = Reserve(bytes / sizeof(wchar_t) + 1)) != ERROR_SUCCESS)
            return code;
        const DWORD room = bytes;
        code = QueryData(key, bytes, grew);
        if (code == ERROR_SUCCESS)
            length_ = (bytes < room ? bytes : room) / sizeof(wchar_t);
    }
    if (code != ERROR_SUCCESS)
        TracePrint(kWarning, 3, "RegQueryValueEx failed to read [%s], error code: [%d].\n", kRenameValueName,
                   static_cast<int>(code));
    return code;
}

bool RenameValue::SameAs(const RenameValue& other) const
{
    return length_ == other.length_ &&
           (length_ == 0 || memcmp(data_.Get(), other.data_.Get(), length_ * sizeof(wchar_t)) == 0);
}

void RenameValue::Swap(RenameValue& other)
{
    RenameValue moved = static_cast<RenameValue&&>(other);
    other = static_cast<RenameValue&&>(*this);
    *this = static_cast<RenameValue&&>(moved);
}

/** Makes room for that many characters in all. What is there stays. */
DWORD RenameValue::Reserve(size_t room)
{
    if (room <= room_)
        return ERROR_SUCCESS;
    ExactText data;
    if (!data.Allocate(room)) {
        TracePrint(kWarning, 3, "%s", "Can't allocate memory.\n");
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (length_)
        memcpy(data.Get(), data_.Get(), length_ * sizeof(wchar_t));
    data_ = static_cast<ExactText&&>(data);
    room_ = room;
    return ERROR_SUCCESS;
}

DWORD RenameValue::ReserveFurther(size_t chars)
{
    const size_t needed = length_ + chars + 1;
    if (needed <= room_)
        return ERROR_SUCCESS;
    return Reserve(needed + needed / 2); // a value that grows pair by pair would else be moved each time
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

DWORD TextNarrower::Narrow(PairReader::Text wide, ExactText& exact)
{
    constexpr size_t kMaxBytesPerChar = 4;
    exact.Reset();
    if (const DWORD code = Reserve(wide.length * kMaxBytesPerChar + 1))
        return code;
    if (NarrowAscii(wide))
        return ERROR_SUCCESS;
    const int length = static_cast<int>(wide.length);
    const int bytes =
        WideCharToMultiByte(CP_ACP, 0, wide.begin, length, text_.Get(), static_cast<int>(room_ - 1), nullptr, nullptr);
    text_[static_cast<size_t>(bytes)] = '\0';
    // Only what comes back as it was is held by the code page: best-fit
    // characters and the default character do not.
    if (!exact.Allocate(wide.length + 1))
        return ERROR_NOT_ENOUGH_MEMORY;
    const int back = MultiByteToWideChar(CP_ACP, 0, text_.Get(), bytes, exact.Get(), length);
    if (back == length && wmemcmp(exact.Get(), wide.begin, wide.length) == 0) {
        exact.Reset();
        return ERROR_SUCCESS;
    }
    wmemcpy(exact.Get(), wide.begin, wide.length);
    exact[wide.length] = L'\0';
    return ERROR_SUCCESS;
}

size_t RenameValue::CharsOf(const PendingFileEntry& entry)
{
    return WideLength(entry.Source(), entry.ExactSource()) + 1 + WideLength(entry.Target(), entry.ExactTarget()) + 1;
}

void RenameValue::Add(const PendingFileEntry& entry)
{
    AddText(entry.Source(), entry.ExactSource());
    AddText(entry.Target(), entry.ExactTarget());
}

void RenameValue::AddText(const char* text, const wchar_t* exact)
{
    wchar_t* at = data_.Get() + length_;
    if (exact) {
        const size_t size = wcslen(exact) + 1;
        wmemcpy(at, exact, size);
        length_ += size;
        return;
    }
    size_t ascii = 0;
    for (; text[ascii] && IsAscii(static_cast<unsigned char>(text[ascii])); ++ascii)
        at[ascii] = static_cast<wchar_t>(text[ascii]);
    if (!text[ascii]) {
        at[ascii] = L'\0';
        length_ += ascii + 1;
        return;
    }
    length_ += static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, -1, at, static_cast<int>(room_ - length_)));
}

DWORD RenameValue::Store(HKEY key)
{
    data_[length_++] = L'\0';
    const LSTATUS code = RegSetValueExW(key, kValueName, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data_.Get()),
                                        static_cast<DWORD>(length_ * sizeof(wchar_t)));
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 3, "RegSetValueEx failed, error code: [%d].\n", static_cast<int>(code));
    return static_cast<DWORD>(code);
}

} // namespace tarvo
