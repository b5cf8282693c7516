// Which Windows it is, by what a version query of the test's own says.

#include <windows.h>

#include <lm.h>

#include <cstdio>
#include <cstring>

#include "kit/kit.h"

namespace {

class PlatformExports : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        hook_.emplace("GetVersionExA", &GetVersionExA);
        hook_->Answer([this](OSVERSIONINFOA* info) {
            if (!works_)
                return SetLastError(ERROR_NOT_READY), FALSE;
            const DWORD size = info->dwOSVersionInfoSize;
            sizes_.push_back(size);
            version_.dwOSVersionInfoSize = size;
            memcpy(info, &version_, size); // the shorter structure is the longer one's beginning
            return TRUE;
        });
    }

    void Say(DWORD family, DWORD major, DWORD minor, BYTE product = 0, const char* servicePack = "")
    {
        version_ = {};
        version_.dwPlatformId = family;
        version_.dwMajorVersion = major;
        version_.dwMinorVersion = minor;
        version_.dwBuildNumber = 1234;
        version_.wServicePackMajor = 5;
        version_.wServicePackMinor = 6;
        version_.wProductType = product;
        snprintf(version_.szCSDVersion, sizeof version_.szCSDVersion, "%s", servicePack);
    }

    void SayNothing() { works_ = false; }
    const std::vector<DWORD>& Sizes() const { return sizes_; }

private:
    std::optional<kit::ImportHook<decltype(&GetVersionExA)>> hook_;
    OSVERSIONINFOEXA version_ = {};
    std::vector<DWORD> sizes_;
    bool works_ = true;
};

constexpr char kUnknown[] = "ID is unknown.";
constexpr char kXp[] = "is NT 5.1 = Windows XP";
constexpr char k2003[] = "is NT 5.2 or above = Windows Server 2003 (aka .NET)";
constexpr char kVista[] = "is NT 6.0 = Windows Vista or Windows Server 2008 (aka Longhorn)";
constexpr char kSeven[] = "is NT 6.1 = Windows 7 or Windows Server 2008 R2";
constexpr char kEight[] = "is NT 6.2 = Windows 8 or Windows Server 2012";
constexpr char kBlue[] = "is NT 6.3 = Windows 8.1 (Blue) or Windows Server 2012 R2";

constexpr struct VersionCase {
    DWORD family, major, minor;
    BYTE product;
    DWORD code;
    const char* line;
    const char* type; // of the second line
} kVersions[] = {
    {0, 3, 11, 0, 105, "is Win32s", ""},
    {0, 9, 0, 0, 105, "is Win32s", ""},
    {1, 3, 99, 0, 103, "is Win95", ""},
    {1, 4, 0, 0, 103, "is Win95", ""},
    {1, 4, 9, 0, 103, "is Win95", ""},
    {1, 4, 10, 0, 104, "is Win98", ""},
    {1, 4, 89, 0, 104, "is Win98", ""},
    {1, 4, 90, 0, 110, "is WinME", ""},
    {1, 5, 0, 0, 110, "is WinME", ""},
    {2, 2, 99, 0, 106, "is NT 3.5", ""},
    {2, 3, 50, 0, 106, "is NT 3.5", ""},
    {2, 3, 51, 0, 107, "is NT 3.51", ""},
    {2, 3, 99, 0, 107, "is NT 3.51", ""},
    {2, 4, 0, 3, 108, "is NT 4.x", ""},
    {2, 4, 99, 1, 108, "is NT 4.x", ""},
    {2, 5, 0, 1, 109, "is NT 5.0 = Windows 2000", ""},
    {2, 5, 1, 1, 111, kXp, ""},
    {2, 5, 2, 3, 112, k2003, ""},
    {2, 5, 3, 1, 112, k2003, ""},
    {2, 6, 0, 1, 113, kVista, "workstation"},
    {2, 6, 0, 2, 114, kVista, "server"},
    {2, 6, 0, 3, 114, kVista, "server"},
    {2, 6, 1, 1, 115, kSeven, "workstation"},
    {2, 6, 1, 3, 116, kSeven, "server"},
    {2, 6, 2, 1, 117, kEight, "workstation"},
    {2, 6, 2, 3, 118, kEight, "server"},
    {2, 6, 3, 1, 119, kBlue, "workstation"},
    {2, 6, 3, 3, 120, kBlue, "server"},
    {2, 6, 3, 0, 120, kBlue, "server"},
    {2, 6, 4, 1, 101, kUnknown, ""},
    {2, 10, 0, 1, 101, kUnknown, ""},
    {3, 6, 1, 1, 101, kUnknown, ""},
};

