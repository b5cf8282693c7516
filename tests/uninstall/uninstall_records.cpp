// Recording for uninstalling and the uninstall run, against their records.

#include "services/test_service.h"

namespace {

using kit::Stage;

class UninstallRecords : public kit::BehaviorTest {
protected:
    static constexpr Ways kOnce = {.failures = false, .allocations = false};
};

std::string Subfolder(const std::string& name)
{
    CreateDirectoryA(Stage::Folder(name).c_str(), nullptr);
    return Stage::Folder(name);
}

/** Writes a log and opens it for the uninstall run. A line that begins with "[" is a section. */
void OpenLog(const std::vector<std::string>& lines)
{
    std::string content;
    for (const std::string& line : lines)
        content += line + "\r\n";
    TARVO_OpenRollBackLog(Stage::File("uninstall.log", content).c_str());
}

TEST_F(UninstallRecords, Recording)
{
    Open("uninstall/recording");
    Case("each item stands on a line of its section, a later value in the place of the earlier", [](Stage& stage) {
        stage.Call(&TARVO_AddFileToUninstallLog, "C:\\first=1");
        stage.Call(&TARVO_SetCustomUnInstallString, "name", "old");
        stage.Call(&TARVO_SetCustomUnInstallString, "NAME", "value = 2");
        stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", "value", TRUE);
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "item", FALSE);
        stage.Call(&TARVO_AddFileToUninstallLog, "C:\\second");
        stage.Call(&TARVO_AddFileToUninstallLog, "c:\\FIRST=1");
    });
    Case("missing texts are refused and leave the log as it is", kOnce, [](Stage& stage) {
        stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", "value", TRUE);
        stage.Call(&TARVO_AddRollbackEntry, nullptr, "entry", "value", TRUE);
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "value", TRUE);
        stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", nullptr, TRUE);
        stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", nullptr, FALSE);
        stage.Call(&TARVO_AddFileToUninstallLog, nullptr);
        stage.Call(&TARVO_SetCustomUnInstallString, nullptr, "value");
        stage.Call(&TARVO_SetCustomUnInstallString, "name", nullptr);
    });
    Case("what would not come back is not written", kOnce, [](Stage& stage) {
        for (const char* item : {"a\x01", "[a", ";a", " a", ""})
            stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, item, FALSE);
        for (const char* section : {"O]wn", "O\nwn"})
            stage.Call(&TARVO_AddRollbackEntry, section, nullptr, "item", FALSE);
        stage.Call(&TARVO_SetCustomUnInstallString, "a=b", "value");
        stage.Call(&TARVO_SetCustomUnInstallString, "name", "[Files]\nC:\\x=1");
    });
    Case("paths are made full", kOnce, [](Stage& stage) {
        SetCurrentDirectoryA(Stage::Folder().c_str());
        for (const char* section : {"Files", "Shortcuts", "Own"})
            stage.Call(&TARVO_AddRollbackEntry, section, nullptr, "x\\..\\name", FALSE);
        stage.Call(&TARVO_AddRollbackEntry, "Files", nullptr, std::string(250, 'x'), FALSE);
        SetCurrentDirectoryA(kit::ProgramFolder().c_str());
    });
    Case("without recording nothing fails", {.records = false}, [](Stage& stage) {
        const std::string log = Stage::Folder("x.log");
        stage.Call(&TARVO_StopUninstallLogging);
        stage.Call(&TARVO_StartUninstallLogging, log, "plug-in");
        stage.Call(&TARVO_StopUninstallLogging);
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "lost", FALSE);
        stage.Call(&TARVO_SetCustomUnInstallString, "lost", "value");
        stage.TellFolder();
    });
    Case("a log without its folder is told of at once", {.records = false}, [](Stage& stage) {
        stage.Call(&TARVO_StartUninstallLogging, Stage::Folder() + "\\none\\x.log", nullptr);
        stage.Call(&TARVO_StartUninstallLogging, Stage::Folder() + "\\x.log", nullptr);
    });
    Case("an existing log is made writable and kept", {.records = false}, [](Stage& stage) {
        const std::string log = Stage::File("x.log", "[Files]\r\nold=1\r\n");
        SetFileAttributesA(log.c_str(), FILE_ATTRIBUTE_READONLY);
        const kit::ReadOnlyHolds holds;
        stage.Call(&TARVO_StartUninstallLogging, log, nullptr);
        stage.TellFolder();
        stage.Call(&TARVO_AddFileToUninstallLog, "new");
        stage.TellFolder();
    });
    Case("a start that fails leaves the earlier log", kOnce, [](Stage& stage) {
        const std::string log = Stage::File("x.log");
        SetFileAttributesA(log.c_str(), FILE_ATTRIBUTE_READONLY);
        const kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, ERROR_ACCESS_DENIED, FALSE);
        stage.Call(&TARVO_StartUninstallLogging, log, "plug-in");
        stage.Call(&TARVO_StartUninstallLogging, nullptr, "plug-in");
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "item", FALSE);
    });
    Case("the last start counts, a name of 300 characters cut to 259", kOnce, [](Stage& stage) {
        stage.HideText(std::string(256, 'x'), "<256>");
        TARVO_StartUninstallLogging(("C:\\" + std::string(297, 'x')).c_str(), nullptr);
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "item", FALSE); // no file system has names that long
    });
    Case("registry entries stand in the section of their view", kOnce, [](Stage& stage) {
        for (const kit::View view : {kit::View::kOwn, kit::View::k64})
            kit::MakeKey(Stage::Key(), view);
        for (const BOOL own : {TRUE, FALSE})
            TARVO_CreateRegistryEntryEx((Stage::Locator("k") + R"(\\name|data)").c_str(), REG_SZ, FALSE, own);
        stage.Tell("done", "yes");
    });
}

