#pragma once

#include <windows.h>

namespace tarvo {

/** What tells a file or directory from all others, by whatever path it is reached. */
struct FileIdentity {
    DWORD volume;
    DWORD indexHigh;
    DWORD indexLow;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/** @return false if the system does not tell. */
[[nodiscard]] bool Identify(const char* path, FileIdentity& identity);

} // namespace tarvo
