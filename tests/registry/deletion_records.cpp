// Recorded registry entries, removed again, against their records.

#include "kit/kit.h"

namespace {

using kit::Stage;
using RegistryRecords = kit::BehaviorTest;

constexpr char kOwn[] = "Registry entries";
constexpr kit::View kViews[] = {kit::View::kOwn, kit::View::k64};
constexpr char k64[] = "Registry entries unvirtualized";

/** @return a section of an uninstall log with entries below the stage's key. */
std::string Section(const char* name, const std::vector<std::string>& entries)
{
    std::string section = "[" + std::string(name) + "]\r\n";
    for (const std::string& entry : entries)
        section += Stage::Locator(entry) + "=1\r\n";
    return section;
}

void Remove(Stage& stage, const std::string& log)
{
    const std::string path = Stage::File("uninstall.log", log);
    TARVO_OpenRollBackLog(path.c_str());
    stage.Call(&TARVO_PerformUnInstall, DWORD{TARVO_UNINSTALL_REGISTRY});
}

/** Makes values, given as "key\\name", in both views. */
void MakeValues(const std::vector<std::string>& values)
{
    for (const std::string& value : values) {
        const size_t pair = value.find("\\\\");
        for (const kit::View view : kViews)
            kit::WriteValue(Stage::Key(value.substr(0, pair)), value.substr(pair + 2), {REG_SZ, {'x', '\0'}}, view);
    }
}

TEST_F(RegistryRecords, Deletion)
{
    Open("registry/deletion");
    const Ways callsAlone = {.records = false, .failures = false, .allocations = false};
    const Ways noAllocations = {.records = false, .allocations = false};
    const Ways gone = {.records = false, .allocations = false, .code = ERROR_FILE_NOT_FOUND};
    Case("a value and an empty key of each view", noAllocations, [](Stage& stage) {
        MakeValues({R"(k\\v)"});
        for (const kit::View view : kViews)
            kit::MakeKey(Stage::Key("empty"), view);
        Remove(stage, Section(kOwn, {"empty", R"(k\\v)"}) + Section(k64, {"empty", R"(k\\v)"}));
        for (const kit::View view : kViews) {
            stage.TellValue(Stage::Key("k"), "v", view);
            stage.TellValue(Stage::Key("empty"), "", view);
        }
    });
    Case("what has gone meanwhile counts as deleted", gone, [](Stage& stage) {
        MakeValues({R"(k\\v)"});
        kit::MakeKey(Stage::Key("empty"));
        Remove(stage, Section(kOwn, {"empty", R"(k\\v)"}));
    });
    Case("names with separators, values alone, the longest first", callsAlone, [](Stage& stage) {
        MakeValues({R"(a\\)", R"(a\\w)", R"(b\\a\b)", R"(b\\b)", R"(c\\a\\b)", R"(d\\a=b)", R"(d\\a)", R"(e\l\\v)"});
        Remove(stage,
               Section(kOwn, {R"(a\\)", R"(b\\a\b)", R"(c\\a\\b)", R"(d\\a=b)", "e", R"(e\l)", R"(e\l\\v)", "c"}));
        const std::pair<const char*, const char*> left[] = {{"a", "w"}, {"b", "b"}, {"c", ""}, {"d", "a"}, {"e", ""}};
        for (const auto& [key, name] : left)
            stage.TellValue(Stage::Key(key), name);
        stage.TellValue(Stage::Key("e\\l"), "v", kit::View::k64);
    });
    Case("a key that holds anything stays", callsAlone, [](Stage& stage) {
        MakeValues({R"(a\\theirs)", R"(b\\)", R"(c\l\\theirs)"});
        Remove(stage, Section(kOwn, {"a", "b", "c"}) + Section(k64, {"c"}));
    });
    Case("what is not there, not marked or no entry", callsAlone, [](Stage& stage) {
        MakeValues({R"(a\\v)"});
        Remove(stage, Section(kOwn, {R"(a\\w)", R"(none\\v)", R"(none\k)"}) + Stage::Locator(R"(a\\v=0)") +
                          "\r\nno backslash=1\r\nHKLM\\a=1\r\n" + Section(k64, {"none"}) +
                          "no backslash=1\r\nHKEY_CURRENT_CONFIG\\a=1\r\n");
        stage.TellValue(Stage::Key("a"), "v");
    });
    Case("a system without RegDeleteKeyEx has one view", callsAlone, [](Stage& stage) {
        kit::ImportHook lookUp("GetProcAddress", &GetProcAddress);
        lookUp.Answer([&](HMODULE module, const char* name) {
            const bool hidden = module == GetModuleHandleA("advapi32") && std::string_view(name) == "RegDeleteKeyExA";
            return hidden ? nullptr : lookUp.Original()(module, name);
        });
        kit::MakeKey(Stage::Key("k"), kit::View::k64);
        Remove(stage, Section(k64, {"k"}));
        stage.TellValue(Stage::Key("k"), "", kit::View::k64);
    });
}

} // namespace
