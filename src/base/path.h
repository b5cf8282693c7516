#pragma once

#include <windows.h>

#include <string_view>

#include "base/text.h"

namespace tarvo {

/** A path that the system's own calls take: at most 259 characters. */
using PathText = BoundedText<MAX_PATH>;

/** The parts of a path as the C library splits it; each lies in the path that was split. */
struct PathParts {
    std::string_view drive;     // with its colon
    std::string_view directory; // with its last separator
    std::string_view name;      // without the extension
    std::string_view extension; // with its dot
};

PathParts SplitPath(const char* path);

/** Drive and directory of a path, in a row. */
std::string_view FolderPart(const PathParts& parts);

/** Name and extension of a path, in a row. */
std::string_view FilePart(const PathParts& parts);

/**
 * Puts a path together as the C library does: a backslash goes between
 * directory and name unless the directory ends in a separator, or is a drive alone ("C:").
 * @param destination  Receives the path; size in bytes, terminator included.
 * @param extension    With or without its dot; may be empty.
 * @return false, destination then "", if it does not fit.
 */
[[nodiscard]] bool JoinPath(char* destination, size_t size, std::string_view directory, std::string_view name,
                            std::string_view extension = {});

template <size_t Size> [[nodiscard]] bool JoinPath(BoundedText<Size>& destination, std::string_view directory,
                                                   std::string_view name, std::string_view extension = {})
{
    return JoinPath(destination.Buffer(), Size, directory, name, extension);
}

/**
 * Tells whether a path names one file wherever it is looked for: a drive and a backslash or slash in front, or two
 * backslashes and a server, and something behind that; "\\\\?\\" may stand before it. Names of devices are none.
 */
bool IsFullPath(const char* path);

/** The path as it is from the current folder (GetFullPathName). @return false, full then "", if it is too long */
[[nodiscard]] bool MakeFullPath(const char* path, PathText& full);

/** Folder of the host program's executable, with its last separator; "" if the system does not tell. */
void GetHostFolder(PathText& folder);

} // namespace tarvo
