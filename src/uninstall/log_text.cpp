#include "uninstall/log_text.h"

#include "base/ini_line.h"
#include "base/multibyte.h"
#include "base/text.h"

namespace tarvo {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

/** A line without its line end and the blanks in front, where none of a key are. */
std::string_view Trimmed(std::string_view line)
{
    const size_t begin = line.find_first_not_of(" \t");
    const size_t end = line.find_last_not_of("\r\n");
    return begin == line.npos || end == line.npos || begin > end ? std::string_view()
                                                                 : Part(line, begin, end + 1 - begin);
}

/** A line's key; without "=" the line itself. */
std::string_view KeyOf(std::string_view line, KeyEnd keyEnd)
{
    line = Trimmed(line);
    return Part(line, 0, keyEnd == KeyEnd::kFirstEquals ? line.find('=') : line.rfind('='));
}

/** @return the next line with its line end, taken off the front of text. */
std::string_view TakeLine(std::string_view& text)
{
    const size_t end = text.find('\n');
    const std::string_view line = Part(text, 0, end == text.npos ? end : end + 1);
    text.remove_prefix(line.size());
    return line;
}

} // namespace

bool LogSection::AddLine(std::string_view line)
{
    const size_t at = text_.Size();
    return text_.Append(line) && IndexLine(at);
}

bool LogSection::IsNamed(const char* name) const
{
    std::string_view own;
    return IsSectionHeader(LineAt(0), own) && EqualNoCase(own, name);
}

std::string_view LogSection::LineAt(size_t at) const
{
    std::string_view rest = Part(Text(), at);
    return TakeLine(rest);
}

/** Where the lines end that are not blank: a new one comes there. */
size_t LogSection::EndOfLines() const
{
    const size_t last = Text().find_last_not_of(" \t\r\n");
    const size_t lineFeed = last == kNone ? kNone : Text().find('\n', last);
    return lineFeed == kNone ? text_.Size() : lineFeed + 1;
}

bool LogSection::EndLastLine()
{
    return text_.Size() == 0 || Text().back() == '\n' || text_.Append(kLineEnd);
}

LogEdit LogSection::Put(const LogEntry& entry)
{
    const size_t found = Find(entry);
    return found == kNone ? AddKey(entry) : SetValue(found, entry);
}

LogEdit LogSection::AddKey(const LogEntry& entry)
{
    GrowingBytes line;
    if (!EndLastLine() || !line.Append(entry.key) || !line.Append("=") || !line.Append(entry.value) ||
        !line.Append(kLineEnd))
        return LogEdit::kNoMemory;
    const size_t at = EndOfLines();
    const bool atEnd = at == text_.Size();
    if (!text_.Replace(at, 0, line.View()) || !(atEnd ? IndexLine(at) : Reindex()))
        return LogEdit::kNoMemory;
    return atEnd ? LogEdit::kAppended : LogEdit::kChanged;
}

LogEdit LogSection::SetValue(size_t at, const LogEntry& entry)
{
    const std::string_view line = Trimmed(LineAt(at));
    const size_t key = KeyOf(line, entry.keyEnd).size();
    GrowingBytes value;
    if (!value.Append("=") || !value.Append(entry.value))
        return LogEdit::kNoMemory;
    if (Part(line, key) == value.View())
        return LogEdit::kNothing;
    const size_t keyEnd = static_cast<size_t>(line.data() - Text().data()) + key;
    return text_.Replace(keyEnd, line.size() - key, value.View()) && Reindex() ? LogEdit::kChanged : LogEdit::kNoMemory;
}

size_t LogSection::Find(const LogEntry& entry) const
{
    if (slotCount_ == 0)
        return kNone;
    const unsigned hash = HashNoCase(entry.key);
    for (size_t slot = hash & (slotCount_ - 1);; slot = (slot + 1) & (slotCount_ - 1)) {
        const Slot& candidate = slots_[slot];
        if (!candidate.used)
            return kNone;
        if (candidate.hash == hash && EqualNoCase(KeyOf(LineAt(candidate.line), entry.keyEnd), entry.key))
            return candidate.line;
    }
}

