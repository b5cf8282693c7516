// What locators name, and which are refused.

#include "uninstall/log_file.h"

namespace {

using Texts = std::vector<std::string>;

/** Calls one of the two exports; both take the same locators. */
const struct Writer {
    const char* name;
    const char* setter; // as it names itself in the log
    DWORD (*write)(const char* locator, DWORD type);
} kWriters[] = {
    {"CreateRegistryEntry", "SetRegistryValue",
     [](const char* locator, DWORD type) { return TARVO_CreateRegistryEntry(locator, type, FALSE); }},
    {"CreateRegistryEntryEx", "SetRegistryValueEx",
     [](const char* locator, DWORD type) { return TARVO_CreateRegistryEntryEx(locator, type, FALSE, TRUE); }},
};

class Locators : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_ = Record();
    }

    std::string log_;
};

const struct GoodLocator {
    const char* fact;
    const char* locator; // behind the test's own key
    const char* subkey;  // of that key
    const char* name;
    const char* data;
} kGood[] = {
    {"name and data", R"(\k\\name|data)", "k", "name", "data"},
    {"the key given itself", R"(\\name|data)", "", "name", "data"},
    {"several levels", R"(\a\b\c\\name|data)", R"(a\b\c)", "name", "data"},
    {"an empty name is the default value", R"(\k\\|data)", "k", "", "data"},
    {"data may be empty", R"(\k\\name|)", "k", "name", ""},
    {"only the first bar behind the key separates", R"(\k\\name|a|b\\c|\d|)", "k", "name", R"(a|b\\c|\d|)"},
    {"data may begin with a bar", R"(\k\\name||x)", "k", "name", "|x"},
    {"a bar in the key is part of it", R"(\k|1\\name|x)", "k|1", "name", "x"},
    {"names may have backslashes", R"(\k\\a\b\\c|x)", "k", R"(a\b\\c)", "x"},
    {"the first two of three backslashes separate", R"(\k\\\name|x)", "k", R"(\name)", "x"},
    {"blanks belong to the names", R"(\ k 1 \\ name | x )", " k 1 ", " name ", " x "},
    {"letters of the code page", "\\\xE4\xF6\\\\\xFC|\xDF\x80", "\xE4\xF6", "\xFC", "\xDF\x80"},
};

TEST_F(Locators, NameKeyValueAndData)
{
    for (const Writer& writer : kWriters) {
        for (const GoodLocator& row : kGood) {
            SCOPED_TRACE(std::string(writer.name) + ": " + row.fact);
            const kit::ScratchKey own;
            EXPECT_EQ(0U, writer.write((own.Locator() + row.locator).c_str(), REG_SZ));
            const std::string path = *row.subkey ? own.Path(row.subkey) : own.Path();
            EXPECT_EQ(kit::RegistryValue::Text(row.data), kit::ReadValue(path, row.name));
        }
    }
}

const std::pair<const char*, HKEY> kMainKeys[] = {
    {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},   {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE}, {"HKEY_USERS", HKEY_USERS},
    {"hkey_current_user", HKEY_CURRENT_USER},   {"Hkey_Local_Machine", HKEY_LOCAL_MACHINE},
};

TEST_F(Locators, MainKeysInAnyLetterCase)
{
    AllowOpenHandles(); // the system keeps a main key open from its first use on
    for (const auto& [mainKey, key] : kMainKeys) {
        SCOPED_TRACE(mainKey);
        // The users' key takes no new keys itself.
        const std::string subkey =
            key == HKEY_USERS ? R"(.Default\Software\TarvoLocators)" : R"(Software\TarvoLocators)";
        const std::string name = "n" + std::to_string(LogLines(log_).size());
        const std::string entry = mainKey + ("\\" + subkey) + R"(\\)" + name;
        EXPECT_EQ(0U, TARVO_CreateRegistryEntry((entry + "|data").c_str(), REG_SZ, FALSE));
        char data[10] = {};
        DWORD size = sizeof data;
        EXPECT_EQ(0, RegGetValueA(key, subkey.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, data, &size));
        EXPECT_STREQ("data", data);
        EXPECT_EQ(entry + "=1", LogLines(log_).back()) << "as it was spelled";
        EXPECT_EQ(0, RegDeleteKeyA(key, subkey.c_str()));
    }
    RegDeleteKeyA(HKEY_CLASSES_ROOT, "Software"); // only if it is empty, the test's
}

