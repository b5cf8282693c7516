#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

/** Pointers into a section list, and how many. */
struct SortedEntries {
    HeapArray<const char*> entries;
    size_t count = 0;
};

/**
 * Sorts the lines of a section list, longest first in characters, so that contents come before their containers.
 * @return 0; ERROR_INVALID_PARAMETER, no list; ERROR_NOT_ENOUGH_MEMORY
 */
DWORD GetSortedListOfEntries(const char* list, SortedEntries& sorted);

/** A sort comparator over two pointers to lines: the longer one first. */
int CompareEntriesByLength(const void* left, const void* right);

/** A line of the log, "item=value", taken apart at its last "=". */
class EntryLine {
public:
    /** @return false without memory */
    [[nodiscard]] bool Split(const char* line);

    const char* Item() const { return item_.Get(); }
    bool HasValue() const { return value_ != nullptr; }

    /** Whether the line has a value that begins with "1": others are not for removal. */
    bool IsMarked() const { return value_ && *value_ == '1'; }

    const char* Value() const { return value_; }

private:
    HeapText item_;
    const char* value_ = nullptr; // in the copy
};

} // namespace tarvo
