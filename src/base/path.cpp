#include "base/path.h"

#include "base/multibyte.h"

#include <cstring>

namespace tarvo {
namespace {

bool IsSeparator(char byte)
{
    return byte == '\\' || byte == '/';
}

std::string_view Between(const char* begin, const char* end)
{
    return {begin, static_cast<size_t>(end - begin)};
}

/** Whether a name joins without a backslash: behind a drive alone that would name the drive's root. */
bool TakesNames(std::string_view directory)
{
    if (directory.empty() || (directory.size() == 2 && directory[1] == ':' && !IsLeadByte(directory[0])))
        return true;
    const char* last = directory.data() + directory.size() - 1;
    return IsSeparator(*last) && !IsTrailByte(directory.data(), last);
}

/** Adds pieces to a buffer and remembers whether one did not fit. */
class PathWriter {
public:
    PathWriter(char* destination, size_t size) : begin_(destination), at_(destination), left_(size) {}

    void Add(std::string_view piece)
    {
        fits_ = fits_ && CopyWhole(at_, left_, piece);
        if (!fits_)
            return;
        at_ += piece.size();
        left_ -= piece.size();
    }

    bool Finish()
    {
        if (!fits_ && left_)
            *begin_ = '\0';
        return fits_;
    }

private:
    char* begin_;
    char* at_;
    size_t left_;
    bool fits_ = true;
};

bool IsBelowDrive(const char* path)
{
    return path[0] && !IsLeadByte(path[0]) && path[1] == ':' && IsSeparator(path[2]) && path[3];
}

bool IsBelowServer(const char* path)
{
    return path[0] && !IsSeparator(path[0]) && path[0] != '.' && path[0] != '?' && FindSeparator(path);
}

} // namespace

PathParts SplitPath(const char* path)
{
    const char* rest = path;
    if (path[0] && path[1] == ':')
        rest = path + 2;
    const char* name = rest;
    const char* dot = nullptr;
    const char* at = rest;
    for (; *at; at = NextChar(at)) {
        if (IsSeparator(*at)) {
            name = at + 1;
            dot = nullptr;
        } else if (*at == '.') {
            dot = at;
        }
    }
    const char* extension = dot ? dot : at;
    return {Between(path, rest), Between(rest, name), Between(name, extension), Between(extension, at)};
}

std::string_view FolderPart(const PathParts& parts)
{
    return {parts.drive.data(), parts.drive.size() + parts.directory.size()};
}

std::string_view FilePart(const PathParts& parts)
{
    return {parts.name.data(), parts.name.size() + parts.extension.size()};
}

bool JoinPath(char* destination, size_t size, std::string_view directory, std::string_view name,
              std::string_view extension)
{
    PathWriter path(destination, size);
    path.Add(directory);
    if (!TakesNames(directory))
        path.Add("\\");
    path.Add(name);
    if (!extension.empty() && extension.front() != '.')
        path.Add(".");
    path.Add(extension);
    return path.Finish();
}

bool IsFullPath(const char* path)
{
    if (strncmp(path, R"(\\?\UNC\)", 8) == 0)
        return IsBelowServer(path + 8);
    if (strncmp(path, R"(\\?\)", 4) == 0)
        return IsBelowDrive(path + 4);
    if (IsSeparator(path[0]) && IsSeparator(path[1]))
        return IsBelowServer(path + 2);
    return IsBelowDrive(path);
}

bool MakeFullPath(const char* path, PathText& full)
{
    const DWORD length = GetFullPathNameA(path, PathText::kSize, full.Buffer(), nullptr);
    if (length > 0 && length < PathText::kSize)
        return true;
    full.Clear();
    return false;
}

void GetHostFolder(PathText& folder)
{
    PathText program;
    const DWORD length = GetModuleFileNameA(nullptr, program.Buffer(), PathText::kSize);
    if (length == 0 || length >= PathText::kSize)
        return folder.Clear();
    folder.SetCut(FolderPart(SplitPath(program.Get())));
}

} // namespace tarvo
