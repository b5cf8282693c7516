#pragma once

#include <windows.h>

#include "base/memory.h"
#include "pending/entry.h"

namespace tarvo {

inline constexpr char kSessionManagerKey[] = "SYSTEM\\CurrentControlSet\\Control\\Session Manager";
inline constexpr wchar_t kRenameValue[] = L"PendingFileRenameOperations";
inline constexpr wchar_t kSecondRenameValue[] = L"PendingFileRenameOperations2"; // carried out after the first

/**
 * The pairs of such a value, in wide characters: other programs put names into
 * it that the code page cannot hold. The buffer is kept from one reading or
 * writing to the next.
 */
class RenameValue {
public:
    /**
     * Reads a value; one that is absent, or whose size the system does not tell, reads as empty. One that grows
     * meanwhile is asked for again, a bounded number of times.
     * @return 0; ERROR_INVALID_DATA, it is no text; ERROR_NOT_ENOUGH_MEMORY; or the registry's code.
     */
    DWORD Read(HKEY key, const wchar_t* name);

    /** @return false if the value was absent. */
    bool Exists() const { return state_ != ERROR_FILE_NOT_FOUND; }

    /** @return 0 if it is known what the value holds; else the code with which the system has kept its size back. */
    DWORD Refusal() const { return Exists() ? state_ : ERROR_SUCCESS; }

    bool SameAs(const RenameValue& other) const;
    void Swap(RenameValue& other);

    const wchar_t* Begin() const { return Chars(); }
    const wchar_t* End() const { return Chars() + length_; }

    /**
     * Starts a value anew.
     * @param front  Written by Store: its pairs come first. Or NULL.
     * @param chars  Of the pairs to come, counted with CharsOf.
     * @return 0, or ERROR_NOT_ENOUGH_MEMORY
     */
    DWORD Start(const RenameValue* front, size_t chars);
    static size_t CharsOf(const PendingFileEntry& entry);

    void Add(const PendingFileEntry& entry);
    bool Empty() const { return length_ == 0; }

    /** @return what CharsOf can give for all its pairs together, at most. */
    size_t CharsAtMost() const { return length_ + 2; } // the last pair may lack its zeros

    /** Closes the list and stores it (RegSetValueEx). @return 0, or the registry's code */
    DWORD Store(HKEY key, const wchar_t* name);

private:
    /** What the native call puts in front of the data. */
    struct Header {
        ULONG titleIndex;
        ULONG type;
        ULONG bytes;
    };
    static constexpr size_t kHeaderChars = sizeof(Header) / sizeof(wchar_t);

    wchar_t* Chars() const { return block_ ? block_.Get() + kHeaderChars : nullptr; }
    bool ReadIntoRoom(HKEY key, const wchar_t* name);
    DWORD QueryData(HKEY key, const wchar_t* name, DWORD& bytes, bool& grew);
    DWORD Reserve(size_t room);
    void AddText(const char* text, const wchar_t* exact);
    void AddChars(const wchar_t* text, size_t length);

    HeapArray<wchar_t> block_;    // the header, then the characters
    size_t room_ = 0;             // in characters
    size_t length_ = 0;           // in characters
    DWORD state_ = ERROR_SUCCESS; // how the question for the size was answered
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

/** Turns texts of the value into texts of the code page. */
class TextNarrower {
public:
    /**
     * @param wide   A marker in front ("*1"), as later Windows versions write it, is left out.
     * @param exact  Receives the whole text where it has a marker, or the code page cannot hold it; else nothing.
     * @return 0, or ERROR_NOT_ENOUGH_MEMORY
     */
    DWORD Narrow(PairReader::Text wide, ExactText& exact);
    const char* Get() const { return text_.Get(); }

private:
    DWORD Reserve(size_t bytes);
    bool NarrowAscii(PairReader::Text wide);
    bool NarrowAny(PairReader::Text wide, wchar_t* scratch);

    HeapText text_;
    size_t room_ = 0;
};

/** Walks the pairs of a value in the code page. */
class NarrowedPairs {
public:
    explicit NarrowedPairs(const RenameValue& value) : pairs_(value) {}

    /** @return false at the end; else Code tells whether the pair is there. */
    bool Next();
    DWORD Code() const { return code_; }

    const char* Source() const { return source_.Get(); }
    const char* Target() const { return target_.Get(); }

    /** Gives an entry made of the two texts what they do not say. */
    void HandExactTo(PendingFileEntry& entry);

private:
    PairReader pairs_;
    PairReader::Text wideSource_ = {};
    PairReader::Text wideTarget_ = {};
    TextNarrower source_;
    TextNarrower target_;
    ExactText exactSource_;
    ExactText exactTarget_;
    DWORD code_ = ERROR_SUCCESS;
};

} // namespace tarvo