TEST_F(UninstallRecords, Log)
{
    Open("uninstall/log");
    Case("no log is open", kOnce, [](Stage& stage) {
        kit::OutPlace& buffer = stage.Text("buffer", 8);
        for (const DWORD operation : {TARVO_UNINSTALL_FILES, TARVO_UNINSTALL_SHELL_EXTENSION, 199})
            stage.Call(&TARVO_PerformUnInstall, operation);
        stage.Call(&TARVO_GetCustomUnInstallString, "name", buffer, 8);
        stage.Call(&TARVO_GetCustomUnInstallString, nullptr, buffer, 0);
        stage.Call(&TARVO_CloseRollBackLog);
        stage.Call(&TARVO_OpenRollBackLog, nullptr);
        stage.Call(&TARVO_OpenRollBackLog, Stage::Folder("none"));
        stage.Call(&TARVO_CloseRollBackLog);
    });
    Case("a log is opened and closed once", [](Stage& stage) {
        stage.Call(&TARVO_OpenRollBackLog, Stage::File("uninstall.log"));
        stage.Call(&TARVO_CloseRollBackLog);
        stage.Call(&TARVO_CloseRollBackLog);
    });
    Case("steps without a section, and codes without a step", {.failures = false}, [](Stage& stage) {
        OpenLog({});
        for (const DWORD operation : {0, 199, 204, 205, 206, -1})
            stage.Call(&TARVO_PerformUnInstall, operation);
    });
    Case("nothing is listed, or the log has gone", [](Stage& stage) {
        OpenLog({"[Files]", "[Registry entries]"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        DeleteFileA(Stage::Folder("uninstall.log").c_str());
        for (const DWORD operation : {200, 201, 202, 203})
            stage.Call(&TARVO_PerformUnInstall, operation);
        stage.Call(&TARVO_GetCustomUnInstallString, "name", stage.Text("buffer", 8), 8);
    });
    Case("custom texts, with room or cut", kOnce, [](Stage& stage) {
        OpenLog({"[Own]", "other=x", "[Custom]", "name=12345"});
        for (const DWORD size : {10, 6, 5, 1, 0})
            stage.Call(&TARVO_GetCustomUnInstallString, "Name", stage.Text("buffer", 10), size);
        for (const char* name : {"no", "other"})
            stage.Call(&TARVO_GetCustomUnInstallString, name, stage.Text("buffer", 10), 10);
        stage.Call(&TARVO_GetCustomUnInstallString, nullptr, stage.Text("buffer", 10), 10);
        stage.Call(&TARVO_GetCustomUnInstallString, "name", nullptr, 10);
    });
}

TEST_F(UninstallRecords, Files)
{
    Open("uninstall/files");
    Case("contents go before their folders, longest first", [](Stage& stage) {
        const std::string folder = Subfolder("d");
        const std::string sub = Subfolder("d\\empty folder");
        const std::string others = Subfolder("ee");
        Stage::File("ee\\theirs");
        OpenLog({"[Files]", folder + "=1", Stage::File("d\\f1") + "=1", Stage::File("d\\f=22") + "=1", sub + "=1",
                 Stage::Folder("ee\\missing") + "=1", others + "=1", "[Shortcuts]", Stage::File("ee\\f.lnk") + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
        stage.TellPending();
    });
    Case("a shortcut goes by its own section", kOnce, [](Stage& stage) {
        Subfolder("d");
        OpenLog({"[Files]", Stage::File("f") + "=1", "[Shortcuts]", Stage::File("d\\f.lnk") + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_SHORTCUTS);
        stage.TellFolder();
    });
    Case("a locked file goes at the restart, with its folder", {.allocations = false}, [](Stage& stage) {
        const std::string folder = Subfolder("d");
        const std::string locked = Stage::File("d\\locked");
        const kit::FileLock lock(locked);
        OpenLog({"[Files]", folder + "=1", locked + "=1", Stage::File("d\\other file") + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
        stage.TellPending();
    });
    Case("the restart brings back nothing that goes, or has gone", kOnce, [](Stage& stage) {
        Subfolder("d");
        const std::string stored = R"(\??\)" + Stage::Folder("d\\f");
        Stage::File("d\\f.1");
        kit::PendingValue::Write({{stored + ".1", "!" + stored + ".exe"},
                                  {stored + ".1", "!" + stored + ".no"},
                                  {stored + ".1", "!" + stored}});
        OpenLog(
            {"[Files]", Stage::Folder("d") + "=1", Stage::File("d\\f.exe") + "=1", Stage::Folder("d\\f.no") + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
        stage.TellPending();
    });
    Case("a file that can be neither deleted nor deferred stays", kOnce, [](Stage& stage) {
        const std::string file = Stage::File("f");
        const kit::FileLock lock(file);
        const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
        OpenLog({"[Files]", file + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
    });
    Case("what names no one file is passed over", kOnce, [](Stage& stage) {
        OpenLog({"[Files]", "C:=1", "C:\\=1", "\\=1", "C:x=1", "C:\\a\\..=1", "C:\\NUL=1", "\\\\.\\C:=1",
                 "\\\\server=1", "\\\\?\\" + Stage::File("f") + "=1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
    });
    Case("lines that are not marked are passed over", kOnce, [](Stage& stage) {
        const std::string file = Stage::File("f");
        SetCurrentDirectoryA(Stage::Folder().c_str());
        Stage::File("relative");
        OpenLog({"[Files]", file, file + "=", file + "=0", file + "=2", file + "=01", file + "= 1", file + "=1=0",
                 // The reader takes 1023 bytes at once: what follows must not pass for an item of its own.
                 std::string(1023 - file.size(), 'x') + file + "=0", " \trelative=1x"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
        stage.TellFolder();
        SetCurrentDirectoryA(kit::ProgramFolder().c_str());
    });
}

TEST_F(UninstallRecords, Registry)
{
    Open("uninstall/registry");
    Case("values go before their keys, in the view of their section", {.allocations = false}, [](Stage& stage) {
        const std::string key = Stage::Locator("k");
        for (const kit::View view : {kit::View::kOwn, kit::View::k64}) {
            for (const char* name : {"a", "bb"})
                kit::WriteValue(Stage::Key("k"), name, kit::RegistryValue::Text("x"), view);
        }
        OpenLog({"[Registry entries]", key + "=1", key + R"(\\a=1)", key + R"(\\bb=1)", "unmarked", "HKEY_WRONG\\k=1",
                 "[Registry entries unvirtualized]", key + "=1", key + R"(\\a=1)", key + R"(\\bb=0)"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_REGISTRY);
        for (const kit::View view : {kit::View::kOwn, kit::View::k64})
            stage.TellValue(Stage::Key("k"), "bb", view);
    });
    Case("only a failure in the 64-bit section is told", {.failures = false}, [](Stage& stage) {
        const std::string key = Stage::Locator("k");
        for (const kit::View view : {kit::View::kOwn, kit::View::k64})
            kit::WriteValue(Stage::Key("k"), "a", kit::RegistryValue::Text("x"), view);
        OpenLog({"[Registry entries]", key + R"(\\a=1)", "[Registry entries unvirtualized]", key + R"(\\a=1)"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_REGISTRY);
        for (const kit::View view : {kit::View::kOwn, kit::View::k64})
            stage.TellValue(Stage::Key("k"), "a", view);
    });
}

/** Removes the services that a log lists. */
void RemoveServices(Stage& stage, const std::vector<std::string>& lines, const PlayedService& played = PlayedService())
{
    OpenLog(lines);
    stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_SERVICES);
    stage.Tell("removed", played.Removed());
}

TEST_F(UninstallRecords, Services)
{
    Open("uninstall/services");
    Case("lines say whether the service goes", {.failures = false}, [](Stage& stage) {
        RemoveServices(stage,
                       {"[Files]", "TarvoG=1", "[Services]", "TarvoMissing=1", "TarvoC", "TarvoA=1", "tarvob=12x",
                        "Tarvo=D=1", "TarvoE=-1", "TarvoF=0", "TarvoG=", "TarvoH=x1"},
                       PlayedService({SERVICE_STOPPED}));
    });
    const struct {
        DWORD refusal;
        std::vector<DWORD> states;
        int failingQuestion = 0;
    } rows[] = {
        {0, {SERVICE_RUNNING, SERVICE_RUNNING, SERVICE_STOPPED}},
        {ERROR_INVALID_SERVICE_CONTROL, {SERVICE_RUNNING}},
        {ERROR_SERVICE_CANNOT_ACCEPT_CTRL, {SERVICE_RUNNING}},
        {0, {SERVICE_RUNNING}},
        {0, {SERVICE_RUNNING}, 3},
    };
    Case("a running service is stopped, and removed whether it stops or not", kOnce, [&](Stage& stage) {
        for (const auto& [refusal, states, failingQuestion] : rows) {
            const PlayedService played(states);
            kit::ImportHook control("ControlService", &ControlService, refusal, refusal ? FALSE : TRUE);
            kit::ImportHook query("QueryServiceStatus", &QueryServiceStatus);
            query.FailNth(failingQuestion, ERROR_ACCESS_DENIED, FALSE);
            RemoveServices(stage, {"[Services]", "TarvoStep=1"}, played);
        }
    });
    Case("the product's own services are removed as they run", kOnce, [](Stage& stage) {
        RemoveServices(stage,
                       {"[Services]", "Velmora Warden=1", "vELMORA sIEVE=1", "Velmora Scout=1", "Velmora Sieve2=1"});
    });
}

} // namespace
