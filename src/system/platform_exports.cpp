// Which Windows this is, and how much memory it has.

#include "base/dynamic_call.h"
#include "base/net_buffer.h"
#include "frame/scope.h"
#include "system/platform.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr DWORD kServerTypes = SV_TYPE_SERVER_NT | SV_TYPE_DOMAIN_BAKCTRL | SV_TYPE_DOMAIN_CTRL;

DWORD AskIsServer(BOOL& answer)
{
    UniqueNetBuffer<SERVER_INFO_101> info;
    const NET_API_STATUS code = NetServerGetInfo(nullptr, 101, reinterpret_cast<BYTE**>(info.Put()));
    if (code == NERR_Success)
        answer = (info.Get()->sv101_type & kServerTypes) != 0;
    return code;
}

DWORD AskIsNt(BOOL& answer)
{
    answer = IsPlatformFamily(VER_PLATFORM_WIN32_NT);
    return ERROR_SUCCESS;
}

DWORD AskIsWindows9x(BOOL& answer)
{
    answer = IsPlatformFamily(VER_PLATFORM_WIN32_WINDOWS);
    return ERROR_SUCCESS;
}

DWORD AskPlatform(DWORD& answer)
{
    answer = TARVO_GetPlatform();
    return ERROR_SUCCESS;
}

/** An item is answered by one of the two. */
struct ItemRow {
    DWORD item;
    DWORD (*askBool)(BOOL& answer);
    DWORD (*askInteger)(DWORD& answer);
};

constexpr ItemRow kItems[] = {
    {TARVO_ASK_PLATFORM, nullptr, AskPlatform},          {TARVO_ASK_IS_NT, AskIsNt, nullptr},
    {TARVO_ASK_IS_WINDOWS_9X, AskIsWindows9x, nullptr},  {TARVO_ASK_IS_SERVER, AskIsServer, nullptr},
    {TARVO_ASK_SERVICE_PACK, nullptr, PlatformGetSPNum},
};

/** Nobody waits for an answer without a place: it is not asked for. */
DWORD Ask(DWORD item, BOOL* boolBuffer, DWORD* integerBuffer)
{
    for (const ItemRow& row : kItems) {
        if (row.item != item)
            continue;
        if (row.askBool)
            return boolBuffer ? row.askBool(*boolBuffer) : ERROR_SUCCESS;
        return integerBuffer ? row.askInteger(*integerBuffer) : ERROR_SUCCESS;
    }
    return ERROR_INVALID_PARAMETER;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_GetPlatform(void)
{
    FunctionScope scope("TARVO_GetPlatform", 0);
    OSVERSIONINFOEXA version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version))) {
        TracePrint(kWarning, 1, "%s", "GetVersionEx failed.\n");
        scope.Error(GetLastError());
        return TARVO_PLATFORM_UNKNOWN;
    }
    TracePrint(kInfo, 1,
               "GetVersionEx: dwPlatformId=%u, dwMajorVersion=%u, dwMinorVersion=%u, dwBuildNumber=%u, "
               "wServicePackMajor=%u, wServicePackMinor=%u\n",
               static_cast<unsigned>(version.dwPlatformId), static_cast<unsigned>(version.dwMajorVersion),
               static_cast<unsigned>(version.dwMinorVersion), static_cast<unsigned>(version.dwBuildNumber),
               version.wServicePackMajor, version.wServicePackMinor);
    scope.Ok(); // at once: the answer is no result code
    return ClassifyPlatform(version);
}

DWORD __cdecl TARVO_GetPlatformEx(DWORD item, BOOL* boolBuffer, DWORD* integerBuffer)
{
    FunctionScope scope("TARVO_GetPlatformEx", 0);
    TracePrint(kInfo, 1, "Requested=[%d], Bool buffer=[%x], Integer buffer=[%x]\n", static_cast<int>(item),
               reinterpret_cast<unsigned>(boolBuffer), reinterpret_cast<unsigned>(integerBuffer));
    if (const DWORD code = Ask(item, boolBuffer, integerBuffer))
        return scope.Error(code);
    TracePrint(kInfo, 0, "Returning Bool=[%d], Integer=[%d]\n", boolBuffer ? *boolBuffer : -1,
               integerBuffer ? static_cast<int>(*integerBuffer) : -1);
    return scope.Ok();
}

BOOL __cdecl TARVO_Is64BitPlatform(void)
{
    FunctionScope scope("TARVO_Is64BitPlatform", 0);
    const auto isWow64Process = LookUp<decltype(&IsWow64Process)>("kernel32", "IsWow64Process");
    BOOL wow64 = FALSE;
    return isWow64Process && isWow64Process(GetCurrentProcess(), &wow64) ? wow64 : FALSE;
}

DWORD __cdecl TARVO_GetAmountOfRAM(void)
{
    FunctionScope scope("TARVO_GetAmountOfRAM", 0);
    MEMORYSTATUS status = {};
    status.dwLength = sizeof status;
    GlobalMemoryStatus(&status);
    TracePrint(kInfo, 0, "Returning [%d]\n", static_cast<int>(status.dwTotalPhys));
    return status.dwTotalPhys;
}
