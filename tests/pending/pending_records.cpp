// The exports of the pending list, against their record, and lists of the greatest size.

#include <algorithm>
#include <cstring>

#include "kit/kit.h"

namespace {

using kit::PendingValue;
using kit::Stage;
using Pairs = PendingValue::Pairs;
using PendingRecords = kit::BehaviorTest;
using PendingSizes = kit::LibraryTest;

void Find(Stage& stage, const char* path)
{
    stage.Call(&TARVO_FindSourceInPFOs, path, stage.Text("source", MAX_PATH), MAX_PATH);
}

TEST_F(PendingRecords, Exports)
{
    Open("pending/pending");
    Case("each export loads the list on need", {.unfolded = true}, [](Stage& stage) {
        PendingValue::Write({{R"(\??\C:\from)", R"(!\??\C:\to)"}});
        Find(stage, "C:\\to");
        stage.Call(&TARVO_ReceivePFOsInfo);
        stage.Call(&TARVO_RenameAfterReboot, "C:\\x\\..\\a", "\\\\s\\b");
        stage.TellPending();
        stage.Call(&TARVO_RemovePendingFileOperation, "C:\\FROM", nullptr);
        stage.TellPending();
    });
    Case("changes wait for a flush that is not immediate", {.allocations = false, .unfolded = true}, [](Stage& stage) {
        PendingValue::Write({{R"(\??\C:\gone)", ""}, {R"(\??\C:\from)", R"(!\??\C:\to)"}});
        stage.Call(&TARVO_SetPFOsImmediateFlush, 0);
        stage.Call(&TARVO_RemovePendingFileOperation, nullptr, "C:\\none");
        for (const char* path : {"C:\\from", "C:\\gone", "C:\\x"})
            Find(stage, path);
        stage.Call(&TARVO_RemovePendingFileOperation, "C:\\gone", "NUL");
        stage.TellPending();
        PendingValue::Write({{R"(\??\D:\theirs)", ""}});
        stage.Call(&TARVO_UpdatePFOsInfo);
        stage.TellPending();
        stage.Call(&TARVO_UpdatePFOsInfo);
        stage.Call(&TARVO_SetPFOsImmediateFlush, 5);
    });
    constexpr Ways kOnce = {.failures = false, .allocations = false};
    Case("what is missing or has no room is refused before any work", kOnce, [](Stage& stage) {
        for (const char* source : {static_cast<const char*>(nullptr), ""})
            stage.Call(&TARVO_RenameAfterReboot, source, nullptr);
        stage.Check(&TARVO_FindSourceInPFOs, nullptr, stage.Text("source", MAX_PATH), MAX_PATH);
        stage.Check(&TARVO_FindSourceInPFOs, "C:\\a", nullptr, MAX_PATH);
        for (const DWORD size : {0, 259})
            stage.Call(&TARVO_FindSourceInPFOs, "C:\\a", stage.Text("source", size), size);
    });
    Case("a source is handed out as a plain path, cut to 259 characters", kOnce, [](Stage& stage) {
        stage.HideText(std::string(256, 'x'), "<256>");
        for (const std::string stored : {R"(\??\C:\)", R"(\??\UNC\)", R"(C:\)"}) {
            for (const size_t length : {20, 256, 257, 258, 900}) {
                const DWORD size = length == 900 ? 1000 : MAX_PATH;
                PendingValue::Write({{stored + std::string(length, 'x'), R"(!\??\C:\a)"}});
                TARVO_ReceivePFOsInfo();
                stage.Check(&TARVO_FindSourceInPFOs, "C:\\a", stage.Text("source", size), size);
            }
        }
    });
    Case("without a log the value that was written is read only to be compared",
         {.failures = false, .silentCalls = true}, [](Stage& stage) {
             for (const char* source : {"C:\\a", "C:\\b"})
                 stage.Call(&TARVO_RenameAfterReboot, source, nullptr);
             PendingValue::Write({{R"(\??\D:\theirs)", ""}});
             stage.Call(&TARVO_RenameAfterReboot, "C:\\c", nullptr);
             stage.TellPending();
         });
    Case("paths are stored as the restart can use them", kOnce, [](Stage& stage) {
        PendingValue::Write({});
        CreateDirectoryA(Stage::Folder("now").c_str(), nullptr);
        SetCurrentDirectoryA(Stage::Folder("now").c_str());
        for (const char* path :
             {"a/b", "..\\a", "\\a", "C:a", "C:/a\\", "//s/h/a", R"(\\?\C:\a)", R"(\\?\unc\s\a)", R"(\\?\Volume{1}\a)",
              R"(\\.\C:\a)", "C:\\..\\..\\a", R"(\\s\..\a)", "C:\\a\\.\\b. ", "nul"})
            stage.Check(&TARVO_RenameAfterReboot, path, path);
        stage.TellPending();
        SetCurrentDirectoryA(kit::ProgramFolder().c_str());
    });
    Case("the system folder is stored as the one that this process means", kOnce, [](Stage& stage) {
        const auto schedule = [&] {
            PendingValue::Write({});
            for (const std::string path :
                 {"System32", "SYSTEM32\\a", "x\\..\\.\\system32\\a", "System32a", "System32\\drivers\\a",
                  "System32\\drivers\\ETC", "System32\\catroot\\a", "System32\\catroot2\\a", "System32\\catroot3",
                  "System32\\driverstore\\a", "System32\\logfiles\\a", "System32\\spool\\a", "Sysnative\\a",
                  "Sysnative\\spool\\a", "SysWOW64\\a"})
                stage.Check(&TARVO_RenameAfterReboot, "c:\\windows\\" + path, nullptr);
            stage.TellPending();
        };
        schedule();
        stage.Check(&TARVO_RemovePendingFileOperation, "C:\\windows\\system32\\A", "NUL");
        stage.TellPending();
        void* before = nullptr;
        Wow64DisableWow64FsRedirection(&before);
        schedule();
        Wow64RevertWow64FsRedirection(before);
    });
    Case("markers are looked behind, and stay", kOnce, [](Stage& stage) {
        const Pairs marked = {{R"(*1\??\C:\gone)", ""},
                              {R"(*22\??\C:\from)", R"(*1!\??\C:\to)"},
                              {R"(*\??\C:\gone)", ""},
                              {R"(*1C:\gone)", ""},
                              {R"(*1\??\C:\a\..\b\)", ""}};
        PendingValue::Write(marked);
        for (const char* path : {"C:\\to", "C:\\gone"})
            stage.Check(&TARVO_FindSourceInPFOs, path, stage.Text("source", MAX_PATH), MAX_PATH);
        stage.Check(&TARVO_RemovePendingFileOperation, "c:\\GONE", nullptr);
        stage.TellPending();
        stage.Check(&TARVO_RemovePendingFileOperation, nullptr, "C:\\to");
        stage.TellPending();
    });
    Case("the second value is searched and cleared, where there is one", {.allocations = false}, [](Stage& stage) {
        constexpr char kKey[] = "SYSTEM\\CurrentControlSet\\Control\\Session Manager";
        constexpr char kName[] = "PendingFileRenameOperations2";
        using namespace std::string_literals;
        kit::WriteValue(kKey, kName, {REG_MULTI_SZ, "\\??\\C:\\a\0!\\??\\C:\\b\0\\??\\C:\\c\0\0\0"s});
        PendingValue::Write({{R"(\??\C:\b)", ""}, {R"(\??\C:\d)", ""}});
        for (const char* path : {"C:\\b", "C:\\d"})
            stage.Check(&TARVO_FindSourceInPFOs, path, stage.Text("source", MAX_PATH), MAX_PATH);
        stage.Check(&TARVO_RenameAfterReboot, "C:\\e", nullptr);
        stage.Call(&TARVO_RemovePendingFileOperation, nullptr, "C:\\b");
        stage.TellPending();
        stage.TellValue(kKey, kName);
        kit::WriteValue(kKey, kName, {REG_MULTI_SZ, "\\??\\C:\\f\0\0\0"s});
        stage.Check(&TARVO_RemovePendingFileOperation, "C:\\f", nullptr);
        stage.TellPending();
        stage.TellValue(kKey, kName);
        HKEY key = nullptr;
        RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_SET_VALUE, &key);
        RegDeleteValueA(key, kName);
        RegCloseKey(key);
    });
    Case("a merge that fails loses nothing", kOnce, [](Stage& stage) {
        const auto refuse = [&](const std::wstring& units, DWORD type) {
            PendingValue::Write({});
            stage.Check(&TARVO_SetPFOsImmediateFlush, 0);
            stage.Check(&TARVO_RenameAfterReboot, "C:\\ours", nullptr);
            PendingValue::WriteRaw(units, type);
            stage.Check(&TARVO_UpdatePFOsInfo);
            stage.Check(&TARVO_ReceivePFOsInfo);
            stage.Tell("the same", PendingValue::ReadRaw() == PendingValue::Raw{type, units} ? "yes" : "no");
            PendingValue::Write({{R"(\??\D:\theirs)", ""}});
            stage.Check(&TARVO_UpdatePFOsInfo);
            stage.TellPending();
        };
        std::wstring many;
        for (int pair = 0; pair <= 5120; ++pair)
            many += std::wstring(L"\\??\\D:\\x") + std::wstring(2, L'\0');
        refuse(many + L'\0', REG_MULTI_SZ);
        refuse(L"\\??\\D:\\x", REG_BINARY);
    });
    Case("a value does not come into being for nothing", kOnce, [](Stage& stage) {
        PendingValue::Remove();
        stage.Check(&TARVO_SetPFOsImmediateFlush, 0);
        stage.Check(&TARVO_RenameAfterReboot, "C:\\a", nullptr);
        stage.Check(&TARVO_RemovePendingFileOperation, "C:\\a", nullptr);
        stage.Check(&TARVO_UpdatePFOsInfo);
        stage.TellPending();
    });
    for (const int times : {1, 100}) {
        Case("a value that grows while it is read, at most " + std::to_string(times), kOnce, [=](Stage& stage) {
            Pairs pairs;
            kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
            query.Answer([&](HKEY key, auto name, auto unused, DWORD* type, BYTE* data, DWORD* size) {
                const LSTATUS code = query.Original()(key, name, unused, type, data, size);
                if (!data && std::cmp_less(pairs.size(), times + 1))
                    PendingValue::Write((pairs.emplace_back(R"(\??\D:\a)", R"(!\??\D:\b)"), pairs));
                return code;
            });
            PendingValue::Write((pairs.emplace_back(R"(\??\D:\x)", ""), pairs));
            stage.Call(&TARVO_RenameAfterReboot, "C:\\ours", nullptr);
            stage.TellPending();
        });
    }
    Case("nothing is read behind the data", kOnce, [](Stage& stage) {
        using namespace std::string_literals;
        for (const std::string& bytes :
             {"s\0\0\0t\0\0\0"s, "s\0\0\0t\0"s, "s\0"s, "s\0\0\0t\0u"s, "s"s, "s\0\0\0t\0\0\0\0"s}) {
            PendingValue::Write({});
            // Sizes and reads are answered as by a Windows that adds no closing zero.
            const kit::ImportHook<kit::NativeQuery> native("NtQueryValueKey", nullptr, 0, -1);
            kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
            query.Answer([&](auto, auto, auto, DWORD* type, BYTE* data, DWORD* size) -> LSTATUS {
                const DWORD room = std::exchange(*size, bytes.size());
                if (type)
                    *type = REG_MULTI_SZ;
                if (data)
                    memcpy(data, bytes.data(), std::min<size_t>(room, bytes.size()));
                return data && room < bytes.size() ? ERROR_MORE_DATA : ERROR_SUCCESS;
            });
            stage.Check(&TARVO_RenameAfterReboot, "C:\\ours", nullptr);
            stage.TellPending();
        }
    });
}

