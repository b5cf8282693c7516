// Plug-ins of the management agent and the management console.

#include "registry/product_key.h"

namespace {

using namespace std::string_literals;
using kit::RegistryValue;

const std::string kAgentPlugIns = "SOFTWARE\\Norrin Vale\\Velmora\\Management Agent\\Plug-Ins";
const std::string kConsolePlugIns = "SOFTWARE\\Norrin Vale\\Velmora\\Manager\\Plug-Ins";
constexpr DWORD kNotGiven = 0xFFFFFFFF;

class PlugIns : public ProductKeyTest {
protected:
    static DWORD Register(const char* dependencies, const char* name = "Lamp", const char* oid = "1.2.3",
                          const char* path = "C:\\lamp.dll")
    {
        return TARVO_RegisterKobaPlugIn(77, 1, 2, 3, name, oid, path, dependencies);
    }

    static auto Value(const char* name) { return kit::ReadValue(kAgentPlugIns + "\\Lamp", name); }
};

TEST_F(PlugIns, AgentsAreWrittenAndTakenAway)
{
    const std::pair<DWORD, std::optional<RegistryValue>> rows[] = {
        {kNotGiven, std::nullopt}, {0, RegistryValue::Dword(0)}, {0x80000001, RegistryValue::Dword(0x7FFFFFFF)}};
    const kit::TraceLog log(Scratch().Path("trace.log"));
    for (const auto& [given, stored] : rows) {
        EXPECT_EQ(0U, TARVO_RegisterKobaPlugInEx(77, 1, 2, 3, "Lamp", "1.2.3", "C:\\a|b=c.dll", "x\0y\0", given, given,
                                                 given));
        EXPECT_EQ(RegistryValue::Dword(1), Value("Type"));
        EXPECT_EQ(RegistryValue::Dword(2), Value("Start"));
        EXPECT_EQ(RegistryValue::Dword(3), Value("ErrorControl"));
        for (const char* name : {"RestartAttempts", "RestartInterval", "WaitingInterval"})
            EXPECT_EQ(stored, Value(name)) << name;
        EXPECT_EQ(RegistryValue::Text("Lamp"), Value("DisplayName"));
        EXPECT_EQ(RegistryValue::Text("1.2.3"), Value("OID"));
        EXPECT_EQ(RegistryValue::Text("C:\\a|b=c.dll"), Value("ImagePath"));
        EXPECT_EQ((RegistryValue{REG_MULTI_SZ, "x\0y\0\0"s}), Value("DependOnModule"));
    }
    EXPECT_EQ(0U, TARVO_RegisterKobPlugIn("Lamp", "C:\\console.dll"));
    EXPECT_EQ(RegistryValue::Text("C:\\console.dll"), kit::ReadValue(kConsolePlugIns + "\\Lamp", "ImagePath"));
    EXPECT_TRUE(log.HasEach({"Type=[1], StartMode=[2], ErrorCtrl=[3]Name=[Lamp], OID=[1.2.3], Path=[C:\\a|b=c.dll]",
                             "Dependencies (1-st ln.)=[x], RestartAttempts=[0], RestartInterval=[0], WaitInterval=[0]",
                             "Name=[Lamp], Path=[C:\\console.dll]"}));
    Uninstall();
    EXPECT_FALSE(kit::KeyExists("Software\\Norrin Vale"));
}

TEST_F(PlugIns, DependenciesAreTakenByTheByte)
{
    const std::string prefix = "HKEY_LOCAL_MACHINE\\" + kAgentPlugIns + "\\Lamp\\\\DependOnModule|";
    // A list ends with two zeros, one of them the last of the size.
    for (const size_t size : {1, 3, 1023, 1024, 1025, 1500}) {
        SCOPED_TRACE(size);
        std::string list(size, 'd');
        list[size - 1] = '\0';
        if (size > 1)
            list[size - 2] = '\0';
        std::string expected = list;
        if (size > 1024) // cut, it runs on to the end of the buffer
            expected = list.substr(0, 1024) + std::string(2046 - prefix.size() - 1024, '@') + "\0\0"s;
        EXPECT_EQ(0U, Register(list.c_str()));
        EXPECT_EQ((RegistryValue{REG_MULTI_SZ, expected}), Value("DependOnModule"));
    }
}

TEST_F(PlugIns, UnterminatedDependenciesAreNotReadBeyond1024Bytes)
{
    char* const pages = static_cast<char*>(VirtualAlloc(nullptr, 8192, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(pages, 4096, MEM_COMMIT, PAGE_READWRITE);
    char* const list = pages + 4096 - 1024;
    memset(list, 'd', 1024);
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, Register(list));
    EXPECT_TRUE(log.HasEach({"Dependencies (1-st ln.)=[" + std::string(900, 'd')}));
    EXPECT_EQ(std::string(1024, 'd'), Value("DependOnModule")->bytes.substr(0, 1024));
    VirtualFree(pages, 0, MEM_RELEASE);
}

TEST_F(PlugIns, RefusalsAndFailuresGiveTheirCodes)
{
    for (int missing = 0; missing < 4; ++missing) {
        EXPECT_EQ(87U, Register(missing == 0 ? nullptr : "", missing == 1 ? nullptr : "Lamp",
                                missing == 2 ? nullptr : "1", missing == 3 ? nullptr : "C:\\lamp.dll"));
    }
    EXPECT_EQ(87U, TARVO_RegisterKobPlugIn(nullptr, "C:\\lamp.dll"));
    EXPECT_TRUE(kit::Gives(87, TARVO_RegisterKobPlugIn("Lamp", nullptr)));
    EXPECT_FALSE(kit::KeyExists(kProductKey));
    const std::string tooLong(2048, 'x');
    EXPECT_TRUE(kit::Gives(ERROR_INSUFFICIENT_BUFFER, TARVO_RegisterKobPlugIn("Lamp", tooLong.c_str())));
    EXPECT_TRUE(kit::Gives(ERROR_INSUFFICIENT_BUFFER, TARVO_RegisterKobPlugIn(tooLong.c_str(), "C:\\lamp.dll")));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, Register("", "Lamp", "1", tooLong.c_str()));
    EXPECT_TRUE(Value("OID")) << "what was written before stays";
    kit::ImportHook set("RegSetValueExA", &RegSetValueExA);
    set.FailNth(2, 0, ERROR_DISK_FULL);
    EXPECT_TRUE(kit::Gives(ERROR_DISK_FULL, Register("")));
    EXPECT_EQ(2, set.Calls());
    set.FailAll(0, ERROR_DISK_FULL);
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, TARVO_RegisterKobPlugIn("Lamp", "C:\\lamp.dll"));
    EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
}

TEST_F(PlugIns, PropertiesGoToRegisteredOnesAlone)
{
    const BYTE data[] = {1, 0, 2};
    const auto set = [&](const char* name) { return TARVO_RegisterKobaPlugInProperty(name, "Own", 77, data, 3); };
    EXPECT_EQ(87U, set(nullptr));
    EXPECT_EQ(87U, set(""));
    EXPECT_TRUE(kit::Gives(2, set("Lamp")));
    EXPECT_EQ(0U, Register(""));
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(2U, set("Other"));
    EXPECT_EQ(0U, set("Lamp"));
    EXPECT_EQ((RegistryValue{77, "\1\0\2"s}), Value("Own"));
    EXPECT_TRUE(log.HasEach({"PlugIn [Lamp], Property [Own], Type [77], Data pointer [", "Main plug-ins key is opened",
                             "Plug-in's key is opened", "Data is written"}));
    EXPECT_EQ("HKEY_LOCAL_MACHINE\\" + kAgentPlugIns + "\\Lamp\\\\Own=1", RecordedEntries().back());
    kit::ImportHook write("RegSetValueExA", &RegSetValueExA);
    write.FailAll(0, ERROR_DISK_FULL);
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, set("Lamp"));
}

} // namespace
