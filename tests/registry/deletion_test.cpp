// Recorded registry entries, removed again by TARVO_PerformUnInstall.

#include <algorithm>

#include "uninstall/log_file.h"

namespace {

using Texts = std::vector<std::string>;

class RegistryDeletion : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_ = Scratch().Make("uninstall.log", "");
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(log_.c_str()));
    }

    /** Replays entries below the test's own key. @return what the trace says of each, in order, without that key */
    Texts Delete(const Texts& entries, const char* section = "Registry entries")
    {
        std::string content = "[" + std::string(section) + "]\r\n";
        for (const std::string& entry : entries)
            content += (entry.empty() ? Key().Locator() : Key().Locator(entry)) + "=1\r\n";
        return Replay(content);
    }

    Texts Replay(const std::string& content)
    {
        kit::WriteFile(log_, content);
        trace_.emplace(Scratch().Path("trace.log"));
        EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_REGISTRY));
        Texts results;
        for (std::string line : MessagesThatBegin(*trace_, "Deleting of registry value or key [")) {
            line.erase(0, line.find('[') + 1);
            if (line.starts_with(Key().Locator()))
                line.erase(0, Key().Locator().size());
            results.push_back(line.replace(line.find("] results in ["), 14, ": "));
            results.back().pop_back();
        }
        return results;
    }

    std::string log_;
    std::optional<kit::TraceLog> trace_;
};

const struct DeletionRow {
    const char* fact;
    Texts values; // that are there before, as "key\\name"
    Texts entries;
    Texts results;
    Texts left; // of the keys and values named
} kDeletions[] = {
    {"a value", {R"(k\\v)", R"(k\\w)"}, {R"(k\\v)"}, {R"(\k\\v: 0)"}, {R"(k\\w)"}},
    {"the default value", {R"(k\\)", R"(k\\w)"}, {R"(k\\)"}, {R"(\k\\: 0)"}, {R"(k\\w)"}},
    {"a name with backslashes", {R"(k\\a\b)", R"(k\\b)"}, {R"(k\\a\b)"}, {R"(\k\\a\b: 0)"}, {R"(k\\b)"}},
    {"a name with a pair of them", {R"(k\\a\\b)", R"(k\\b)"}, {R"(k\\a\\b)"}, {R"(\k\\a\\b: 0)"}, {R"(k\\b)"}},
    {"a name with an equals sign", {R"(k\\a=b)", R"(k\\a)"}, {R"(k\\a=b)"}, {R"(\k\\a=b: 0)"}, {R"(k\\a)"}},
    {"a name with a bar", {R"(k\\a|b)", R"(k\\a)"}, {R"(k\\a|b)"}, {R"(\k\\a|b: 0)"}, {R"(k\\a)"}},
    {"a missing value", {R"(k\\w)"}, {R"(k\\v)"}, {R"(\k\\v: 0)"}, {R"(k\\w)"}},
    {"a value of a missing key", {}, {R"(k\\v)"}, {R"(\k\\v: 0)"}, {}},
    {"a missing key", {}, {R"(k\l)"}, {R"(\k\l: 0)"}, {}},
    {"a key with a value stays", {R"(k\\v)"}, {"k"}, {R"(\k: 145)"}, {R"(k\\v)"}},
    {"a key with only its default value stays", {R"(k\\)"}, {"k"}, {R"(\k: 145)"}, {R"(k\\)"}},
    {"a key with a key stays", {R"(k\l\\v)"}, {"k"}, {R"(\k: 145)"}, {R"(k\l\\v)"}},
    {"the longest goes first",
     {R"(k\l\\v)", R"(k\l\\longer)"},
     {"k", R"(k\l)", R"(k\l\\longer)", R"(k\l\\v)"},
     {R"(\k\l\\longer: 0)", R"(\k\l\\v: 0)", R"(\k\l: 0)", R"(\k: 0)"},
     {}},
    {"what was not recorded keeps its keys",
     {R"(k\l\\v)", R"(k\l\\theirs)"},
     {"k", R"(k\l)", R"(k\l\\v)"},
     {R"(\k\l\\v: 0)", R"(\k\l: 145)", R"(\k: 145)"},
     {R"(k\l\\theirs)"}},
};

const struct Side {
    const char* section;
    const char* deleter;
    kit::View view;
    kit::View other;
} kSides[] = {
    {"Registry entries", "DeleteRegEntryOrValue", kit::View::kOwn, kit::View::k64},
    {"Registry entries unvirtualized", "DeleteReg64EntryOrValue", kit::View::k64, kit::View::kOwn},
};

std::pair<std::string, std::string> SplitValue(const std::string& value)
{
    const size_t pair = value.find("\\\\");
    return {value.substr(0, pair), value.substr(pair + 2)};
}

TEST_F(RegistryDeletion, EntriesInBothViews)
{
    for (const Side& side : kSides) {
        for (const DeletionRow& row : kDeletions) {
            SCOPED_TRACE(std::string(side.deleter) + ": " + row.fact);
            for (const std::string& value : row.values) {
                const auto [key, name] = SplitValue(value);
                for (const kit::View view : {side.view, side.other})
                    kit::WriteValue(Key().Path(key), name, kit::RegistryValue::Text("x"), view);
            }
            EXPECT_EQ(row.results, Delete(row.entries, side.section));
            Texts left;
            for (const std::string& value : row.values) {
                const auto [key, name] = SplitValue(value);
                if (kit::ReadValue(Key().Path(key), name, side.view))
                    left.push_back(value);
                EXPECT_TRUE(kit::ReadValue(Key().Path(key), name, side.other)) << value << " of the other view";
            }
            EXPECT_EQ(row.left, left);
            EXPECT_EQ(!row.left.empty(), kit::KeyExists(Key().Path("k"), side.view));
            kit::RemoveKeyTree(Key().Path("k"), side.view);
            kit::RemoveKeyTree(Key().Path("k"), side.other);
        }
    }
}

