#include "registry/registry_key.h"

namespace tarvo {

DWORD RegistryKey::Open(HKEY parent, const char* subkey, REGSAM access)
{
    return static_cast<DWORD>(RegOpenKeyExA(parent, subkey, 0, access, key_.Put()));
}

DWORD RegistryKey::Create(HKEY parent, const char* subkey)
{
    return static_cast<DWORD>(RegCreateKeyA(parent, subkey, key_.Put()));
}

DWORD RegistryKey::QueryDword(const char* name, DWORD& value) const
{
    DWORD size = sizeof value;
    return static_cast<DWORD>(
        RegQueryValueExA(key_.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size));
}

DWORD RegistryKey::QueryString(const char* name, char* buffer, DWORD& size) const
{
    const DWORD room = size;
    const LSTATUS code = RegQueryValueExA(key_.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
    buffer[room - 1] = '\0';
    return static_cast<DWORD>(code);
}

DWORD RegistryKey::Set(const char* name, DWORD type, const void* data, size_t size) const
{
    return static_cast<DWORD>(
        RegSetValueExA(key_.Get(), name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)));
}

DWORD RegistryKey::SetDword(const char* name, DWORD value) const
{
    return Set(name, REG_DWORD, &value, sizeof value);
}

DWORD RegistryKey::DeleteSubKey(const char* name) const
{
    return static_cast<DWORD>(RegDeleteKeyA(key_.Get(), name));
}

} // namespace tarvo
