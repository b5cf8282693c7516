#pragma once

#include <windows.h>

#include "base/text.h"
#include "base/wide_text.h"

namespace tarvo {

/**
 * The list of the installed copies of a library, as its REG_MULTI_SZ value holds it. Others write there too, in
 * characters that the code page may lack: what they have put there is written back as it was read.
 */
class LibraryList {
public:
    /**
     * Reads the value. A list without its closing zeros is one all the same.
     * @param bytes  The value's size.
     * @return 0; ERROR_INVALID_DATA, another type, or more behind the list's end; ERROR_NOT_ENOUGH_MEMORY; or the
     *         registry's code
     */
    DWORD Read(HKEY key, const wchar_t* valueName, DWORD bytes);

    /** Takes a path off, in any letter case. */
    void Remove(const char* path);

    /** Puts a path in front, which must outlive the list. To be called once. @return false without memory */
    [[nodiscard]] bool PutFirst(const char* path);

    /** Puts newer copies before older ones (CompareDLLVersions). */
    void Sort();

    DWORD Write(HKEY key, const wchar_t* valueName) const;

    size_t Count() const { return count_; }

    /** The first path, as far as the code page has its characters; "" in an empty list. */
    const char* First() const { return count_ ? copies_[0].path : ""; }

    /** Where the copies lie, for the log. */
    const void* Place() const { return copies_.Get(); }

private:
    struct Copy {
        const char* path; // the first member: a comparator takes a pointer to the path
        const wchar_t* stored;
        bool exact; // whether path is all of what is stored
    };

    [[nodiscard]] bool Parse(size_t length);

    HeapArray<wchar_t> data_;
    HeapText narrow_;
    WideText first_;
    HeapArray<Copy> copies_; // with room for one more
    size_t count_ = 0;
};

} // namespace tarvo
