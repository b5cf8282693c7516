// Sources of the Application event log.

#include <cstring>

#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/registry_key.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr char kApplicationLogKey[] = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";

/** An empty name would name the key of the whole log. */
DWORD MakeSourceKey(const char* source, RegistryText& key)
{
    if (IsEmpty(source))
        return ERROR_INVALID_PARAMETER;
    return key.Format("%s\\%s", kApplicationLogKey, source) ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
}

DWORD WriteSource(const RegistryKey& key, const char* path, DWORD types, DWORD categories)
{
    const size_t size = strlen(path) + 1;
    if (const DWORD code = key.Set("EventMessageFile", REG_EXPAND_SZ, path, size))
        return code;
    if (const DWORD code = key.SetDword("TypesSupported", types))
        return code;
    if (categories == 0)
        return ERROR_SUCCESS;
    if (const DWORD code = key.Set("CategoryMessageFile", REG_EXPAND_SZ, path, size))
        return code;
    return key.SetDword("CategoryCount", categories);
}

DWORD AddSource(const char* source, const char* path, DWORD types, DWORD categories)
{
    if (!path)
        return ERROR_INVALID_PARAMETER;
    RegistryText keyPath;
    if (const DWORD code = MakeSourceKey(source, keyPath))
        return code;
    RegistryKey key;
    if (const DWORD code = key.Create(HKEY_LOCAL_MACHINE, keyPath.Get()))
        return code;
    return WriteSource(key, path, types, categories);
}

DWORD DeleteSource(const char* source)
{
    RegistryText keyPath;
    if (const DWORD code = MakeSourceKey(source, keyPath))
        return code;
    return static_cast<DWORD>(RegDeleteKeyA(HKEY_LOCAL_MACHINE, keyPath.Get()));
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_AddEventSource(const char* source, const char* messageFile, DWORD types, DWORD categories)
{
    FunctionScope scope("TARVO_AddEventSource", 0);
    TracePrint(kInfo, 1, "Application=[%s], Path=[%s], Types=[%d], Category=[%d]\n", Shown(source), Shown(messageFile),
               static_cast<int>(types), static_cast<int>(categories));
    return scope.End(AddSource(source, messageFile, types, categories));
}

DWORD __cdecl TARVO_DeleteEventSource(const char* source)
{
    FunctionScope scope("TARVO_DeleteEventSource", 0);
    TracePrint(kInfo, 1, "Application=[%s]\n", Shown(source));
    return scope.End(DeleteSource(source));
}
