#include "files/path_utils.h"

#include <windows.h>

#include <cstring>

#include "base/multibyte.h"
#include "frame/trace.h"

namespace tarvo {
namespace {

/** Whether a failed look at a path means that nothing is there. */
bool MeansNotFound(DWORD code)
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_NO_MORE_FILES:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
        return true;
    default:
        return false;
    }
}

int Returning(int result)
{
    TracePrint(kInfo, 1, "Returning %d.\n", result);
    return result;
}

bool Exists(const char* path)
{
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

/** @return the attributes of an existing path, or INVALID_FILE_ATTRIBUTES; a path that goes meanwhile gets a warning.
 */
DWORD AttributesOfExisting(const char* path)
{
    if (!Exists(path))
        return INVALID_FILE_ATTRIBUTES;
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        TracePrint(kWarning, 2, "GetFileAttributes failed, error code: [%d].\n", static_cast<int>(GetLastError()));
    return attributes;
}

/** The part of a path that NormalizePath works on, rewritten component by component. */
class TailRewriter {
public:
    explicit TailRewriter(char* tail) : begin_(tail), read_(tail), write_(tail) {}

    void Rewrite()
    {
        CopyComponent();
        const char* const first = write_; // what no parent reference takes away
        while (*read_) {
            SkipBackslashes();
            if (IsComponent(".."))
                DropLast(first);
            else
                AddComponent();
        }
        *write_ = '\0';
    }

private:
    void CopyComponent()
    {
        while (*read_ && *read_ != '\\') {
            const char* next = NextChar(read_);
            while (read_ < next)
                *write_++ = *read_++;
        }
    }

    void SkipBackslashes()
    {
        while (*read_ == '\\')
            ++read_;
    }

    bool IsComponent(const char* name) const
    {
        const size_t length = strlen(name);
        return strncmp(read_, name, length) == 0 && (read_[length] == '\\' || read_[length] == '\0');
    }

    void DropLast(const char* first)
    {
        read_ += strlen("..");
        while (write_ > first) {
            --write_;
            if (*write_ == '\\' && !IsTrailByte(begin_, write_))
                return;
        }
    }

    void AddComponent()
    {
        *write_++ = '\\';
        CopyComponent();
    }

    char* begin_;
    char* read_;
    char* write_;
};

/** Removes every "\." component. Runs after the parent references, for which it counts as a component. */
void RemoveCurrentReferences(char* tail)
{
    char* write = tail;
    const char* read = tail;
    while (*read) {
        if (read[0] == '\\' && read[1] == '.' && (read[2] == '\\' || read[2] == '\0')) {
            read += 2;
            continue;
        }
        const char* next = NextChar(read);
        while (read < next)
            *write++ = *read++;
    }
    *write = '\0';
}

/** Most paths need nothing; the bytes tell so, but for one with a trail byte that looks like a backslash. */
bool IsSurelyNormal(const char* tail)
{
    for (; *tail; ++tail) {
        if (*tail == '\\' && (tail[1] == '\\' || tail[1] == '.' || tail[1] == '\0'))
            return false;
    }
    return true;
}

void RemoveEndingBackslash(char* tail)
{
    const size_t length = strlen(tail);
    if (length && tail[length - 1] == '\\' && !IsTrailByte(tail, tail + length - 1))
        tail[length - 1] = '\0';
}

} // namespace

int IsPathExist(const char* path, int ifUnknown)
{
    TraceStream stream("IsPathExist");
    stream.Add(path).Add(static_cast<long>(ifUnknown)).Open();
    if (Exists(path))
        return Returning(1);
    return Returning(MeansNotFound(GetLastError()) ? 0 : ifUnknown);
}

int IsPathFile(const char* path)
{
    TraceStream stream("IsPathFile");
    stream.Add(path).Open();
    const DWORD attributes = AttributesOfExisting(path);
    return Returning(attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY));
}

int IsPathDirectory(const char* path)
{
    TraceStream stream("IsPathDirectory");
    stream.Add(path).Open();
    const DWORD attributes = AttributesOfExisting(path);
    return Returning(attributes == INVALID_FILE_ATTRIBUTES ? 0
                                                           : static_cast<int>(attributes & FILE_ATTRIBUTE_DIRECTORY));
}

void NormalizePath(char* path)
{
    TraceStream stream("NormalizePath");
    stream.Add(path).Open();
    if (!path || !path[0] || !path[1] || !path[2])
        return;
    char* tail = NextChar(NextChar(path));
    if (IsSurelyNormal(tail))
        return;
    TailRewriter(tail).Rewrite();
    RemoveCurrentReferences(tail);
    RemoveEndingBackslash(tail);
}

} // namespace tarvo
