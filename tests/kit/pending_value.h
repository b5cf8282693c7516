#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kit {

/** NtQueryValueKey, with which the value is read into room that is there. */
using NativeQuery = LONG(NTAPI*)(HANDLE, const void*, int, void*, ULONG, ULONG*);

/** The Session Manager's value PendingFileRenameOperations, read and written by plain Win32. */
class PendingValue {
public:
    using Pairs = std::vector<std::pair<std::string, std::string>>; // stored forms; "" as target deletes
    struct Raw {
        DWORD type;
        std::wstring units; // as they are, closing zeros and all
        friend bool operator==(const Raw&, const Raw&) = default;
    };

    /** @return the pairs; none if there is no value. Without a whole pair at the end, its target is "<missing>". */
    static Pairs Read();
    static std::optional<Raw> ReadRaw();
    static void Write(const Pairs& pairs);
    static void WriteRaw(const std::wstring& units, DWORD type = REG_MULTI_SZ);
    static void Remove();
};

} // namespace kit
