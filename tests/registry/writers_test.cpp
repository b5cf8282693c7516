// Keys and values as the writers leave them, in both views, and what they record.

#include <set>

#include "uninstall/log_file.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

constexpr char kOwnSection[] = "Registry entries";
constexpr char kExists[] = "RegOpenKeyEx succeed - intermediate subkey already exists.";
constexpr char k64Section[] = "Registry entries unvirtualized";

class RegistryWriters : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_ = Record();
    }

    DWORD Write(const std::string& rest, DWORD type = REG_SZ)
    {
        return TARVO_CreateRegistryEntry((Key().Locator() + rest).c_str(), type, FALSE);
    }

    DWORD WriteEx(const std::string& rest, BOOL virtualized, DWORD type = REG_SZ)
    {
        return TARVO_CreateRegistryEntryEx((Key().Locator() + rest).c_str(), type, FALSE, virtualized);
    }

    /** @return recorded lines for what lies below the test's own key. */
    Texts Recorded(const Texts& entries)
    {
        Texts lines;
        for (const std::string& entry : entries)
            lines.push_back(Key().Locator(entry) + "=1");
        return lines;
    }

    std::string log_;
};

struct TypeRow {
    const char* fact;
    DWORD type;
    std::string data;
    std::string stored;
    const char* line; // in the trace
};

std::string Number(DWORD number)
{
    return kit::RegistryValue::Dword(number).bytes;
}

const std::string kManyTexts = std::string(3000, 'm') + "\0n\0"s;

const TypeRow kTypes[] = {
    {"text", REG_SZ, "a b", "a b\0"s, "Got size for string value = [4]"},
    {"text stays unexpanded", REG_EXPAND_SZ, R"(%windir%\x)", R"(%windir%\x)"s + '\0',
     "Got size for string value = [11]"},
    {"digits", REG_DWORD, "12", Number(12), "Got numeric value = [12]"},
    {"reading stops at the first other character", REG_DWORD, "12abc", Number(12), "Got numeric value = [12]"},
    {"blanks and a sign may stand in front", REG_DWORD, " \t+7", Number(7), "Got numeric value = [7]"},
    {"no digits are 0", REG_DWORD, "abc", Number(0), "Got numeric value = [0]"},
    {"no data is 0", REG_DWORD, "", Number(0), "Got numeric value = [0]"},
    {"numbers are decimal", REG_DWORD, "0x10", Number(0), "Got numeric value = [0]"},
    {"numbers have a sign", REG_DWORD, "-1", Number(0xFFFFFFFF), "Got numeric value = [-1]"},
    {"the largest", REG_DWORD, "2147483647", Number(0x7FFFFFFF), "Got numeric value = [2147483647]"},
    {"beyond the largest", REG_DWORD, "4294967295", Number(0x7FFFFFFF), "Got numeric value = [2147483647]"},
    {"below the smallest", REG_DWORD, "-3000000000", Number(0x80000000), "Got numeric value = [-2147483648]"},
    {"a list", REG_MULTI_SZ, "a\0bc\0"s, "a\0bc\0\0"s, "Got size for multi-string value = [6]"},
    {"an empty list", REG_MULTI_SZ, "", "\0"s, "Got size for multi-string value = [1]"},
    {"a list ends at its first empty text", REG_MULTI_SZ, "a\0\0b\0"s, "a\0\0"s,
     "Got size for multi-string value = [3]"},
    {"a list goes on behind byte 2047", REG_MULTI_SZ, kManyTexts, kManyTexts + '\0',
     "Got size for multi-string value = [3004]"},
};

TEST_F(RegistryWriters, DataByType)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    for (const bool ex : {false, true}) {
        for (const TypeRow& row : kTypes) {
            SCOPED_TRACE(std::string(row.fact) + (ex ? ", Ex" : ""));
            kit::WriteValue(Key().Path(), "name", {REG_BINARY, "earlier"});
            const size_t lines = trace.Count(row.line);
            EXPECT_EQ(0U,
                      ex ? WriteEx(R"(\\name|)" + row.data, TRUE, row.type) : Write(R"(\\name|)" + row.data, row.type));
            EXPECT_EQ((kit::RegistryValue{row.type, row.stored}), kit::ReadValue(Key().Path(), "name"));
            EXPECT_EQ(lines + 1, trace.Count(row.line));
        }
    }
}

