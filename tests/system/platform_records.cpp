// Which Windows it is, by what a version query of the record's own says, and how the machine is restarted.

#include <windows.h>

#include <lm.h>

#include <cstdio>
#include <cstring>

#include "kit/kit.h"

namespace {

using kit::Stage;
using SystemRecords = kit::BehaviorTest;

struct VersionRow {
    DWORD family, major, minor;
    BYTE product = 1;
    const char* servicePack = "";
};

/** Answers the version query. */
class Windows : kit::ImportHook<decltype(&GetVersionExA)> {
public:
    Windows() : ImportHook("GetVersionExA", &GetVersionExA)
    {
        Answer([this](OSVERSIONINFOA* info) {
            const DWORD size = info->dwOSVersionInfoSize;
            memcpy(info, &version_, size); // the shorter structure is the longer one's beginning
            info->dwOSVersionInfoSize = size;
            return TRUE;
        });
    }

    void Say(const VersionRow& row)
    {
        version_ = {0, row.major, row.minor, 1234, row.family, "", 5, 6, 0, row.product, 0};
        strcpy(version_.szCSDVersion, row.servicePack);
    }

private:
    OSVERSIONINFOEXA version_ = {};
};

constexpr VersionRow kVersions[] = {
    {0, 3, 11}, {1, 3, 99},   {1, 4, 10},   {1, 4, 90},   {2, 2, 99},   {2, 3, 51}, {2, 4, 0, 3},
    {2, 5, 0},  {2, 5, 1},    {2, 5, 2, 3}, {2, 6, 0},    {2, 6, 0, 2}, {2, 6, 1},  {2, 6, 1, 3},
    {2, 6, 2},  {2, 6, 2, 3}, {2, 6, 3},    {2, 6, 3, 3}, {2, 6, 4} // each platform
};
constexpr VersionRow kLimits[] = {
    {0, 9, 0},  {1, 4, 0}, {1, 4, 9},    {1, 4, 89},   {1, 5, 0},  {2, 3, 50}, {2, 3, 99},
    {2, 4, 99}, {2, 5, 3}, {2, 6, 0, 3}, {2, 6, 3, 0}, {2, 10, 0}, {3, 6, 1} // first and last versions
};

TEST_F(SystemRecords, Platform)
{
    Open("system/platform");
    const Ways callsAlone = {.records = false, .failures = false, .allocations = false};
    const Ways full = {.records = false};
    Case("a version that cannot be asked for", full, [](Stage& stage) {
        Windows windows;
        windows.Say({VER_PLATFORM_WIN32_NT, 6, 1});
        stage.Call(&TARVO_GetPlatform);
    });
    Case("each version has its code and lines", callsAlone, [](Stage& stage) {
        Windows windows;
        const auto say = [&](const VersionRow& row) {
            windows.Say(row);
            char text[40];
            snprintf(text, sizeof text, "%lu %lu.%lu product %u", row.family, row.major, row.minor, row.product);
            stage.Tell("version", text);
        };
        for (const VersionRow& row : kVersions) {
            say(row);
            stage.Call(&TARVO_GetPlatform);
        }
        for (const VersionRow& row : kLimits) {
            say(row);
            stage.Check(&TARVO_GetPlatform);
        }
    });
    Case("each item answers into its own place", full, [](Stage& stage) {
        Windows windows;
        for (const DWORD family : {VER_PLATFORM_WIN32_NT, VER_PLATFORM_WIN32_WINDOWS}) {
            windows.Say({family, 6, 1, 1, "Service Pack 7"});
            for (const DWORD item : {151, 152})
                stage.Call(&TARVO_GetPlatformEx, item, stage.Number("bool"), stage.Number("integer"));
        }
        for (const DWORD item : {150, 156})
            stage.Call(&TARVO_GetPlatformEx, item, stage.Number("bool"), stage.Number("integer"));
    });
    Case("without a place nothing is asked, and other items are refused", callsAlone, [](Stage& stage) {
        for (const DWORD item : {150, 151, 153, 156, 154})
            stage.Check(&TARVO_GetPlatformEx, item, nullptr, nullptr);
        stage.Call(&TARVO_GetPlatformEx, DWORD{151}, nullptr, nullptr);
        for (const DWORD item : {149, 154, 155, 157})
            stage.Check(&TARVO_GetPlatformEx, item, stage.Number("bool"), stage.Number("integer"));
    });
    Case("a service pack's number stands behind thirteen characters", callsAlone, [](Stage& stage) {
        Windows windows;
        for (const char* text :
             {"Service Pack 12", "Service Pack 2a", "", "Service Pack ", "Service Pack x", "0123456789012 -7"}) {
            windows.Say({VER_PLATFORM_WIN32_NT, 6, 1, 1, text});
            stage.Tell("text", text);
            stage.Check(&TARVO_GetPlatformEx, DWORD{156}, nullptr, stage.Number("integer"));
        }
    });
    Case("a server is told by its type", full, [](Stage& stage) {
        kit::ImportHook query("NetServerGetInfo", &NetServerGetInfo);
        for (const DWORD type : {0x8000UL, 0x10UL, 0x8UL, 0xFFFF7FE7UL}) {
            query.Answer([&](wchar_t* server, DWORD level, BYTE** block) {
                const NET_API_STATUS code = query.Original()(server, level, block);
                if (code == NERR_Success)
                    reinterpret_cast<SERVER_INFO_101*>(*block)->sv101_type = type;
                return code;
            });
            stage.Call(&TARVO_GetPlatformEx, DWORD{153}, stage.Number("bool"), nullptr);
        }
    });
    Case("a block that comes with a failure is freed", callsAlone, [](Stage& stage) {
        kit::ImportHook query("NetServerGetInfo", &NetServerGetInfo);
        query.Answer([&](auto... arguments) {
            query.Original()(arguments...);
            return NET_API_STATUS{ERROR_MORE_DATA};
        });
        stage.Call(&TARVO_GetPlatformEx, DWORD{153}, stage.Number("bool"), stage.Number("integer"));
    });
}

template <BOOL Success> BOOL WINAPI SaysYes(HANDLE, BOOL* wow64)
{
    return *wow64 = TRUE, Success;
}

TEST_F(SystemRecords, Machine)
{
    Open("system/machine");
    const std::pair<const char*, BOOL(WINAPI*)(HANDLE, BOOL*)> functions[] = {
        {"64 bits are told by the function if there is one", &SaysYes<TRUE>},
        {"a failing function's answer does not count", &SaysYes<FALSE>}};
    for (const auto& [title, function] : functions) {
        Case(title, {.records = false}, [function = function](Stage& stage) {
            kit::ImportHook find("GetProcAddress", &GetProcAddress);
            find.Answer([&](HMODULE module, const char* name) {
                return module == GetModuleHandleA("kernel32") && std::string_view(name) == "IsWow64Process"
                           ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function))
                           : nullptr;
            });
            stage.Call(&TARVO_Is64BitPlatform);
        });
    }
    Case("memory is told as the system does", {.records = false}, [](Stage& stage) {
        kit::ImportHook ask("GlobalMemoryStatus", &GlobalMemoryStatus);
        ask.Answer([](MEMORYSTATUS* status) { status->dwTotalPhys = 0xC0000000; });
        stage.Call(&TARVO_GetAmountOfRAM);
    });
}

TEST_F(SystemRecords, Restart)
{
    Open("system/restart");
    Case("the mode decides whether programs are forced, and others are refused", {.records = false}, [](Stage& stage) {
        const kit::ImportHook never("InitiateSystemShutdownA", &InitiateSystemShutdownA, ERROR_SUCCESS, TRUE);
        for (const int mode : {TARVO_REBOOT_NORMAL, TARVO_REBOOT_FORCED, 0, 3, -1})
            stage.Call(&TARVO_Reboot, mode);
    });
}

} // namespace
