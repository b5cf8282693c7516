#include "registry/library_list.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>

#include "base/multibyte.h"
#include "registry/file_version.h"

namespace tarvo {
namespace {

constexpr int kMaxBytesPerUnit = 4; // that a wide character has in any code page

bool EndsHere(const wchar_t* at, const wchar_t* end)
{
    while (at < end && *at == L'\0')
        ++at;
    return at == end;
}

} // namespace

DWORD LibraryList::Read(HKEY key, const wchar_t* valueName, DWORD bytes)
{
    const size_t room = bytes / sizeof(wchar_t) + 2; // with the closing zeros, should they be missing
    if (!data_.AllocateZeroed(room))
        return ERROR_NOT_ENOUGH_MEMORY;
    DWORD type = REG_NONE;
    const LSTATUS code = RegQueryValueExW(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(data_.Get()), &bytes);
    if (code != ERROR_SUCCESS)
        return static_cast<DWORD>(code);
    const wchar_t* end = data_.Get();
    while (*end)
        end += wcslen(end) + 1;
    if (type != REG_MULTI_SZ || !EndsHere(end, data_.Get() + room))
        return ERROR_INVALID_DATA;
    return Parse(static_cast<size_t>(end - data_.Get())) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

/** @param length  Characters of the texts, each with its zero. */
bool LibraryList::Parse(size_t length)
{
    const size_t texts = static_cast<size_t>(std::count(data_.Get(), data_.Get() + length, L'\0'));
    const int wideRoom = static_cast<int>(length + 1);
    int room = wideRoom * kMaxBytesPerUnit;
    HeapArray<wchar_t> back;
    if (!copies_.Allocate(texts + 1) || !narrow_.Allocate(static_cast<size_t>(room)) || !back.Allocate(length + 1))
        return false;
    char* path = narrow_.Get();
    for (const wchar_t* stored = data_.Get(); *stored; stored += wcslen(stored) + 1) {
        const int bytes = WideCharToMultiByte(CP_ACP, 0, stored, -1, path, room, nullptr, nullptr);
        MultiByteToWideChar(CP_ACP, 0, path, -1, back.Get(), wideRoom);
        copies_[count_++] = {path, stored, wcscmp(back.Get(), stored) == 0};
        path += bytes;
        room -= bytes;
    }
    return true;
}

void LibraryList::Remove(const char* path)
{
    size_t kept = 0;
    for (size_t index = 0; index < count_; ++index) {
        const Copy copy = copies_[index];
        if (!copy.exact || !EqualNoCase(copy.path, path))
            copies_[kept++] = copy;
    }
    count_ = kept;
}

bool LibraryList::PutFirst(const char* path)
{
    if (!first_.FromAnsi(path) || (!copies_ && !copies_.Allocate(1)))
        return false;
    Copy* const begin = copies_.Get();
    std::copy_backward(begin, begin + count_, begin + count_ + 1);
    *begin = {path, first_.Get(), true};
    ++count_;
    return true;
}

void LibraryList::Sort()
{
    const VersionCache cache(count_);
    qsort(copies_.Get(), count_, sizeof(Copy), CompareDLLVersions);
}

DWORD LibraryList::Write(HKEY key, const wchar_t* valueName) const
{
    size_t room = 1;
    for (size_t index = 0; index < count_; ++index)
        room += wcslen(copies_[index].stored) + 1;
    HeapArray<wchar_t> list;
    if (!list.Allocate(room))
        return ERROR_NOT_ENOUGH_MEMORY;
    wchar_t* at = list.Get();
    for (size_t index = 0; index < count_; ++index) {
        const wchar_t* const stored = copies_[index].stored;
        at = std::copy(stored, stored + wcslen(stored) + 1, at);
    }
    *at = L'\0';
    return static_cast<DWORD>(RegSetValueExW(key, valueName, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list.Get()),
                                             static_cast<DWORD>(room * sizeof(wchar_t))));
}

} // namespace tarvo