TEST_F(PendingSizes, ThereIsRoomFor5120)
{
    PendingValue::Write({});
    TARVO_SetPFOsImmediateFlush(0);
    for (int number = 0; number < 5120; ++number)
        ASSERT_EQ(0U, TARVO_RenameAfterReboot(("C:\\" + std::to_string(number)).c_str(), "C:\\b")) << number;
    EXPECT_TRUE(kit::Gives(8, TARVO_RenameAfterReboot("C:\\late", nullptr)));
    EXPECT_EQ(0U, TARVO_RemovePendingFileOperation("C:\\7", nullptr));
    EXPECT_EQ(8U, TARVO_RenameAfterReboot("C:\\late", nullptr)) << "a removed pair keeps its place";
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\last", nullptr));
    EXPECT_EQ(8U, TARVO_RenameAfterReboot("C:\\late", nullptr));
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    const Pairs pairs = PendingValue::Read();
    ASSERT_EQ(5120U, pairs.size());
    EXPECT_EQ(R"(\??\C:\0)", pairs.front().first);
    EXPECT_EQ(R"(\??\C:\8)", pairs[7].first);
    EXPECT_EQ(R"(\??\C:\last)", pairs.back().first);
}

TEST_F(PendingSizes, ValueOfMorePairsIsRefusedAndStays)
{
    const std::pair<std::string, std::string> ours = {R"(\??\C:\ours)", ""};
    const auto addOurs = [] { return TARVO_RenameAfterReboot("C:\\ours", nullptr); };
    char source[MAX_PATH];
    Pairs pairs(5121, {R"(\??\D:\x)", ""});
    PendingValue::Write(pairs);
    EXPECT_EQ(8U, addOurs());
    EXPECT_EQ(8U, TARVO_RemovePendingFileOperation(nullptr, nullptr));
    EXPECT_EQ(8U, TARVO_FindSourceInPFOs("D:\\x", source, sizeof source));
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ(pairs, PendingValue::Read());
    PendingValue::Write({});
    EXPECT_EQ(2U, TARVO_FindSourceInPFOs("D:\\x", source, sizeof source)) << "nothing of it was kept";
    EXPECT_EQ(0U, addOurs());
    pairs.pop_back();
    PendingValue::Write(pairs);
    EXPECT_EQ(8U, addOurs()) << "others have filled it between two flushes";
    EXPECT_EQ(pairs, PendingValue::Read());
    pairs.pop_back();
    PendingValue::Write(pairs);
    EXPECT_EQ(0U, TARVO_ReceivePFOsInfo());
    EXPECT_EQ(0U, addOurs());
    pairs.push_back(ours);
    EXPECT_EQ(pairs, PendingValue::Read());
    PendingValue::Write({});
    EXPECT_EQ(0U, addOurs()) << "what filled the list is gone";
    EXPECT_EQ(Pairs{ours}, PendingValue::Read());
}

TEST_F(PendingSizes, AMegabyteIsCarriedThrough)
{
    // One name of half a million characters that the code page lacks, and one that it holds.
    const std::wstring zeros(2, L'\0');
    const std::wstring pairs =
        L"\\??\\C:\\" + std::wstring(250000, L'\x65E5') + zeros + L"\\??\\C:\\" + std::wstring(250000, L'x') + zeros;
    PendingValue::WriteRaw(pairs + L'\0');
    EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\ours", nullptr));
    EXPECT_TRUE(pairs + L"\\??\\C:\\ours" + zeros + L'\0' == PendingValue::ReadRaw()->units);
    char source[MAX_PATH];
    EXPECT_EQ(2U, TARVO_FindSourceInPFOs("C:\\x", source, sizeof source));
}

} // namespace