TEST_F(RegistryWriters, NoTypeMakesTheKeyAloneAndRecordsTheValue)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, Write(R"(\k\\name|data)", REG_NONE));
    EXPECT_TRUE(kit::KeyExists(Key().Path("k")));
    EXPECT_EQ(std::nullopt, kit::ReadValue(Key().Path("k"), "name"));
    EXPECT_EQ(Recorded({"k", R"(k\\name)"}), SectionLines(log_, kOwnSection));
    EXPECT_TRUE(trace.Contains("No value required."));
}

TEST_F(RegistryWriters, OtherTypesAreRefusedBehindTheKey)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    for (const DWORD type : {3UL, 5UL, 6UL, 8UL, 11UL, 0xFFFFFFFFUL}) {
        SCOPED_TRACE(type);
        const std::string key = "k" + std::to_string(type);
        EXPECT_EQ(87U, Write("\\" + key + R"(\\name|1)", type));
        EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
        EXPECT_TRUE(kit::KeyExists(Key().Path(key)));
        EXPECT_EQ(std::nullopt, kit::ReadValue(Key().Path(key), "name"));
        EXPECT_EQ(Key().Locator(key) + "=1", LogLines(log_).back());
    }
    EXPECT_TRUE(trace.HasEach({"SetRegValue: Unsupported data type [3].", "SetRegistryValue: SetRegValue failed.",
                               "Function SetRegValue error: [87] (" + kit::SystemText(87) + ")"}));
}

const struct ViewRow {
    BOOL virtualized;
    kit::View view;
    kit::View other;
    const char* section;
} kViews[] = {
    {0, kit::View::k64, kit::View::kOwn, k64Section},
    {1, kit::View::kOwn, kit::View::k64, kOwnSection},
    {-1, kit::View::kOwn, kit::View::k64, kOwnSection},
};

TEST_F(RegistryWriters, ViewsAreApart)
{
    for (const ViewRow& row : kViews) {
        SCOPED_TRACE(row.virtualized);
        const std::string key = "k" + std::to_string(row.virtualized);
        EXPECT_EQ(0U, WriteEx("\\" + key + R"(\l\\name|data)", row.virtualized));
        EXPECT_EQ(kit::RegistryValue::Text("data"), kit::ReadValue(Key().Path(key + "\\l"), "name", row.view));
        EXPECT_FALSE(kit::KeyExists(Key().Path(key), row.other));
        const Texts lines = SectionLines(log_, row.section);
        ASSERT_LE(3U, lines.size());
        EXPECT_EQ(Recorded({key, key + "\\l", key + R"(\l\\name)"}), Texts(lines.end() - 3, lines.end()));
    }
    EXPECT_EQ(3U, SectionLines(log_, k64Section).size());
    EXPECT_EQ(6U, SectionLines(log_, kOwnSection).size());
}

TEST_F(RegistryWriters, NoMoreAccessIsAskedForThanNeeded)
{
    for (const BOOL virtualized : {TRUE, FALSE}) {
        std::set<REGSAM> asked;
        kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA);
        open.Answer([&](HKEY key, const char* path, DWORD options, REGSAM access, HKEY* result) {
            asked.insert(access);
            return open.Original()(key, path, options, access, result);
        });
        kit::ImportHook create("RegCreateKeyExA", &RegCreateKeyExA);
        create.Answer(
            [&](HKEY key, const char* path, DWORD reserved, char* type, DWORD options, REGSAM access, auto... rest) {
                asked.insert(access);
                return create.Original()(key, path, reserved, type, options, access, rest...);
            });
        EXPECT_EQ(0U, WriteEx(R"(\k\\name|data)", virtualized));
        const REGSAM view = virtualized ? 0 : KEY_WOW64_64KEY;
        EXPECT_EQ((std::set<REGSAM>{KEY_READ | view, KEY_WRITE | view}), asked);
    }
}

