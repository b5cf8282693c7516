#include "system/platform.h"

#include <cstdlib>
#include <cstring>

#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr DWORD kAny = MAXDWORD;

enum class Role { kNone, kWorkstation, kServer }; // kNone: the platform is the same for both

/** A platform takes in all versions of its family up to one, as far as no row before it does. */
struct PlatformRow {
    DWORD code;
    DWORD family; // VER_PLATFORM_...
    DWORD lastMajor;
    DWORD lastMinor;
    Role role;
    const char* line;
};

constexpr char kNt60[] = "Platform is NT 6.0 = Windows Vista or Windows Server 2008 (aka Longhorn)\n";
constexpr char kNt61[] = "Platform is NT 6.1 = Windows 7 or Windows Server 2008 R2\n";
constexpr char kNt62[] = "Platform is NT 6.2 = Windows 8 or Windows Server 2012\n";
constexpr char kNt63[] = "Platform is NT 6.3 = Windows 8.1 (Blue) or Windows Server 2012 R2\n";

// Tested in order, first match wins: a server's row relies on the workstation's above it.
constexpr PlatformRow kPlatforms[] = {
    {TARVO_PLATFORM_WIN32S, VER_PLATFORM_WIN32s, kAny, kAny, Role::kNone, "Platform is Win32s\n"},
    {TARVO_PLATFORM_WIN95, VER_PLATFORM_WIN32_WINDOWS, 4, 9, Role::kNone, "Platform is Win95\n"},
    {TARVO_PLATFORM_WIN98, VER_PLATFORM_WIN32_WINDOWS, 4, 89, Role::kNone, "Platform is Win98\n"},
    {TARVO_PLATFORM_WINME, VER_PLATFORM_WIN32_WINDOWS, kAny, kAny, Role::kNone, "Platform is WinME\n"},
    {TARVO_PLATFORM_NT35, VER_PLATFORM_WIN32_NT, 3, 50, Role::kNone, "Platform is NT 3.5\n"},
    {TARVO_PLATFORM_NT351, VER_PLATFORM_WIN32_NT, 3, kAny, Role::kNone, "Platform is NT 3.51\n"},
    {TARVO_PLATFORM_NT4, VER_PLATFORM_WIN32_NT, 4, kAny, Role::kNone, "Platform is NT 4.x\n"},
    {TARVO_PLATFORM_NT50, VER_PLATFORM_WIN32_NT, 5, 0, Role::kNone, "Platform is NT 5.0 = Windows 2000\n"},
    {TARVO_PLATFORM_NT51, VER_PLATFORM_WIN32_NT, 5, 1, Role::kNone, "Platform is NT 5.1 = Windows XP\n"},
    {TARVO_PLATFORM_NT52, VER_PLATFORM_WIN32_NT, 5, kAny, Role::kNone,
     "Platform is NT 5.2 or above = Windows Server 2003 (aka .NET)\n"},
    {TARVO_PLATFORM_NT60_WORKSTATION, VER_PLATFORM_WIN32_NT, 6, 0, Role::kWorkstation, kNt60},
    {TARVO_PLATFORM_NT60_SERVER, VER_PLATFORM_WIN32_NT, 6, 0, Role::kServer, kNt60},
    {TARVO_PLATFORM_NT61_WORKSTATION, VER_PLATFORM_WIN32_NT, 6, 1, Role::kWorkstation, kNt61},
    {TARVO_PLATFORM_NT61_SERVER, VER_PLATFORM_WIN32_NT, 6, 1, Role::kServer, kNt61},
    {TARVO_PLATFORM_NT62_WORKSTATION, VER_PLATFORM_WIN32_NT, 6, 2, Role::kWorkstation, kNt62},
    {TARVO_PLATFORM_NT62_SERVER, VER_PLATFORM_WIN32_NT, 6, 2, Role::kServer, kNt62},
    {TARVO_PLATFORM_NT63_WORKSTATION, VER_PLATFORM_WIN32_NT, 6, 3, Role::kWorkstation, kNt63},
    {TARVO_PLATFORM_NT63_SERVER, VER_PLATFORM_WIN32_NT, 6, 3, Role::kServer, kNt63},
};

bool Matches(const PlatformRow& row, const OSVERSIONINFOEXA& version)
{
    if (version.dwPlatformId != row.family)
        return false;
    if (row.role == Role::kWorkstation && version.wProductType != VER_NT_WORKSTATION)
        return false;
    if (version.dwMajorVersion != row.lastMajor)
        return version.dwMajorVersion < row.lastMajor;
    return version.dwMinorVersion <= row.lastMinor;
}

bool GetVersionInfo(OSVERSIONINFOA& version)
{
    version = {};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version);
}

} // namespace

DWORD ClassifyPlatform(const OSVERSIONINFOEXA& version)
{
    for (const PlatformRow& row : kPlatforms) {
        if (!Matches(row, version))
            continue;
        TracePrint(kInfo, 1, "%s", row.line);
        if (row.role != Role::kNone) {
            TracePrint(kInfo, 1, "%s",
                       row.role == Role::kWorkstation ? "Platform type is workstation.\n"
                                                      : "Platform type is server.\n");
        }
        return row.code;
    }
    TracePrint(kError, 1, "%s", "Platform ID is unknown.\n");
    return TARVO_PLATFORM_UNKNOWN;
}

DWORD PlatformGetSPNum(DWORD& number)
{
    FunctionScope scope("PlatformGetSPNum", 2);
    OSVERSIONINFOA info;
    if (!GetVersionInfo(info))
        return GetLastError();
    TracePrint(kInfo, 3, "PlatformGetSPNum: info.szCSDVersion=[%s]\n", info.szCSDVersion);
    // Skipped by length alone: the words are translated on some systems.
    constexpr size_t kPrefix = sizeof "Service Pack " - 1;
    number = 0;
    if (strlen(info.szCSDVersion) > kPrefix)
        number = static_cast<DWORD>(strtol(info.szCSDVersion + kPrefix, nullptr, 10));
    TracePrint(kInfo, 2, "Returning SPNo=[%d]\n", static_cast<int>(number));
    return ERROR_SUCCESS;
}

bool IsPlatformFamily(DWORD platformId)
{
    OSVERSIONINFOA info;
    return GetVersionInfo(info) && info.dwPlatformId == platformId;
}

} // namespace tarvo