TEST_F(PlatformExports, EachVersionHasItsCodeAndLines)
{
    for (const VersionCase& row : kVersions) {
        SCOPED_TRACE(std::to_string(row.family) + ": " + std::to_string(row.major) + "." + std::to_string(row.minor) +
                     " product " + std::to_string(row.product));
        Say(row.family, row.major, row.minor, row.product);
        const kit::TraceLog log(Scratch().Path("trace.log"));
        EXPECT_EQ(row.code, TARVO_GetPlatform());
        std::vector<std::string> expected = {
            "1 { TARVO_GetPlatform",
            "1 GetVersionEx: dwPlatformId=" + std::to_string(row.family) +
                ", dwMajorVersion=" + std::to_string(row.major) + ", dwMinorVersion=" + std::to_string(row.minor) +
                ", dwBuildNumber=1234, wServicePackMajor=5, wServicePackMinor=6",
            "1 Function TARVO_GetPlatform OK.",
            (row.line == kUnknown ? "3 Platform " : "1 Platform ") + std::string(row.line)};
        if (*row.type)
            expected.push_back("1 Platform type is " + std::string(row.type) + ".");
        expected.push_back("1 } TARVO_GetPlatform");
        EXPECT_EQ(expected, log.Graded());
    }
    EXPECT_EQ("", kit::LastMessage());
    EXPECT_EQ(std::vector<DWORD>(std::size(kVersions), 156), Sizes());
}

TEST_F(PlatformExports, ServicePackIsReadBehindThirteenCharacters)
{
    const std::pair<const char*, int> cases[] = {
        {"Service Pack 3", 3}, {"Service Pack 12", 12}, {"Service Pack 2a", 2},   {"", 0},
        {"Service Pack ", 0},  {"Service Pack x", 0},   {"0123456789012 -7", -7}, {"012345678901234", 34}};
    for (const auto& [text, expected] : cases) {
        Say(VER_PLATFORM_WIN32_NT, 6, 1, 1, text);
        DWORD number = 99;
        EXPECT_EQ(0U, TARVO_GetPlatformEx(156, nullptr, &number));
        EXPECT_EQ(static_cast<DWORD>(expected), number) << text;
    }
}

TEST_F(PlatformExports, ItemsAnswerIntoTheirOwnBuffer)
{
    constexpr int kUntouched = 99;
    const struct {
        DWORD item, family, code;
        int boolean;
        DWORD integer;
    } cases[] = {
        {150, 2, 0, kUntouched, 115},         {151, 2, 0, TRUE, kUntouched},
        {151, 1, 0, FALSE, kUntouched},       {152, 1, 0, TRUE, kUntouched},
        {152, 2, 0, FALSE, kUntouched},       {156, 2, 0, kUntouched, 7},
        {149, 2, 87, kUntouched, kUntouched}, {154, 2, 87, kUntouched, kUntouched},
        {155, 2, 87, kUntouched, kUntouched}, {157, 2, 87, kUntouched, kUntouched},
    };
    const kit::TraceLog log(Scratch().Path("trace.log"));
    for (const auto& row : cases) {
        SCOPED_TRACE(row.item);
        Say(row.family, 6, 1, 1, "Service Pack 7");
        BOOL boolean = kUntouched;
        DWORD integer = kUntouched;
        EXPECT_EQ(row.code, TARVO_GetPlatformEx(row.item, &boolean, &integer));
        EXPECT_EQ(row.boolean, boolean);
        EXPECT_EQ(row.integer, integer);
        EXPECT_EQ(row.code, TARVO_GetPlatformEx(row.item, nullptr, nullptr));
    }
    EXPECT_TRUE(log.HasEach({"Requested=[150], Bool buffer=[0], Integer buffer=[0]", "Returning Bool=[1], Integer=[99]",
                             "Returning Bool=[-1], Integer=[-1]"}));
    EXPECT_EQ(kit::SystemText(ERROR_INVALID_PARAMETER), kit::LastMessage());
}

