#include "pending/entry.h"

#include <cstring>
#include <cwchar>

#include "base/multibyte.h"
#include "files/path_utils.h"

namespace tarvo {
namespace {

bool SameUnheld(const wchar_t* left, const wchar_t* right)
{
    if (!left || !right)
        return left == right;
    return wcscmp(left, right) == 0;
}

bool FieldMatches(const char* query, const wchar_t* unheldQuery, const char* text, const wchar_t* unheld)
{
    if (!query || !text)
        return true;
    return EqualNoCase(query, text) && SameUnheld(unheldQuery, unheld);
}

} // namespace

DWORD PendingFileEntry::OwnedText::Set(const char* value)
{
    isSet = false;
    if (!value)
        return ERROR_SUCCESS;
    const size_t size = strlen(value) + 1;
    if (size > room) {
        room = 0;
        if (!text.Allocate(size))
            return ERROR_NOT_ENOUGH_MEMORY;
        room = size;
    }
    memcpy(text.Get(), value, size);
    NormalizePath(text.Get());
    isSet = true;
    return ERROR_SUCCESS;
}

DWORD PendingFileEntry::SetEntry(const char* source, const char* target)
{
    SetExact({}, {});
    if (const DWORD code = source_.Set(source))
        return code;
    return target_.Set(target);
}

void PendingFileEntry::SetExact(ExactText source, ExactText target)
{
    exactSource_ = static_cast<ExactText&&>(source);
    exactTarget_ = static_cast<ExactText&&>(target);
}

bool PendingFileEntry::Matches(const PendingFileEntry& query, const PendingFileEntry& entry)
{
    return FieldMatches(query.Source(), query.exactSource_.unheld, entry.Source(), entry.exactSource_.unheld) &&
           FieldMatches(query.Target(), query.exactTarget_.unheld, entry.Target(), entry.exactTarget_.unheld);
}

} // namespace tarvo
