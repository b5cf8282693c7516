#pragma once

#include <windows.h>

#include "base/handle.h"

namespace tarvo {

/** Owner of at most one open key, for plain reads and writes. Every call returns the registry's code. */
class RegistryKey {
public:
    HKEY Handle() const { return key_.Get(); }
    void Close() { key_.Reset(); }

    /** Opens a subkey (RegOpenKeyEx); what was held is closed first. */
    DWORD Open(HKEY parent, const char* subkey, REGSAM access);

    /** Opens a subkey, which is made if need be (RegCreateKey); what was held is closed first. */
    DWORD Create(HKEY parent, const char* subkey);

    /** Reads at most 4 bytes; the value's type is not checked. */
    DWORD QueryDword(const char* name, DWORD& value) const;

    /**
     * Reads a value's bytes; its type is not checked.
     * @param size  Bytes at buffer, at least 1; receives the bytes that the registry returned.
     * Whatever the result, the last byte of the buffer is set to zero.
     */
    DWORD QueryString(const char* name, char* buffer, DWORD& size) const;

    DWORD Set(const char* name, DWORD type, const void* data, size_t size) const;
    DWORD SetDword(const char* name, DWORD value) const;

    /** Deletes a subkey that has none itself (RegDeleteKey). */
    DWORD DeleteSubKey(const char* name) const;

private:
    UniqueRegistryKey key_;
};

} // namespace tarvo
