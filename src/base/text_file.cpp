#include "base/text_file.h"

#include <fcntl.h>
#include <io.h>

namespace tarvo {

bool TextFile::Open(const char* path)
{
    // The C library's own opening denies others the deletion of the file.
    UniqueFile file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    stream_.Reset();
    if (!file)
        return false;
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file.Get()), _O_RDONLY | _O_TEXT);
    if (descriptor == -1)
        return false;
    static_cast<void>(file.Release()); // closed with the descriptor from here on
    stream_.Reset(_fdopen(descriptor, "rt"));
    if (!stream_)
        _close(descriptor);
    return IsOpen();
}

bool TextFile::ReadLine(char* line, int size)
{
    return fgets(line, size, stream_.Get()) != nullptr;
}

TextFile::Line TextFile::ReadLine(GrowingBytes& line)
{
    char piece[1024];
    line.Clear();
    while (ReadLine(piece, sizeof piece)) {
        const std::string_view bytes = piece;
        if (!line.Append(bytes))
            return Line::kNoMemory;
        if (bytes.size() < sizeof piece - 1 || bytes.ends_with('\n'))
            return Line::kRead;
    }
    return line.Size() ? Line::kRead : Line::kEnd;
}

} // namespace tarvo
