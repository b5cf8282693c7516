#pragma once

#include <string_view>

#include "base/growing_bytes.h"
#include "base/text.h"

namespace tarvo {

/** Which "=" of a line ends its key: recorded items may hold some themselves, the values of custom names too. */
enum class KeyEnd { kFirstEquals, kLastEquals };

/** One line of the log, as bytes. */
struct LogEntry {
    const char* section;
    std::string_view key;
    std::string_view value;
    KeyEnd keyEnd;
};

/** What an edit did to a text. */
enum class LogEdit {
    kNothing,  // the line stands there already
    kAppended, // bytes came to its end
    kChanged,  // it changed elsewhere
    kNoMemory, // it cannot be trusted any more
};

/** The lines of a section, header included, and an index of their keys. */
class LogSection {
public:
    /** @return false without memory, as the others */
    [[nodiscard]] bool AddLine(std::string_view line);
    bool IsNamed(const char* name) const;

    LogEdit Put(const LogEntry& entry);
    [[nodiscard]] bool EndLastLine();

    std::string_view Text() const { return text_.View(); }

    LogSection* next = nullptr; // owned by the log's text

private:
    struct Slot {
        unsigned hash;
        unsigned line; // where it begins
        bool used;
    };
    static constexpr size_t kNone = std::string_view::npos;

    std::string_view LineAt(size_t at) const;
    size_t EndOfLines() const;
    size_t Find(const LogEntry& entry) const;
    LogEdit AddKey(const LogEntry& entry);
    LogEdit SetValue(size_t at, const LogEntry& entry);
    [[nodiscard]] bool Reindex();
    [[nodiscard]] bool IndexLine(size_t at);
    [[nodiscard]] bool IndexKey(std::string_view key, size_t at);
    void AddSlot(const Slot& added);
    [[nodiscard]] bool GrowIndex();

    GrowingBytes text_;
    HeapArray<Slot> slots_;
    size_t slotCount_ = 0; // a power of two
    size_t used_ = 0;
};

/**
 * An uninstall log in memory. It is edited as the platform's private-profile
 * writer edits a file: a new key comes to the end of its section, a missing
 * section to the end of the file, a key that is there keeps its line. Finding
 * one costs the same at any size.
 */
class LogText {
public:
    constexpr LogText() = default;
    ~LogText() { Clear(); }
    LogText(const LogText&) = delete;
    LogText& operator=(const LogText&) = delete;

    void Clear();

    /** Takes over what a file holds. @return false without memory */
    [[nodiscard]] bool Parse(std::string_view file);

    LogEdit Put(const LogEntry& entry);

    /** @return the bytes that the last edit has appended. */
    std::string_view Appended() const { return Part(last_->Text(), appendedFrom_); }

    const LogSection* First() const { return first_; }
    size_t Size() const;

private:
    LogSection* Find(const char* name);
    LogSection* AddSection();
    LogEdit PutIntoNewSection(const LogEntry& entry);

    LogSection* first_ = nullptr;
    LogSection* last_ = nullptr;
    size_t appendedFrom_ = 0;
};

} // namespace tarvo