TEST_F(PlatformExports, FailingQueryAnswersNoForAFamilyAndItsCodeForThePack)
{
    SayNothing();
    BOOL boolean = 99;
    DWORD integer = 99;
    for (const DWORD item : {151U, 152U}) {
        EXPECT_EQ(0U, TARVO_GetPlatformEx(item, &boolean, &integer));
        EXPECT_EQ(FALSE, std::exchange(boolean, 99));
    }
    EXPECT_EQ(DWORD{ERROR_NOT_READY}, TARVO_GetPlatformEx(156, &boolean, &integer));
    EXPECT_EQ(99, boolean);
    EXPECT_EQ(99U, integer);
}

TEST_F(PlatformExports, ServerIsToldByItsTypeAndItsBlockIsFreed)
{
    kit::ImportHook query("NetServerGetInfo", &NetServerGetInfo);
    kit::ImportHook free("NetApiBufferFree", &NetApiBufferFree);
    DWORD type = 0;
    NET_API_STATUS code = 0;
    query.Answer([&](wchar_t* server, DWORD level, BYTE** block) {
        EXPECT_EQ(nullptr, server);
        const NET_API_STATUS real = query.Original()(server, level, block);
        reinterpret_cast<SERVER_INFO_101*>(*block)->sv101_type = type;
        return code ? code : real;
    });
    const struct {
        DWORD type;
        NET_API_STATUS code;
        BOOL expected;
    } cases[] = {{0x8000, 0, TRUE},  {0x10, 0, TRUE},        {0x8, 0, TRUE},
                 {0x7FE7, 0, FALSE}, {0xFFFF7FE7, 0, FALSE}, {0x8000, ERROR_ACCESS_DENIED, 99}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.type);
        type = row.type;
        code = row.code;
        BOOL answer = 99;
        EXPECT_EQ(row.code, TARVO_GetPlatformEx(153, &answer, nullptr));
        EXPECT_EQ(row.expected, answer);
        EXPECT_EQ(query.Calls(), free.Calls());
    }
    EXPECT_EQ(0U, TARVO_GetPlatformEx(153, nullptr, nullptr));
}

BOOL WINAPI FailingIsWow64Process(HANDLE, BOOL* wow64)
{
    return *wow64 = TRUE, FALSE;
}

TEST_F(PlatformExports, SixtyFourBitsAreToldByTheFunctionIfThereIsOne)
{
    BOOL expected = FALSE;
    IsWow64Process(GetCurrentProcess(), &expected);
    EXPECT_EQ(expected, TARVO_Is64BitPlatform());
    for (const auto answer : {decltype(&FailingIsWow64Process){}, &FailingIsWow64Process}) {
        kit::ImportHook find("GetProcAddress", &GetProcAddress);
        find.Answer([&](HMODULE module, const char* name) {
            EXPECT_EQ(GetModuleHandleA("kernel32"), module);
            EXPECT_STREQ("IsWow64Process", name);
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(answer));
        });
        EXPECT_FALSE(TARVO_Is64BitPlatform());
        EXPECT_EQ(1, find.Calls());
    }
}

} // namespace
