// Recording for uninstalling and the uninstall run, against their records.

#include "services/test_service.h"

namespace {

using UninstallRecords = kit::BehaviorTest;
using kit::Stage;

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
    Case("missing texts are refused and leave the log as it is", {.failures = false, .allocations = false},
         [](Stage& stage) {
             stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", "value", TRUE);
             stage.Call(&TARVO_AddRollbackEntry, nullptr, "entry", "value", TRUE);
             stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "value", TRUE);
             stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", nullptr, TRUE);
             stage.Call(&TARVO_AddRollbackEntry, "Own", "entry", nullptr, FALSE);
             stage.Call(&TARVO_AddFileToUninstallLog, nullptr);
             stage.Call(&TARVO_SetCustomUnInstallString, nullptr, "value");
             stage.Call(&TARVO_SetCustomUnInstallString, "name", nullptr);
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
    Case("an existing log is made writable and kept", {.records = false}, [](Stage& stage) {
        const std::string log = Stage::File("x.log", "[Files]\r\nold=1\r\n");
        SetFileAttributesA(log.c_str(), FILE_ATTRIBUTE_READONLY);
        stage.Call(&TARVO_StartUninstallLogging, log, nullptr);
        stage.TellFolder();
        stage.Call(&TARVO_AddFileToUninstallLog, "new");
        stage.TellFolder();
    });
    Case("a start that fails leaves the earlier log", {.failures = false, .allocations = false}, [](Stage& stage) {
        const std::string log = Stage::File("x.log");
        SetFileAttributesA(log.c_str(), FILE_ATTRIBUTE_READONLY);
        const kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, ERROR_ACCESS_DENIED, FALSE);
        stage.Call(&TARVO_StartUninstallLogging, log, "plug-in");
        stage.Call(&TARVO_StartUninstallLogging, nullptr, "plug-in");
        stage.Call(&TARVO_AddRollbackEntry, "Own", nullptr, "item", FALSE);
    });
    Case("the last start counts, a name of 300 characters cut to 259", {.failures = false, .allocations = false},
         [](Stage& stage) {
             kit::ImportHook write("WritePrivateProfileStringA", &WritePrivateProfileStringA);
             write.Answer([&](const char*, const char*, const char*, const char* file) {
                 return stage.Tell("characters of the name", std::to_string(strlen(file))), TRUE;
             });
             TARVO_StartUninstallLogging(("C:\\" + std::string(297, 'x')).c_str(), nullptr);
             TARVO_AddFileToUninstallLog("item");
         });
    Case("registry entries stand in the section of their view", {.failures = false, .allocations = false},
         [](Stage& stage) {
             for (const kit::View view : {kit::View::kOwn, kit::View::k64})
                 kit::MakeKey(Stage::Key(), view);
             for (const BOOL own : {TRUE, FALSE})
                 TARVO_CreateRegistryEntryEx((Stage::Locator("k") + R"(\\name|data)").c_str(), REG_SZ, FALSE, own);
             stage.Tell("done", "yes");
         });
}