TEST_F(RegistryDeletion, LinesThatAreNotMarkedArePassedOver)
{
    kit::WriteValue(Key().Path("k"), "v", kit::RegistryValue::Text("x"));
    const std::string entry = Key().Locator(R"(k\\v)");
    EXPECT_EQ(Texts(), Replay("[Registry entries]\n" + entry + "=0\n"));
    EXPECT_TRUE(kit::ReadValue(Key().Path("k"), "v"));
    EXPECT_EQ(Texts{R"(\k\\v: 0)"}, Replay("[Registry entries]\n" + entry + "=1 and more\n"));
    EXPECT_FALSE(kit::ReadValue(Key().Path("k"), "v"));
}

TEST_F(RegistryDeletion, EachFailingStepGivesItsCode)
{
    kit::WriteValue(Key().Path("k"), "v", kit::RegistryValue::Text("x"));
    kit::MakeKey(Key().Path("empty"));
    kit::MakeKey(Key().Path("empty"), kit::View::k64);
    {
        const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
        EXPECT_EQ(Texts{R"(\k\\v: 5)"}, Delete({R"(k\\v)"}));
        EXPECT_TRUE(trace_->HasEach({"Function DeleteRegEntryOrValue error: [5] (Error opening registry key)"}));
    }
    {
        const kit::ImportHook remove("RegDeleteValueA", &RegDeleteValueA, 0, ERROR_ACCESS_DENIED);
        EXPECT_EQ(Texts{R"(\k\\v: 5)"}, Delete({R"(k\\v)"}));
        EXPECT_TRUE(trace_->HasEach({"Function DeleteRegEntryOrValue error: [5] (Error deleting registry value.)"}));
    }
    {
        const kit::ImportHook query("RegQueryInfoKeyA", &RegQueryInfoKeyA, 0, ERROR_ACCESS_DENIED);
        EXPECT_EQ(Texts{R"(\empty: 145)"}, Delete({"empty"}));
        EXPECT_TRUE(trace_->HasEach({"RegQueryInfoKey returned error: [5]."}));
    }
    kit::ImportHook remove("RegDeleteKeyA", &RegDeleteKeyA);
    remove.FailAll(0, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Texts{R"(\empty: 5)"}, Delete({"empty"}));
    EXPECT_TRUE(trace_->Contains("Function DeleteRegEntryOrValue error: [5] (Error deleting registry key)"));
    remove.FailAll(0, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Texts{R"(\empty: 0)"}, Delete({"empty"})) << "gone meanwhile";
    EXPECT_TRUE(kit::KeyExists(Key().Path("empty")));
}

TEST_F(RegistryDeletion, SystemWithoutRegDeleteKeyEx)
{
    kit::MakeKey(Key().Path("k"), kit::View::k64);
    std::string deleted;
    kit::ImportHook remove("RegDeleteKeyA", &RegDeleteKeyA);
    remove.Answer([&](HKEY, const char* path) { return deleted = path, ERROR_SUCCESS; });
    kit::ImportHook lookUp("GetProcAddress", &GetProcAddress);
    lookUp.Answer([&](HMODULE module, const char* name) {
        const bool hidden = module == GetModuleHandleA("advapi32") && std::string_view(name) == "RegDeleteKeyExA";
        return hidden ? nullptr : lookUp.Original()(module, name);
    });
    EXPECT_EQ(Texts{R"(\k: 0)"}, Delete({"k"}, "Registry entries unvirtualized"));
    EXPECT_EQ(Key().Path("k"), deleted);
    EXPECT_TRUE(kit::KeyExists(Key().Path("k"), kit::View::k64)) << "not by the other way";
    lookUp.PassThrough(); // looked up anew at each call
    EXPECT_EQ(Texts{R"(\k: 0)"}, Delete({"k"}, "Registry entries unvirtualized"));
    EXPECT_FALSE(kit::KeyExists(Key().Path("k"), kit::View::k64));
    EXPECT_EQ(1, remove.Calls());
}

TEST_F(RegistryDeletion, RemovesWhatTheWritersRecorded)
{
    Record();
    for (const BOOL virtualized : {TRUE, FALSE}) {
        for (const char* rest : {R"(\a\b\\name|x)", R"(\a\b\\|x)", R"(\a\b\\na=me|x)", R"(\a\c/d\\x\y|z)"})
            EXPECT_EQ(0U, TARVO_CreateRegistryEntryEx((Key().Locator() + rest).c_str(), REG_SZ, FALSE, virtualized));
    }
    EXPECT_EQ(0U, TARVO_StopUninstallLogging());
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_REGISTRY));
    EXPECT_FALSE(kit::KeyExists(Key().Path("a"), kit::View::kOwn));
    EXPECT_FALSE(kit::KeyExists(Key().Path("a"), kit::View::k64));
    EXPECT_TRUE(kit::KeyExists(Key().Path(), kit::View::kOwn)) << "was there before";
}

} // namespace