TEST_F(RegistryWriters, RecordsCreatedLevelsThenTheValue)
{
    kit::MakeKey(Key().Path("A"));
    kit::TraceLog trace(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, Write(R"(\A\B\C\\name|data)"));
    EXPECT_EQ(4U, trace.Count(kExists));
    EXPECT_TRUE(trace.HasEach({"Creating registry key [" + Key().Path(R"(A\B)") + "]...",
                               "Creating registry key [" + Key().Path(R"(A\B\C)") + "]..."}));
    Texts lines = {"[Registry entries]"};
    for (const std::string& line : Recorded({R"(A\B)", R"(A\B\C)", R"(A\B\C\\name)"}))
        lines.push_back(line);
    EXPECT_EQ(lines, LogLines(log_));
    EXPECT_EQ(0U, Write(R"(\A\B\C\\name|again)")); // nothing new: the value's line stays the only one
    EXPECT_EQ(lines, LogLines(log_));
    EXPECT_EQ(0U, Write(R"(\A\B\C\\|data)"));
    lines.push_back(Recorded({R"(A\B\C\\)"})[0]);
    EXPECT_EQ(lines, LogLines(log_)) << "the default value ends in two backslashes";
    for (const auto& [rest, found] :
         {std::pair(R"(\A\B\C\\name|x)", 6U), {R"(\A/x\\name|x)", 4U}, {R"(\A/x\\name|x)", 5U}}) {
        trace.Clear();
        EXPECT_EQ(0U, Write(rest));
        EXPECT_EQ(found, trace.Count(kExists)) << rest; // slashes are walked
    }
}

TEST_F(RegistryWriters, KeyThatCannotBeMadeLeavesTheLevelsAbove)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    {
        kit::ImportHook create("RegCreateKeyA", &RegCreateKeyA);
        create.FailNth(2, 0, ERROR_ACCESS_DENIED);
        EXPECT_EQ(5U, Write(R"(\A\B\C\\name|data)"));
    }
    kit::ImportHook create("RegCreateKeyExA", &RegCreateKeyExA);
    create.FailNth(2, 0, ERROR_ACCESS_DENIED);
    EXPECT_EQ(5U, WriteEx(R"(\A\B\C\\name|data)", FALSE));
    EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
    for (const kit::View view : {kit::View::kOwn, kit::View::k64}) {
        EXPECT_TRUE(kit::KeyExists(Key().Path("A"), view));
        EXPECT_FALSE(kit::KeyExists(Key().Path(R"(A\B)"), view));
    }
    EXPECT_EQ(Recorded({"A"}), SectionLines(log_, kOwnSection));
    EXPECT_EQ(Recorded({"A"}), SectionLines(log_, k64Section));
    EXPECT_TRUE(trace.HasEach(
        {"Function CreateRegKey error: [5] (RegCreateKey failed.)", "SetRegistryValue: CreateRegKey failed.",
         "Function CreateRegKeyEx error: [5] (RegCreateKey failed.)", "SetRegistryValueEx: CreateRegKeyEx failed.",
         "Function TARVO_CreateRegistryEntryEx error: [5] (Creating registry entry failed)"}));
}

TEST_F(RegistryWriters, ValueThatCannotBeSetIsNotRecorded)
{
    const std::pair<DWORD, const char*> types[] = {
        {REG_SZ, "REG_SZ"}, {REG_EXPAND_SZ, "REG_SZ"}, {REG_DWORD, "REG_DWORD"}, {REG_MULTI_SZ, "REG_MULTI_SZ"}};
    const kit::ImportHook set("RegSetValueExA", &RegSetValueExA, 0, ERROR_NO_SYSTEM_RESOURCES);
    for (const auto& [type, name] : types) {
        const kit::TraceLog trace(Scratch().Path("trace.log"));
        EXPECT_EQ(DWORD{ERROR_NO_SYSTEM_RESOURCES}, Write("\\k\\\\name|1\0"s, type));
        EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
        EXPECT_EQ(1U, trace.Count("SetRegValue: RegSetValueEx("s + name + ") failed."));
    }
    EXPECT_EQ(Recorded({"k"}), SectionLines(log_, kOwnSection));
}

TEST_F(RegistryWriters, MemoryRunsOut)
{
    int failures = 0;
    WithEachAllocationFailing([&] {
        const std::string key = "m" + std::to_string(failures);
        const DWORD code = WriteEx("\\" + key + R"(\\name|data)", FALSE);
        if (!Heap().FailureHappened()) {
            EXPECT_EQ(0U, code);
            return;
        }
        ++failures;
        EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_MEMORY}, code);
        EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
        EXPECT_FALSE(kit::KeyExists(Key().Path(key), kit::View::k64));
    });
    EXPECT_LE(1, failures);
}

} // namespace