TEST_F(UninstallRecords, Log)
{
    constexpr Ways kOnce = {.failures = false, .allocations = false};
    Open("uninstall/log");
    Case("no log is open", kOnce, [](Stage& stage) {
        kit::OutPlace& buffer = stage.Text("buffer", 8);
        for (const DWORD operation : {TARVO_UNINSTALL_FILES, TARVO_UNINSTALL_SHELL_EXTENSION, 199})
            stage.Call(&TARVO_PerformUnInstall, operation);
        stage.Call(&TARVO_GetCustomUnInstallString, "name", buffer, 8);
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
    Case("a shortcut goes by its own section", {.failures = false, .allocations = false}, [](Stage& stage) {
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
    Case("a file that can be neither deleted nor deferred stays", {.failures = false, .allocations = false},
         [](Stage& stage) {
             const std::string file = Stage::File("f");
             const kit::FileLock lock(file);
             const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
             OpenLog({"[Files]", file + "=1"});
             stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_FILES);
             stage.TellFolder();
         });
    Case("lines that are not marked are passed over", {.failures = false, .allocations = false}, [](Stage& stage) {
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

/** How a running service takes its stop. */
struct Obedience {
    DWORD refusal; // of the stop
    bool stops;
    DWORD failure; // of later questions for the state
};

/** Services of the manager that it tells to be running, if they are to. */
class Services {
public:
    explicit Services(const std::vector<const char*>& names, DWORD state, Obedience obedience = {})
        : state_(state), query_("QueryServiceStatus", &QueryServiceStatus), control_("ControlService", &ControlService),
          ticks_("GetTickCount", &GetTickCount), sleeps_("Sleep", &Sleep)
    {
        ticks_.Answer([this] { return now_; });
        sleeps_.Answer([this](DWORD milliseconds) { now_ += milliseconds; });
        for (const char* name : names)
            services_.emplace_back(name).Install("plain");
        query_.Answer([this](SC_HANDLE, SERVICE_STATUS* status) {
            *status = {SERVICE_WIN32_OWN_PROCESS, state_, SERVICE_ACCEPT_STOP, 0, 0, 0, 0};
            SetLastError(failure_);
            return !failure_;
        });
        control_.Answer([this, obedience](SC_HANDLE, DWORD, SERVICE_STATUS*) {
            state_ = obedience.stops ? SERVICE_STOPPED : state_;
            failure_ = obedience.failure;
            SetLastError(obedience.refusal);
            return !obedience.refusal;
        });
    }

    /** @return the names of those that are still there. */
    std::vector<std::string> Left() const
    {
        std::vector<std::string> left;
        for (const TestService& service : services_) {
            if (service.Exists())
                left.emplace_back(service.Name());
        }
        return left;
    }

private:
    DWORD state_;
    DWORD failure_ = ERROR_SUCCESS;
    std::deque<TestService> services_;
    kit::ImportHook<decltype(&QueryServiceStatus)> query_;
    kit::ImportHook<decltype(&ControlService)> control_;
    DWORD now_ = 0; // a sleep takes no time and moves the clock on
    kit::ImportHook<decltype(&GetTickCount)> ticks_;
    kit::ImportHook<decltype(&Sleep)> sleeps_;
};

TEST_F(UninstallRecords, Services)
{
    Open("uninstall/services");
    Case("lines say whether the service goes", {.failures = false, .sleeps = true}, [](Stage& stage) {
        const Services services({"TarvoA", "TarvoB", "TarvoC", "Tarvo=D", "TarvoE", "TarvoF", "TarvoG", "TarvoH"},
                                SERVICE_STOPPED);
        OpenLog({"[Files]", "TarvoG=1", "[Services]", "TarvoMissing=1", "TarvoC", "TarvoA=1", "tarvob=12x", "Tarvo=D=1",
                 "TarvoE=-1", "TarvoF=0", "TarvoG=", "TarvoH=x1"});
        stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_SERVICES);
        stage.Tell("left", services.Left());
    });
    Case("a running service is stopped, and removed whether it stops or not",
         {.failures = false, .allocations = false, .sleeps = true}, [](Stage& stage) {
             constexpr Obedience kObediences[] = {
                 {0, true, 0},  {ERROR_INVALID_SERVICE_CONTROL, false, 0}, {ERROR_SERVICE_CANNOT_ACCEPT_CTRL, false, 0},
                 {0, false, 0}, {0, false, ERROR_ACCESS_DENIED},
             };
             OpenLog({"[Services]", "TarvoStep=1"});
             for (const Obedience& obedience : kObediences) {
                 const Services services({"TarvoStep"}, SERVICE_RUNNING, obedience);
                 stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_SERVICES);
                 stage.Tell("left", services.Left());
             }
         });
    Case("the product's own services are removed as they run",
         {.failures = false, .allocations = false, .sleeps = true}, [](Stage& stage) {
             const Services services({"Velmora Warden", "Velmora Sieve", "Velmora Scout", "Velmora Sieve2"},
                                     SERVICE_RUNNING);
             OpenLog({"[Services]", "Velmora Warden=1", "vELMORA sIEVE=1", "Velmora Scout=1", "Velmora Sieve2=1"});
             stage.Call(&TARVO_PerformUnInstall, TARVO_UNINSTALL_SERVICES);
             stage.Tell("left", services.Left());
         });
}

} // namespace