bool LogSection::Reindex()
{
    used_ = 0;
    for (size_t slot = 0; slot < slotCount_; ++slot)
        slots_[slot] = {};
    std::string_view rest = Text();
    while (!rest.empty()) {
        const size_t at = text_.Size() - rest.size();
        TakeLine(rest);
        if (!IndexLine(at))
            return false;
    }
    return true;
}

/** A line with several "=" is found by both its keys. */
bool LogSection::IndexLine(size_t at)
{
    const std::string_view longest = KeyOf(LineAt(at), KeyEnd::kLastEquals);
    const std::string_view shortest = KeyOf(LineAt(at), KeyEnd::kFirstEquals);
    if (longest.empty())
        return true;
    return IndexKey(longest, at) && (shortest.size() == longest.size() || IndexKey(shortest, at));
}

bool LogSection::IndexKey(std::string_view key, size_t at)
{
    if (used_ * 2 >= slotCount_ && !GrowIndex())
        return false;
    AddSlot({HashNoCase(key), static_cast<unsigned>(at), true});
    return true;
}

/** The first of several lines with one key is found, as slots are filled in their order. */
void LogSection::AddSlot(const Slot& added)
{
    size_t slot = added.hash & (slotCount_ - 1);
    while (slots_[slot].used)
        slot = (slot + 1) & (slotCount_ - 1);
    slots_[slot] = added;
    ++used_;
}

bool LogSection::GrowIndex()
{
    HeapArray<Slot> old = std::move(slots_);
    const size_t oldCount = slotCount_;
    slotCount_ = oldCount ? oldCount * 2 : 16;
    if (!slots_.AllocateZeroed(slotCount_)) {
        slotCount_ = 0;
        return false;
    }
    used_ = 0;
    // From a free slot on, so that a run of equal hashes keeps its order around the end.
    size_t begin = 0;
    while (begin < oldCount && old[begin].used)
        ++begin;
    for (size_t slot = 0; slot < oldCount; ++slot) {
        const Slot& moved = old[(begin + slot) & (oldCount - 1)];
        if (moved.used)
            AddSlot(moved);
    }
    return true;
}

void LogText::Clear()
{
    while (LogSection* const section = first_) {
        first_ = section->next;
        delete section;
    }
    last_ = nullptr;
}

bool LogText::Parse(std::string_view file)
{
    Clear();
    while (!file.empty()) {
        const std::string_view line = TakeLine(file);
        std::string_view name;
        if ((!last_ || IsSectionHeader(line, name)) && !AddSection())
            return false;
        if (!last_->AddLine(line))
            return false;
    }
    return true;
}

LogEdit LogText::Put(const LogEntry& entry)
{
    LogSection* const section = Find(entry.section);
    if (!section)
        return PutIntoNewSection(entry);
    appendedFrom_ = section->Text().size();
    const LogEdit edit = section->Put(entry);
    return edit == LogEdit::kAppended && section != last_ ? LogEdit::kChanged : edit;
}

LogEdit LogText::PutIntoNewSection(const LogEntry& entry)
{
    if (last_ && last_->Text().back() != '\n')
        return last_->EndLastLine() && PutIntoNewSection(entry) != LogEdit::kNoMemory ? LogEdit::kChanged
                                                                                      : LogEdit::kNoMemory;
    GrowingBytes header;
    if (!header.Append("[") || !header.Append(entry.section) || !header.Append("]") || !header.Append(kLineEnd) ||
        !AddSection() || !last_->AddLine(header.View()))
        return LogEdit::kNoMemory;
    appendedFrom_ = 0;
    return last_->Put(entry);
}

LogSection* LogText::Find(const char* name)
{
    LogSection* section = first_;
    while (section && !section->IsNamed(name))
        section = section->next;
    return section;
}

LogSection* LogText::AddSection()
{
    LogSection* const added = MakeHeapObject<LogSection>().Release();
    if (!added)
        return nullptr;
    (last_ ? last_->next : first_) = added;
    return last_ = added;
}

size_t LogText::Size() const
{
    size_t size = 0;
    for (const LogSection* section = first_; section; section = section->next)
        size += section->Text().size();
    return size;
}

} // namespace tarvo
