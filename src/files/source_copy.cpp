#include "files/source_copy.h"

#include <cstdlib>

#include "base/multibyte.h"
#include "files/path_utils.h"
#include "frame/trace.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr int kMaxSourceCopies = 998;
using NumberExtension = BoundedText<8>;

} // namespace

DWORD FindSourceCopyName(const char* destination, PathText& name)
{
    const PathParts parts = SplitPath(destination);
    for (int number = 1; number <= kMaxSourceCopies; ++number) {
        NumberExtension extension;
        extension.Format("%d", number);
        if (!JoinPath(name, FolderPart(parts), parts.name, extension.Get()))
            return ERROR_FILENAME_EXCED_RANGE;
        if (!IsPathExist(name.Get(), 1))
            break;
    }
    return ERROR_SUCCESS;
}

bool IsSourceCopy(const char* path, const char* destination)
{
    const PathParts copy = SplitPath(path);
    const PathParts file = SplitPath(destination);
    const int number = copy.extension.empty() ? 0 : atoi(copy.extension.data() + 1);
    NumberExtension extension;
    extension.Format(".%d", number);
    return number >= 1 && number <= kMaxSourceCopies && copy.extension == extension.Get() &&
           EqualNoCase(copy.name, file.name) && EqualNoCase(FolderPart(copy), FolderPart(file)) &&
           !EqualNoCase(copy.extension, file.extension);
}

void DeleteSourceCopy(const char* path)
{
    TracePrint(kInfo, 1, "Deleting source copy [%s]...\n", path);
    TARVO_ResetFileReadOnlyAttribute(path, 0);
    if (!DeleteFileA(path))
        TracePrint(kWarning, 1, "Deleting failed with error code %d\n", static_cast<int>(GetLastError()));
}

} // namespace tarvo
