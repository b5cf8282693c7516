// Locators, and the keys and values that the writers leave in both views, against their records.

#include "kit/kit.h"

namespace {

using namespace std::string_literals;
using kit::Stage;
using RegistryRecords = kit::BehaviorTest;

/** Writes below the stage's key by the older writer. */
DWORD Write(Stage& stage, const std::string& rest, DWORD type = REG_SZ)
{
    return stage.Call(&TARVO_CreateRegistryEntry, Stage::Locator() + rest, type, FALSE);
}

DWORD WriteEx(Stage& stage, const std::string& rest, BOOL virtualized, DWORD type = REG_SZ)
{
    return stage.Call(&TARVO_CreateRegistryEntryEx, Stage::Locator() + rest, type, TRUE, virtualized);
}

TEST_F(RegistryRecords, Levels)
{
    Open("registry/levels");
    Case("missing levels are made and recorded, outermost first", {.silentCalls = true}, [](Stage& stage) {
        kit::MakeKey(Stage::Key("A"));
        Write(stage, R"(\A\B\C\\name|data)");
        stage.TellValue(Stage::Key("A\\B\\C"), "name");
    });
    Case("in the 64-bit view too", {.silentCalls = true}, [](Stage& stage) {
        kit::MakeKey(Stage::Key(), kit::View::k64);
        WriteEx(stage, R"(\B\\name|data)", FALSE);
        stage.TellValue(Stage::Key("B"), "name", kit::View::k64);
        stage.TellValue(Stage::Key("B"), "name");
    });
    Case("a path that is there opens in one call", {.silentCalls = true}, [](Stage& stage) {
        kit::MakeKey(Stage::Key("B"));
        Write(stage, R"(\B\\name|data)");
        WriteEx(stage, R"(\B\\name|more)", -1);
        stage.TellValue(Stage::Key("B"), "name");
    });
    Case("a slash ends a level and belongs to the name", {.failures = false, .allocations = false}, [](Stage& stage) {
        kit::MakeKey(Stage::Key("A/x"));
        Write(stage, R"(\A/x\\name|data)");
    });
    Case("without a log for uninstalling a write succeeds", {.records = false, .failures = false, .allocations = false},
         [](Stage& stage) {
             kit::MakeKey(Stage::Key());
             WriteEx(stage, R"(\B\\|data)", TRUE);
             stage.TellValue(Stage::Key("B"), "");
         });
    Case("each main key is known in any letter case", {.failures = false, .allocations = false}, [](Stage& stage) {
        const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_FILE_NOT_FOUND);
        const kit::ImportHook create("RegCreateKeyA", &RegCreateKeyA, 0, ERROR_ACCESS_DENIED);
        for (const char* name : {"HKEY_CLASSES_ROOT", "HKEY_current_USER", "hkey_local_machine", "HKEY_USERS"}) {
            stage.Call(&TARVO_CreateRegistryEntry, name + R"(\a\b\\name|x)"s, DWORD{REG_SZ}, FALSE);
        }
    });
}

const std::pair<DWORD, std::vector<std::string>> kTypes[] = {
    {REG_NONE, {"data"}},
    {REG_SZ, {"a b", ""}},
    {REG_EXPAND_SZ, {R"(%windir%\x)"}},
    {REG_DWORD, {"12abc", " \t+7", "abc", "0x10", "-1", "4294967295", "-99999999999"}},
    {REG_MULTI_SZ, {"a\0bc\0"s, "", "a\0\0b\0"s}},
    {REG_BINARY, {"1"}},
    {REG_DWORD_BIG_ENDIAN, {"1"}},
    {REG_LINK, {"1"}},
    {8, {"1"}},
    {0xFFFFFFFF, {"1"}}};

