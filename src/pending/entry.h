#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

/** What stands in the value in the place of an entry's text, where that text does not say it all. */
struct ExactText {
    HeapArray<wchar_t> text;         // written back as it is; NULL where the entry's text says it all
    const wchar_t* unheld = nullptr; // the part of it that the code page cannot hold: it is part of what the entry is
};

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

    /** Setting a text forgets its exact form. */
    const wchar_t* ExactSource() const { return exactSource_.text.Get(); }
    const wchar_t* ExactTarget() const { return exactTarget_.text.Get(); }
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
