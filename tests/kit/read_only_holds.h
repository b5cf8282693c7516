#pragma once

#include "kit/import_hook.h"

namespace kit {

/** Refuses the DLL to write over read-only files, as Windows does; a Wine lets root do so, in its own way. */
class ReadOnlyHolds {
public:
    ReadOnlyHolds()
    {
        copy_.Answer([this](const char* source, const char* target, BOOL failIfExists) {
            return Refuses(target) ? FALSE : copy_.Original()(source, target, failIfExists);
        });
        open_.Answer([this](const char* path, DWORD access, auto... others) {
            return (access & GENERIC_WRITE) && Refuses(path) ? INVALID_HANDLE_VALUE
                                                             : open_.Original()(path, access, others...);
        });
    }

private:
    static bool Refuses(const char* path)
    {
        const DWORD attributes = GetFileAttributesA(path);
        const bool refuses = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
        if (refuses)
            SetLastError(ERROR_ACCESS_DENIED);
        return refuses;
    }

    ImportHook<decltype(&CopyFileA)> copy_{"CopyFileA", &CopyFileA};
    ImportHook<decltype(&CreateFileA)> open_{"CreateFileA", &CreateFileA};
};

} // namespace kit
