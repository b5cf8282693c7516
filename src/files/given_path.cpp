#include "files/given_path.h"

#include <cstring>

#include "base/multibyte.h"

namespace tarvo {
namespace {

/** A question mark is also what a code page gives for what it cannot hold. */
bool IsPossibleName(const char* path)
{
    constexpr char kLongPathPrefix[] = "\\\\?\\";
    if (strncmp(path, kLongPathPrefix, strlen(kLongPathPrefix)) == 0)
        path += strlen(kLongPathPrefix);
    for (; *path; path = NextChar(path)) {
        if (strchr("<>\"|?*", *path))
            return false;
    }
    return true;
}

} // namespace

DWORD CheckPath(const char* path)
{
    if (!path)
        return ERROR_INVALID_PARAMETER;
    return CountChars(path) < MAX_PATH ? ERROR_SUCCESS : ERROR_FILENAME_EXCED_RANGE;
}

DWORD CheckNewPath(const char* path)
{
    if (path && !IsPossibleName(path))
        return ERROR_INVALID_NAME;
    return CheckPath(path);
}

} // namespace tarvo
