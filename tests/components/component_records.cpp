// Plug-ins, the management console and agent, and the default policy file, against their records.

#include "registry/product_key.h"
#include "services/test_service.h"

namespace {

using kit::Stage;
using namespace std::string_literals;

constexpr char kAgent[] = "Software\\Norrin Vale\\Velmora\\Management Agent";
constexpr char kLamp[] = "Software\\Norrin Vale\\Velmora\\Management Agent\\Plug-Ins\\Lamp";
constexpr DWORD kNone = 0xFFFFFFFF;

class ComponentRecords : public kit::BehaviorTest {
protected:
    /** A case without any key of the product. @param failures  Whether platform calls and allocations fail. */
    void Case(const std::string& title, bool failures, const Body& body)
    {
        BehaviorTest::Case(title, {.failures = failures, .allocations = failures}, [&](Stage& stage) {
            const NoProductKeys none;
            body(stage);
        });
    }
};

TEST_F(ComponentRecords, PlugIns)
{
    Open("components/plug_ins");
    Case("agents' plug-ins with and without restarts", false, [](Stage& stage) {
        for (const DWORD given : {0x80000001UL, 0UL, kNone}) {
            kit::RemoveKeyTree(kLamp, kit::View::kOwn);
            stage.Call(&TARVO_RegisterKobaPlugInEx, 77, 0, 2, kNone, "Lamp", "1.2.3", "C:\\a|b=c.dll", "x\0y\0"s, given,
                       given, given);
            stage.TellValue(kLamp, "RestartInterval");
        }
        for (const char* name : {"Type", "Start", "DisplayName", "OID", "ImagePath", "DependOnModule"})
            stage.TellValue(kLamp, name);
    });
    Case("a list of dependencies is cut, and runs on to the end of a buffer", false, [](Stage& stage) {
        for (const std::string& run : {std::string(1000, 'd'), std::string(900, '@')})
            stage.HideText(run, "<" + std::to_string(run.size()) + ">");
        for (const size_t size : {1, 1023, 1024, 1025}) {
            stage.Call(&TARVO_RegisterKobaPlugIn, 77, 1, 2, 3, "Lamp", "1", "p", std::string(size - 1, 'd') + '\0');
            stage.TellValue(kLamp, "DependOnModule");
        }
    });
    Case("a plug-in of the console", true,
         [](Stage& stage) { stage.Call(&TARVO_RegisterKobPlugIn, "Lamp", "C:\\lamp.dll"); });
    Case("what is missing or too long is refused", false, [](Stage& stage) {
        const std::string text(2100, 'x');
        for (const size_t length : {2100, 100})
            stage.HideText(text.substr(0, length), "<" + std::to_string(length) + ">");
        const char* const bad[][4] = {{nullptr, "1", "p", ""},      {"Lamp", nullptr, "p", ""},
                                      {"Lamp", "1", nullptr, ""},   {"Lamp", "1", "p", nullptr},
                                      {text.c_str(), "1", "p", ""}, {"Lamp", text.c_str(), "p", ""}};
        for (const auto& [name, version, path, depends] : bad)
            stage.Call(&TARVO_RegisterKobaPlugInEx, 77, 1, 2, 3, name, version, path, depends, kNone, kNone, kNone);
        stage.TellValue(kLamp, "DisplayName");
        stage.Call(&TARVO_RegisterKobPlugIn, nullptr, "p");
        stage.Call(&TARVO_RegisterKobPlugIn, "Lamp", nullptr);
        stage.Call(&TARVO_RegisterKobPlugIn, text, "p");
        stage.Call(&TARVO_RegisterKobPlugIn, "Lamp", text);
    });
    Case("an entry that cannot be written ends the registration", false, [](Stage& stage) {
        kit::ImportHook set("RegSetValueExA", &RegSetValueExA);
        for (const int nth : {2, 12}) {
            set.FailNth(nth, 0, ERROR_DISK_FULL);
            stage.Call(&TARVO_RegisterKobaPlugInEx, 77, 1, 2, 3, "Lamp", "1", "p", "", 4, 5, 6);
        }
    });
    Case("a property of a plug-in", true, [](Stage& stage) {
        static const char data[] = "\1\0\2";
        kit::MakeKey(kLamp);
        stage.Call(&TARVO_RegisterKobaPlugInProperty, "Lamp", "Own", 77, data, 3);
        stage.TellValue(kLamp, "Own");
    });
    Case("a property needs a plug-in", false, [](Stage& stage) {
        for (const char* name : {static_cast<const char*>(nullptr), "", "Lamp"})
            stage.Call(&TARVO_RegisterKobaPlugInProperty, name, nullptr, 1, nullptr, 0);
        kit::MakeKey(kLamp);
        for (const char* name : {"Other", "Lamp"})
            stage.Call(&TARVO_RegisterKobaPlugInProperty, name, nullptr, 1, nullptr, 0);
    });
}

TEST_F(ComponentRecords, Console)
{
    Open("components/console");
    const auto start = [](Stage& stage, int answer) {
        const kit::ImportHook execute("ShellExecuteA", &ShellExecuteA, 0, reinterpret_cast<HINSTANCE>(answer));
        stage.Call(&TARVO_StartKOB);
    };
    const auto write = [](const char* key, const char* name, const std::string& directory) {
        kit::WriteValue(key, name, kit::RegistryValue::Text(directory));
    };
    Case("the console is started from the product's directory, and from the same one again", true, [=](Stage& stage) {
        write(kAgent, "InstallationDirectory", "");
        write(kProductKey, "InstallationRootDirectory", "C:\\root");
        start(stage, 33);
        write(kAgent, "InstallationDirectory", "C:\\agent");
        start(stage, 33);
    });
    Case("the agent's directory comes first, and is looked for until it is there", false, [=](Stage& stage) {
        start(stage, 33);
        write(kAgent, "InstallationDirectory", "C:\\agent\\");
        write(kProductKey, "InstallationRootDirectory", "C:\\root");
        start(stage, 32);
        stage.Call(&TARVO_StopKOB);
    });
    for (const size_t length : {256, 300}) {
        Case("no room behind " + std::to_string(length), false, [=](Stage& stage) {
            write(kAgent, "InstallationDirectory", std::string(length, 'x'));
            write(kProductKey, "InstallationRootDirectory", std::string(256, 'x'));
            kit::ImportHook read("RegQueryValueExA", &RegQueryValueExA);
            read.Answer([&](HKEY from, const char* name, DWORD*, DWORD*, BYTE* bytes, DWORD* size) {
                memset(bytes, 'y', *size); // as Windows may, where it then fails
                return read.Original()(from, name, nullptr, nullptr, bytes, size);
            });
            start(stage, 33);
        });
    }
}

TEST_F(ComponentRecords, Agent)
{
    Open("components/agent");
    Case("an agent that is not installed counts as stopped", false, [](Stage& stage) {
        for (const auto call : {&TARVO_StopKOBA, &TARVO_StartKOBA})
            stage.Call(call);
    });
    const struct {
        decltype(&TARVO_StartKOBA) call;
        std::vector<DWORD> states; // those that are told, one after the other
        int fails = 0;             // the n-th order or question
    } rows[] = {
        {&TARVO_StartKOBA, {SERVICE_RUNNING}},        {&TARVO_StartKOBA, {SERVICE_START_PENDING, SERVICE_RUNNING}},
        {&TARVO_StartKOBA, {SERVICE_PAUSED}},         {&TARVO_StartKOBA, {SERVICE_STOPPED}, 1},
        {&TARVO_StopKOBA, {SERVICE_STOPPED}},         {&TARVO_StopKOBA, {SERVICE_STOP_PENDING, SERVICE_STOPPED}},
        {&TARVO_StopKOBA, {SERVICE_PAUSED}},          {&TARVO_StopKOBA, {SERVICE_RUNNING}, 1},
        {&TARVO_StopKOBA, {SERVICE_STOP_PENDING}, 2},
    };
    Case("an agent is started, stopped and waited for by its state", false, [&](Stage& stage) {
        for (const auto& [call, states, fails] : rows) {
            const PlayedService played(states);
            kit::ImportHook start("StartServiceA", &StartServiceA);
            kit::ImportHook control("ControlService", &ControlService);
            kit::ImportHook query("QueryServiceStatus", &QueryServiceStatus);
            start.FailNth(fails, ERROR_SERVICE_DISABLED, FALSE);
            control.FailNth(fails, ERROR_INVALID_SERVICE_CONTROL, FALSE);
            query.FailNth(fails == 2 ? 2 : 0, ERROR_INVALID_DATA, FALSE);
            stage.Call(call);
        }
    });
}

TEST_F(ComponentRecords, Policy)
{
    Open("components/policy");
    const auto install = [](Stage& stage, const std::string& from, const std::string& name, const std::string& to) {
        for (const char* folder : {"from", "to"})
            CreateDirectoryA(Stage::Folder(folder).c_str(), nullptr);
        Stage::File("to\\" + name, "old");
        stage.Call(&TARVO_InstallDefaultPolicyFile, Stage::File(from + "\\" + name, "new"), Stage::Folder(to));
        stage.TellFile(Stage::Folder("to\\" + name));
    };
    Case("a policy file is put in place and recorded with its companion", true,
         [=](Stage& stage) { install(stage, "from", "policy.DPF", "to"); });
    Case("other files have no companion, and one that lies there is recorded only", false, [=](Stage& stage) {
        for (const char* name : {"policy", "a.dpf.old", "b.dpfx"})
            install(stage, "from", name, "to");
        install(stage, "FROM", "Policy.dpf", "from");
    });
    Case("what is missing, too long or not copied is not recorded", false, [](Stage& stage) {
        stage.Call(&TARVO_InstallDefaultPolicyFile, nullptr, "C:\\to");
        stage.Call(&TARVO_InstallDefaultPolicyFile, "C:\\a.dpf", nullptr);
        stage.Call(&TARVO_InstallDefaultPolicyFile, "C:\\policy.dpf", std::string(250, 'x'));
        stage.Call(&TARVO_InstallDefaultPolicyFile, "C:\\no.dpf", "C:\\");
        stage.Call(&TARVO_InstallDefaultPolicyFile, Stage::Folder("missing.dpf"), Stage::Folder("to\\"));
    });
}

} // namespace
