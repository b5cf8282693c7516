#include "base/text_file.h"

#include <fcntl.h>
#include <io.h>

#include <cstring>

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
    bool read = false;
    bool zeroMet = false;
    line.Clear();
    for (bool ended = false; !ended; read = true) {
        // What fgets leaves of this tells how much it has read, zeros in it included.
        memset(piece, '\n', sizeof piece);
        if (!ReadLine(piece, sizeof piece))
            break;
        const auto* feed = static_cast<const char*>(memchr(piece, '\n', sizeof piece));
        ended = feed && feed + 1 < piece + sizeof piece && feed[1] == '\0';
        const char* end = !feed ? piece + sizeof piece - 1 : ended ? feed + 1 : feed - 1;
        if (!zeroMet && !line.Append(piece))
            return Line::kNoMemory;
        zeroMet = zeroMet || piece + strlen(piece) < end;
    }
    return read ? Line::kRead : Line::kEnd;
}

} // namespace tarvo
