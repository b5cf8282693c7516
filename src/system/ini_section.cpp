// TARVO_ReadIniFileSection: the lines of one section, counted first and then copied.

#include "base/ini_line.h"
#include "base/multibyte.h"
#include "base/text.h"
#include "base/text_file.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** Walks the lines of the first section of a name. */
class SectionReader {
public:
    SectionReader(TextFile& file, const char* section) : file_(file), section_(section) { file_.Rewind(); }

    /** @return whether there is a further line of the section. */
    bool Next()
    {
        while ((state_ = file_.ReadLine(line_)) == TextFile::Line::kRead) {
            std::string_view name;
            if (!IsSectionHeader(Line(), name)) {
                if (inside_)
                    return true;
                continue;
            }
            if (inside_)
                return false;
            inside_ = EqualNoCase(name, section_);
        }
        return false;
    }

    /** The line as it was read, line end included. */
    std::string_view Line() const { return line_.View(); }

    /** Whether the walk ended because there was no memory for a line. */
    bool LacksMemory() const { return state_ == TextFile::Line::kNoMemory; }

private:
    TextFile& file_;
    const char* section_;
    bool inside_ = false;
    TextFile::Line state_ = TextFile::Line::kEnd;
    GrowingBytes line_;
};

/** What the list needs at most: lines count as read, line ends and leading blanks included. */
DWORD CountRequired(TextFile& file, const char* section, DWORD& required)
{
    SectionReader reader(file, section);
    size_t bytes = 1;
    while (reader.Next())
        bytes += reader.Line().size() + 1;
    required = static_cast<DWORD>(bytes == 1 ? 2 : bytes);
    return reader.LacksMemory() ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

/** Appends texts to a list while they fit; knows what all of them would have needed. */
class ListWriter {
public:
    ListWriter(char* list, size_t size) : list_(list), size_(size) {}

    /** @return the text in the list, or NULL */
    const char* Add(std::string_view text)
    {
        char* const place = list_ + needed_;
        needed_ += text.size() + 1;
        fits_ = fits_ && needed_ < size_;
        if (!fits_)
            return nullptr;
        CopyCut(place, text.size() + 1, text);
        return place;
    }

    /** Ends the list; one that did not fit becomes empty. @return the bytes that the list needs */
    size_t Finish()
    {
        const size_t end = fits_ ? needed_ : 0;
        list_[end] = '\0';
        if (end == 0)
            list_[1] = '\0';
        return needed_ + 1;
    }

    bool Fits() const { return fits_; }

private:
    char* list_;
    size_t size_;
    size_t needed_ = 0;
    bool fits_ = true;
};

/** Takes a line's line end and leading blanks off. */
std::string_view Trim(std::string_view line)
{
    line = Part(line, 0, line.find('\n'));
    const size_t begin = line.find_first_not_of(" \t");
    return begin == line.npos ? std::string_view() : Part(line, begin);
}

DWORD CopyLines(TextFile& file, const char* section, char* buffer, DWORD& size)
{
    ListWriter list(buffer, size);
    SectionReader reader(file, section);
    while (reader.Next()) {
        const std::string_view text = Trim(reader.Line());
        if (text.empty())
            continue;
        if (const char* added = list.Add(text))
            TracePrint(kInfo, 1, "[%s]\n", added);
    }
    size = static_cast<DWORD>(list.Finish());
    if (reader.LacksMemory())
        return ERROR_NOT_ENOUGH_MEMORY;
    return list.Fits() ? ERROR_SUCCESS : ERROR_MORE_DATA; // the file has grown since it was counted
}

DWORD ReadSection(const char* path, const char* section, char* buffer, DWORD* size)
{
    if (!path || !section || !size)
        return ERROR_INVALID_PARAMETER;
    TextFile file;
    if (!file.Open(path))
        return ERROR_FILE_NOT_FOUND;
    DWORD required = 0;
    if (const DWORD code = CountRequired(file, section, required))
        return code;
    TracePrint(kInfo, 1, "Required buffer size: [%d].\n", static_cast<int>(required));
    DWORD room = *size;
    *size = required;
    if (!buffer || room < required)
        return ERROR_MORE_DATA;
    const DWORD code = CopyLines(file, section, buffer, room);
    if (code == ERROR_MORE_DATA)
        *size = room;
    return code;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ReadIniFileSection(const char* file, const char* section, char* buffer, DWORD* size)
{
    FunctionScope scope("TARVO_ReadIniFileSection", 0);
    TracePrint(kInfo, 1, "File: [%s], Section: [%s], Buffer: [%x], size: [%x]->[%d].\n", Shown(file), Shown(section),
               reinterpret_cast<unsigned>(buffer), reinterpret_cast<unsigned>(size),
               size ? static_cast<int>(*size) : 0);
    return scope.End(ReadSection(file, section, buffer, size));
}
