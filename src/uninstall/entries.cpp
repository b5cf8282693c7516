#include "uninstall/entries.h"

#include <cstdlib>

#include "base/multibyte.h"
#include "base/multistring.h"
#include "frame/scope.h"

namespace tarvo {

DWORD GetSortedListOfEntries(const char* list, SortedEntries& sorted)
{
    FunctionScope scope("GetSortedListOfEntries", 2);
    if (!list)
        return scope.Error(ERROR_INVALID_PARAMETER);
    sorted.count = MultiStringCount(list);
    if (!sorted.entries.Allocate(sorted.count + 1))
        return scope.Error("Memory allocation failed in GetSortedListOfEntries", ERROR_NOT_ENOUGH_MEMORY);
    for (size_t index = 0; index < sorted.count; ++index) {
        sorted.entries[index] = list;
        list = NextString(list);
    }
    qsort(sorted.entries.Get(), sorted.count, sizeof(const char*), CompareEntriesByLength);
    return scope.Ok();
}

int CompareEntriesByLength(const void* left, const void* right)
{
    const size_t leftLength = CountChars(*static_cast<const char* const*>(left));
    const size_t rightLength = CountChars(*static_cast<const char* const*>(right));
    return (leftLength < rightLength) - (leftLength > rightLength);
}

bool EntryLine::Split(const char* line)
{
    value_ = nullptr;
    if (!item_.Copy(line))
        return false;
    if (char* const equals = FindLastChar(item_.Get(), '=')) {
        *equals = '\0';
        value_ = equals + 1;
    }
    return true;
}

} // namespace tarvo
