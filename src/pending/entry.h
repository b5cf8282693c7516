#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

using ExactText = HeapArray<wchar_t>;

/**
 * One pending operation: a source that is moved onto a target, or deleted if
 * the target is "". Texts are in the form in which the system stores them,
 * normalised; NULL stands for any text in a query.
 */
class PendingFileEntry {
public:
    /** Sets both texts. @return 0; ERROR_NOT_ENOUGH_MEMORY, what was replaced before stays replaced */
    DWORD SetEntry(const char* source, const char* target);

    const char* Source() const { return source_.Get(); }
    const char* Target() const { return target_.Get(); }

    bool Removed() const { return removed_; }
    void SetRemoved(bool removed) { removed_ = removed; }

    /**
     * What stood in the value where the code page cannot hold it: written back
     * in the text's place, and part of the entry's identity. NULL where the
     * text says it all. Setting a text forgets its exact form.
     */
    const wchar_t* ExactSource() const { return exactSource_.Get(); }
    const wchar_t* ExactTarget() const { return exactTarget_.Get(); }
    void SetExact(ExactText source, ExactText target);

    /** Whether an entry fits a query; letter case counts for nothing. */
    static bool Matches(const PendingFileEntry& query, const PendingFileEntry& entry);

private:
    /** A text and the room it has, kept for the next text of the slot. */
    struct OwnedText {
        HeapText text;
        size_t room = 0;
        const char* Get() const { return isSet ? text.Get() : nullptr; }
        DWORD Set(const char* value);
        bool isSet = false;
    };

    OwnedText source_;
    OwnedText target_;
    ExactText exactSource_;
    ExactText exactTarget_;
    bool removed_ = false;
};

} // namespace tarvo
