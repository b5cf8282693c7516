#include "frame/trace_output.h"

#include <cstring>

namespace tarvo {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

UniqueFile OpenShared(const char* path, DWORD access, DWORD disposition)
{
    return UniqueFile(CreateFileA(path, access, kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/** The C library's own modes deny others the deletion of the file, so they are carried out here. */
UniqueFile OpenWithMode(const char* path, const char* mode)
{
    const bool update = strchr(mode, '+') != nullptr;
    switch (mode[0]) {
    case 'w':
        return OpenShared(path, GENERIC_WRITE, CREATE_ALWAYS);
    case 'a':
        return OpenShared(path, FILE_APPEND_DATA | SYNCHRONIZE, OPEN_ALWAYS);
    case 'r':
        return OpenShared(path, update ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ, OPEN_EXISTING);
    default:
        return UniqueFile();
    }
}

bool IsBareName(const char* name)
{
    return FolderPart(SplitPath(name)).empty();
}

/** @return the length of text in target, each line feed with a carriage return in front. */
size_t TranslateLineEnds(std::string_view text, char* target)
{
    char* at = target;
    size_t begin = 0;
    for (size_t feed = text.find('\n'); feed != text.npos; feed = text.find('\n', begin)) {
        memcpy(at, text.data() + begin, feed - begin);
        at += feed - begin;
        *at++ = '\r';
        *at++ = '\n';
        begin = feed + 1;
    }
    memcpy(at, text.data() + begin, text.size() - begin);
    return static_cast<size_t>(at - target) + (text.size() - begin);
}

} // namespace

void TraceOutput::Open(const char* name, const char* mode)
{
    if (IsOpen() && strcmp(name, name_.Get()) == 0)
        return;
    PathText remembered;
    PathText folder;
    PathText path;
    if (!remembered.Set(name))
        return;
    if (IsBareName(name))
        GetHostFolder(folder);
    if (!JoinPath(path, folder.Get(), name))
        return;
    Close();
    file_ = OpenWithMode(path.Get(), mode);
    if (!IsOpen())
        return;
    name_ = remembered;
    textMode_ = strchr(mode, 'b') == nullptr;
    headerWritten_ = false;
}

void TraceOutput::Close()
{
    file_.Reset();
    name_.Clear();
}

void TraceOutput::Write(std::string_view text)
{
    if (!IsOpen() || text.size() > kMaxText)
        return;
    if (textMode_)
        text = {translated_, TranslateLineEnds(text, translated_)};
    DWORD written = 0;
    WriteFile(file_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

} // namespace tarvo