struct BadLocator {
    const char* fact;
    std::string locator; // "%" stands for the test's own key, without the main key
    const char* line;    // in the trace, behind the name of the setter
};

constexpr char kMalformed[] = ": SplitLocator failed.";
constexpr char kEmptyPart[] = ": Mainkey or subkey empty, failed.";
constexpr char kUnknownKey[] = ": Unknown key ID, failed.";

const BadLocator kBad[] = {
    {"nothing", "", kMalformed},
    {"no backslash", "HKEY_LOCAL_MACHINE|x", kMalformed},
    {"no two backslashes in a row", R"(HKEY_LOCAL_MACHINE\%\k\name|x)", kMalformed},
    {"two backslashes behind the main key only", R"(HKEY_LOCAL_MACHINE\\name|x)", kMalformed},
    {"no bar", R"(HKEY_LOCAL_MACHINE\%\k\\name)", kMalformed},
    {"a bar in front of the name only", R"(HKEY_LOCAL_MACHINE\%\k|\\name)", kMalformed},
    {"no main key", R"(\%\k\\name|x)", kEmptyPart},
    {"no subkey", R"(HKEY_LOCAL_MACHINE\\\name|x)", kEmptyPart},
    {"an abbreviated main key", R"(HKLM\%\k\\name|x)", kUnknownKey},
    {"the beginning of a main key", R"(HKEY_LOCAL_MACHIN\%\k\\name|x)", kUnknownKey},
    {"more than a main key", R"(HKEY_LOCAL_MACHINE \%\k\\name|x)", kUnknownKey},
    {"a main key that is not offered", R"(HKEY_CURRENT_CONFIG\%\k\\name|x)", kUnknownKey},
    {"a forward slash behind the main key", R"(HKEY_LOCAL_MACHINE/%\k\\name|x)", kUnknownKey},
};

TEST_F(Locators, MalformedOnesCreateNothing)
{
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    for (const Writer& writer : kWriters) {
        for (const BadLocator& row : kBad) {
            SCOPED_TRACE(std::string(writer.name) + ": " + row.fact);
            std::string locator = row.locator;
            if (const size_t place = locator.find('%'); place != std::string::npos)
                locator.replace(place, 1, Key().Path());
            const size_t lines = trace.Count(writer.setter + std::string(row.line));
            EXPECT_EQ(87U, writer.write(locator.c_str(), REG_SZ));
            EXPECT_EQ("Creating registry entry failed", kit::LastMessage());
            EXPECT_EQ(lines + 1, trace.Count(writer.setter + std::string(row.line)));
            EXPECT_FALSE(kit::KeyExists(Key().Path("k")));
        }
        EXPECT_TRUE(kit::Gives(87, writer.write(nullptr, REG_SZ)));
    }
    EXPECT_EQ(Texts(), LogLines(log_));
}

TEST_F(Locators, NamesEndWithin2047BytesAndDataGoesOn)
{
    const std::string data(5000, 'd');
    const std::string beginning = Key().Locator("k") + "\\\\";
    for (const Writer& writer : kWriters) {
        SCOPED_TRACE(writer.name);
        const std::string fits(2046 - beginning.size(), 'n'); // the bar is byte 2047
        EXPECT_EQ(0U, writer.write((beginning + fits + "|" + data).c_str(), REG_SZ));
        EXPECT_EQ(kit::RegistryValue::Text(data), kit::ReadValue(Key().Path("k"), fits));
        EXPECT_EQ(beginning + fits + "=1", LogLines(log_).back()) << "recorded whole";
        EXPECT_EQ(87U, writer.write((beginning + fits + "n|" + data).c_str(), REG_SZ));
        EXPECT_EQ(std::nullopt, kit::ReadValue(Key().Path("k"), fits + "n"));
        kit::RemoveKeyTree(Key().Path("k"), kit::View::kOwn);
    }
}

} // namespace