TEST_F(RegistryRecords, Types)
{
    Open("registry/types");
    Case("each type has its form", {.failures = false, .allocations = false}, [](Stage& stage) {
        for (const auto& [type, texts] : kTypes) {
            bool inFull = type == REG_NONE || type == REG_DWORD || type == REG_MULTI_SZ;
            for (const std::string& data : texts) {
                kit::WriteValue(Stage::Key(), "name", {REG_BINARY, "earlier"});
                if (std::exchange(inFull, false))
                    Write(stage, R"(\\name|)" + data, type);
                else
                    stage.Check(&TARVO_CreateRegistryEntry, Stage::Locator() + R"(\\name|)" + data, type, FALSE);
                stage.TellValue(Stage::Key(), "name");
            }
        }
    });
    Case("a value that cannot be set is not recorded", {.failures = false, .allocations = false}, [](Stage& stage) {
        const kit::ImportHook set("RegSetValueExA", &RegSetValueExA, 0, ERROR_NO_SYSTEM_RESOURCES);
        kit::MakeKey(Stage::Key());
        for (const DWORD type : {REG_EXPAND_SZ, REG_DWORD, REG_MULTI_SZ})
            Write(stage, "\\\\name|1\0"s, type);
    });
    Case("another type is refused behind the key", {.failures = false, .allocations = false}, [](Stage& stage) {
        kit::MakeKey(Stage::Key());
        Write(stage, R"(\k\\name|1)", REG_BINARY);
        WriteEx(stage, R"(\l\\name|1)", FALSE, REG_QWORD);
        stage.TellValue(Stage::Key("k"), "name");
        stage.TellValue(Stage::Key("l"), "name", kit::View::k64);
    });
}

const struct LocatorRow {
    const char* rest; // behind the stage's key
    const char* key;
    const char* name;
} kLocators[] = {
    {R"(\a\b\\|data)", R"(a\b)", ""},        {R"(\k\\name|)", "k", "name"},
    {R"(\k\\name|a|b\\c|\d|)", "k", "name"}, {R"(\k\\name||x)", "k", "name"},
    {R"(\k|1\\name|x)", "k|1", "name"},      {R"(\k\\a\b\\c|x)", "k", R"(a\b\\c)"},
    {R"(\k\\\name|x)", "k", R"(\name)"},     {R"(\ k 1 \\ name | x )", " k 1 ", " name "},
};

TEST_F(RegistryRecords, Locators)
{
    Open("registry/locators");
    Case("key, name and data", {.failures = false, .allocations = false}, [](Stage& stage) {
        for (const LocatorRow& row : kLocators) {
            kit::MakeKey(Stage::Key(row.key));
            stage.Check(&TARVO_CreateRegistryEntry, Stage::Locator() + row.rest, DWORD{REG_SZ}, FALSE);
            stage.TellValue(Stage::Key(row.key), row.name);
        }
    });
    Case("malformed ones are refused", {.failures = false, .allocations = false}, [](Stage& stage) {
        const std::string key = "\\" + Stage::Key();
        std::vector<std::string> locators = {""};
        for (const std::string& rest :
             {"|x"s, key + R"(\k\name|x)", R"(\\name|x)"s, key + R"(\k|\\name)", R"(\\\name|x)"s})
            locators.push_back("HKEY_LOCAL_MACHINE" + rest);
        for (const char* name :
             {"", "HKLM", "HKEY_LOCAL_MACHIN", "HKEY_LOCAL_MACHINE ", "HKEY_CURRENT_CONFIG", "HKEY_LOCAL_MACHINE/"})
            locators.push_back(name + key + R"(\k\\name|x)");
        stage.Call(&TARVO_CreateRegistryEntry, nullptr, DWORD{REG_SZ}, TRUE);
        stage.Call(&TARVO_CreateRegistryEntryEx, nullptr, DWORD{REG_SZ}, TRUE, FALSE);
        for (const size_t index : {1, 2, 4, 6, 7}) {
            stage.Call(&TARVO_CreateRegistryEntry, locators[index], DWORD{REG_SZ}, FALSE);
            if (index != 2 && index != 4)
                stage.Call(&TARVO_CreateRegistryEntryEx, locators[index], DWORD{REG_SZ}, FALSE, FALSE);
        }
        for (const std::string& locator : locators) {
            stage.Check(&TARVO_CreateRegistryEntry, locator, DWORD{REG_SZ}, FALSE);
            stage.Check(&TARVO_CreateRegistryEntryEx, locator, DWORD{REG_SZ}, FALSE, FALSE);
        }
    });
    Case("names end within 2047 bytes, and data goes on", {.failures = false, .allocations = false}, [](Stage& stage) {
        const std::string beginning = Stage::Locator("k") + "\\\\";
        const std::string name(2046 - beginning.size(), 'n'); // the bar is byte 2047
        const std::string data(5000, 'd');
        stage.HideText(name, "<name>");
        stage.HideText(data, "<data>");
        for (const std::string& fits : {name, name + "n"}) {
            stage.Check(&TARVO_CreateRegistryEntryEx, beginning + fits + "|" + data + "\0e\0"s, DWORD{REG_MULTI_SZ},
                        FALSE, TRUE);
            stage.TellValue(Stage::Key("k"), fits);
        }
    });
}

} // namespace
