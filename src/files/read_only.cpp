// TARVO_ResetFileReadOnlyAttribute.

#include "base/text.h"
#include "files/given_path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

bool IsMissing(DWORD code)
{
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
}

DWORD SetAttributes(const char* path, DWORD attributes)
{
    TracePrint(kInfo, 2, "Resetting attributes to [0x%x]...\n", static_cast<unsigned>(attributes));
    if (SetFileAttributesA(path, attributes))
        return ERROR_SUCCESS;
    const DWORD code = GetLastError();
    TracePrint(kWarning, 2, "%s", "Setting attributes failed.\n");
    return code;
}

DWORD ResetAttributes(const char* path, DWORD attributes)
{
    if (const DWORD code = CheckPath(path))
        return code;
    if (!IsPathExist(path, 0))
        return ERROR_FILE_NOT_FOUND;
    const DWORD current = GetFileAttributesA(path);
    if (current == INVALID_FILE_ATTRIBUTES) {
        const DWORD code = GetLastError();
        TracePrint(kWarning, 1, "%s", IsMissing(code) ? "File doesn't exist\n" : "Error retrieving file attributes\n");
        return code;
    }
    if (attributes != 0)
        return SetAttributes(path, attributes);
    if (!(current & FILE_ATTRIBUTE_READONLY)) {
        TracePrint(kInfo, 2, "%s", "File is writable.\n");
        return ERROR_SUCCESS;
    }
    TracePrint(kInfo, 2, "%s", "File is read-only.\n");
    return SetAttributes(path, current & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ResetFileReadOnlyAttribute(const char* path, DWORD attributes)
{
    FunctionScope scope("TARVO_ResetFileReadOnlyAttribute", 0);
    TracePrint(kInfo, 1, "Filename [%s], NewAttribute [%d]\n", Shown(path), static_cast<int>(attributes));
    return scope.End(ResetAttributes(path, attributes));
}
