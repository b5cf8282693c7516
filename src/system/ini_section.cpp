// TARVO_ReadIniFileSection: the lines of one section, counted first and then copied.

#include <cstring>

#include "base/multibyte.h"
#include "base/text.h"
#include "base/text_file.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr int kCountedLine = 1023; // bytes, terminator included, of a line as the counting pass reads it
constexpr int kCopiedLine = 1024;

/** @return whether the line is a header, and if so the name in it. Only blanks may stand in front. */
bool ReadHeader(const char* line, BoundedText<1024>& name)
{
    line += strspn(line, " ");
    if (*line != '[')
        return false;
    const char* close = FindChar(line + 1, ']');
    if (!close)
        return false;
    name.SetCut({line + 1, static_cast<size_t>(close - line - 1)});
    return true;
}

/** Walks the lines of the first section of a name; longer lines than it reads come in pieces. */
class SectionReader {
public:
    SectionReader(TextFile& file, const char* section, int lineSize)
        : file_(file), section_(section), lineSize_(lineSize)
    {
        file_.Rewind();
    }

    /** @return the next line of the section as it was read, or NULL behind the last. */
    char* Next()
    {
        while (file_.ReadLine(line_, lineSize_)) {
            BoundedText<1024> name;
            if (!ReadHeader(line_, name)) {
                if (inside_)
                    return line_;
                continue;
            }
            if (inside_)
                return nullptr;
            inside_ = EqualNoCase(name.Get(), section_);
        }
        return nullptr;
    }

private:
    TextFile& file_;
    const char* section_;
    int lineSize_;
    bool inside_ = false;
    char line_[kCopiedLine];
};

/** What the list needs at most: lines count as read, line ends and leading blanks included. */
DWORD CountRequired(TextFile& file, const char* section)
{
    size_t required = 1;
    SectionReader reader(file, section, kCountedLine);
    while (const char* line = reader.Next())
        required += strlen(line) + 1;
    return static_cast<DWORD>(required == 1 ? 2 : required);
}

/** Appends texts to a list while they fit; knows what all of them would have needed. */
class ListWriter {
public:
    ListWriter(char* list, size_t size) : list_(list), size_(size) {}

    void Add(const char* text)
    {
        const size_t bytes = strlen(text) + 1;
        needed_ += bytes;
        if (needed_ < size_)
            memcpy(list_ + (needed_ - bytes), text, bytes);
        else
            fits_ = false;
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
const char* Trim(char* line)
{
    line[strcspn(line, "\n")] = '\0';
    return line + strspn(line, " \t");
}

DWORD CopyLines(TextFile& file, const char* section, char* buffer, DWORD& size)
{
    ListWriter list(buffer, size);
    SectionReader reader(file, section, kCopiedLine);
    while (char* line = reader.Next()) {
        const char* text = Trim(line);
        if (!*text)
            continue;
        TracePrint(kInfo, 1, "[%s]\n", text);
        list.Add(text);
    }
    const size_t needed = list.Finish();
    if (list.Fits())
        return ERROR_SUCCESS;
    // The counting pass cuts overlong lines elsewhere and may take a piece of
    // one for a header; what the lines really need is known now.
    size = static_cast<DWORD>(needed);
    return ERROR_MORE_DATA;
}

DWORD ReadSection(const char* path, const char* section, char* buffer, DWORD* size)
{
    if (!path || !section || !size)
        return ERROR_INVALID_PARAMETER;
    TextFile file;
    if (!file.Open(path))
        return ERROR_FILE_NOT_FOUND;
    const DWORD given = *size;
    const DWORD required = CountRequired(file, section);
    TracePrint(kInfo, 1, "Required buffer size: [%d].\n", static_cast<int>(required));
    *size = required;
    if (!buffer || given < required)
        return ERROR_MORE_DATA;
    DWORD room = given;
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
