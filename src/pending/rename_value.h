#pragma once

#include <windows.h>

#include "base/memory.h"
#include "pending/entry.h"

namespace tarvo {

inline constexpr char kSessionManagerKey[] = "SYSTEM\\CurrentControlSet\\Control\\Session Manager";
inline constexpr char kRenameValueName[] = "PendingFileRenameOperations";

/**
 * The pairs of PendingFileRenameOperations, in wide characters: other programs
 * put names into the value that the code page cannot hold. The buffer is kept
 * from one reading or writing to the next.
 */
class RenameValue {
public:
    /**
     * Reads the value; one that is absent, or whose size the system does not tell, reads as empty. One that grows
     * meanwhile is asked for again, a bounded number of times.
     * @return 0; ERROR_INVALID_DATA, it is no text; ERROR_NOT_ENOUGH_MEMORY; or the registry's code.
     */
    DWORD Read(HKEY key);

    bool SameAs(const RenameValue& other) const;
    void Swap(RenameValue& other);

    const wchar_t* Begin() const { return data_.Get(); }
    const wchar_t* End() const { return data_.Get() + length_; }

    /** Begins a new value. */
    void Clear() { length_ = 0; }

    /** Begins with the pairs of the value that Store has written, or with what has been read and is the same. */
    void Reopen() { --length_; }

    /** Makes room for further pairs of that many characters, counted with CharsOf, and the closing zero. */
    DWORD ReserveFurther(size_t chars);
    static size_t CharsOf(const PendingFileEntry& entry);

    void Add(const PendingFileEntry& entry);

    /** Closes the list and stores it (RegSetValueEx). @return 0, or the registry's code */
    DWORD Store(HKEY key);

private:
    bool ReadIntoRoom(HKEY key);
    DWORD QuerySize(HKEY key, DWORD& bytes) const;
    DWORD QueryData(HKEY key, DWORD& bytes, bool& grew);
    DWORD Reserve(size_t room);
    void AddText(const char* text, const wchar_t* exact);

    ExactText data_;
    size_t room_ = 0;   // in characters
    size_t length_ = 0; // in characters
};

/** Walks the pairs of the value's data: never beyond its end, whatever stands there. */
class PairReader {
public:
    explicit PairReader(const RenameValue& value) : at_(value.Begin()), end_(value.End()) {}

    struct Text {
        const wchar_t* begin;
        size_t length;
    };

    /** @return false at the first empty text in source position, or at the end. */
    bool Next(Text& source, Text& target);

private:
    Text Take();

    const wchar_t* at_;
    const wchar_t* end_;
};

/**
 * Turns a text of the value into one of the code page.
 * @param exact  Receives a copy of the text where the code page cannot hold it, else nothing.
 * @return 0, or ERROR_NOT_ENOUGH_MEMORY
 */
class TextNarrower {
public:
    DWORD Narrow(PairReader::Text wide, ExactText& exact);
    const char* Get() const { return text_.Get(); }

private:
    DWORD Reserve(size_t bytes);
    bool NarrowAscii(PairReader::Text wide);

    HeapText text_;
    size_t room_ = 0;
};

} // namespace tarvo
