// Lists of library copies: their order, what is in them, and what is left alone.

#include <algorithm>

#include "registry/product_key.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

constexpr char kListsKey[] = "SOFTWARE\\Norrin Vale\\Velmora\\Delay Loading";
constexpr char kValue[] = "shared.dll";

std::string Lower(std::string text)
{
    CharLowerBuffA(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::string Joined(const Texts& texts)
{
    std::string list;
    for (const std::string& text : texts)
        list += text + '\0';
    return list + '\0';
}

class DelayLoadLists : public ProductKeyTest {
protected:
    /** Puts a sample library, or none, where a copy of Shared.DLL is to lie. @return the copy's path */
    std::string MakeCopy(const std::string& folder, const char* version)
    {
        CreateDirectoryA(Scratch().Path(folder).c_str(), nullptr);
        const std::string path = Scratch().Path(folder + "\\Shared.DLL");
        CopyFileA((kit::ProgramFolder() + "\\sample-" + version + ".dll").c_str(), path.c_str(), FALSE);
        return path;
    }

    static DWORD Register(const std::string& path) { return TARVO_RegisterDelayLoadLibrary(path.c_str()); }
    static DWORD Unregister(const std::string& path) { return TARVO_UnRegisterDelayLoadLibrary(path.c_str()); }

    static void WriteList(const std::string& bytes, DWORD type = REG_MULTI_SZ)
    {
        kit::WriteValue(kListsKey, kValue, {type, bytes});
    }

    static std::string StoredList()
    {
        const auto value = kit::ReadValue(kListsKey, kValue);
        return value ? value->bytes : "none";
    }

    static void ExpectList(const Texts& texts)
    {
        EXPECT_EQ((kit::RegistryValue{REG_MULTI_SZ, Joined(texts)}), kit::ReadValue(kListsKey, kValue));
    }
};

TEST_F(DelayLoadLists, NewestCopyComesFirst)
{
    const std::string copies[] = {MakeCopy("a", "1.2.3.9"), MakeCopy("b", "1.2.3.10"), MakeCopy("no version", "none"),
                                  MakeCopy("c", "4.99.0.0"), MakeCopy("d", "5.0.0.0")};
    for (const std::string& copy : copies)
        EXPECT_EQ(0U, Register(copy));
    ExpectList({Lower(copies[4]), Lower(copies[3]), Lower(copies[1]), Lower(copies[0]), Lower(copies[2])});
    EXPECT_EQ(0U, TARVO_RenameAfterReboot(MakeCopy("new", "5.0.0.0").c_str(), copies[0].c_str()));
    EXPECT_EQ(0U, Unregister(copies[4]));
    EXPECT_EQ(0U, Register(copies[1])) << "sorts again, by what the restart will bring";
    ExpectList({Lower(copies[0]), Lower(copies[3]), Lower(copies[1]), Lower(copies[2])});
    EXPECT_EQ(0U, Register(Scratch().Path("missing\\shared.dll")));
    EXPECT_EQ(Lower(copies[0]), StoredList().c_str()) << "a file that is not there has no version";
}

TEST_F(DelayLoadLists, PathIsListedOnceInLowerCase)
{
    const std::string copy = MakeCopy("a", "1.2.3.9");
    const std::string other = MakeCopy("B", "1.2.3.10");
    WriteList(Joined({other, copy}));
    EXPECT_EQ(0U, Register(copy));
    ExpectList({other, Lower(copy)});
    WriteList(Joined({}));
    EXPECT_EQ(0U, Register(copy));
    ExpectList({Lower(copy)});
}

TEST_F(DelayLoadLists, LastCopyTakesValueAndKeyAlong)
{
    const std::string first = MakeCopy("a", "1.2.3.9");
    const std::string second = MakeCopy("b", "1.2.3.10");
    EXPECT_EQ(0U, Unregister(first)) << "no key";
    EXPECT_EQ(0U, Register(first));
    EXPECT_EQ(0U, Register(second));
    EXPECT_EQ(0U, Register("C:\\x\\Other.dll"));
    EXPECT_EQ(0U, Unregister("C:\\x\\none.dll")) << "no list";
    EXPECT_EQ(0U, Unregister("C:\\x\\" + std::string(kValue))) << "not on the list";
    EXPECT_EQ(0U, Unregister(Lower(first)));
    ExpectList({Lower(second)});
    EXPECT_EQ(0U, Unregister(second));
    EXPECT_EQ("none", StoredList());
    EXPECT_TRUE(kit::ReadValue(kListsKey, "other.dll"));
    kit::ImportHook remove("RegDeleteKeyA", &RegDeleteKeyA);
    remove.FailNth(1, 0, ERROR_ACCESS_DENIED);
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, Unregister("C:\\X\\OTHER.DLL"));
    EXPECT_TRUE(log.Contains("RegDeleteKey failed (SOFTWARE\\Norrin Vale\\Velmora\\Delay Loading) with error=[5]"));
    EXPECT_EQ(0U, Register(first));
    EXPECT_EQ(0U, Unregister(first));
    EXPECT_FALSE(kit::KeyExists(kListsKey));
}

TEST_F(DelayLoadLists, WhatIsNoListIsRefusedAndStays)
{
    const kit::RegistryValue foreign[] = {{REG_SZ, "c:\\a\0"s},
                                          {REG_BINARY, "c:\\a\0\0"s},
                                          {REG_MULTI_SZ, "c:\\a\0"s},
                                          {REG_MULTI_SZ, "c:\\a"s},
                                          {REG_MULTI_SZ, "c:\\"s},
                                          {REG_MULTI_SZ, ""s},
                                          {REG_MULTI_SZ, "c:\\a\0\0more\0\0"s}};
    for (const kit::RegistryValue& value : foreign) {
        SCOPED_TRACE(testing::PrintToString(value));
        kit::WriteValue(kListsKey, kValue, value);
        const auto before = kit::ReadValue(kListsKey, kValue); // the system may have closed it with a zero
        if (before->bytes.ends_with("\0\0"s) && value.type == REG_MULTI_SZ && value.bytes.size() < 10)
            continue;
        EXPECT_EQ(DWORD{ERROR_INVALID_DATA}, Register("C:\\b\\shared.dll"));
        EXPECT_TRUE(kit::Gives(ERROR_INVALID_DATA, Unregister("C:\\a\\shared.dll")));
        EXPECT_EQ(before, kit::ReadValue(kListsKey, kValue));
    }
}

TEST_F(DelayLoadLists, TwoHundredCopiesKeepTheirOrder)
{
    const char* const versions[] = {"5.0.0.0", "4.99.0.0", "1.2.3.10", "1.2.3.9"};
    Texts sorted;
    for (const char* version : versions) {
        for (int copy = 0; copy < 50; ++copy)
            sorted.push_back(Lower(MakeCopy(version + "-"s + std::to_string(copy), version)));
    }
    Texts given = sorted;
    given.erase(given.begin() + 60);
    std::reverse(given.begin(), given.end());
    WriteList(Joined(given));
    EXPECT_EQ(0U, Register(sorted[60]));
    const std::string list = StoredList();
    Texts stored;
    for (const char* text = list.c_str(); *text; text += strlen(text) + 1)
        stored.emplace_back(text);
    ASSERT_EQ(sorted.size(), stored.size());
    for (size_t at = 0; at < stored.size(); ++at)
        EXPECT_TRUE(stored[at].find("\\"s + versions[at / 50] + "-") != std::string::npos) << at << " " << stored[at];
}

TEST_F(DelayLoadLists, LinesOfTheLog)
{
    const std::string path = Lower(MakeCopy("a", "1.2.3.9"));
    const std::string other = Lower(MakeCopy("b", "none"));
    const kit::TraceLog log(Scratch().Path("trace.log"));
    Register(path);
    Register(other);
    Unregister(other);
    Unregister(path);
    const std::string size = std::to_string(path.size() + 1);
    EXPECT_TRUE(log.HasEach(
        {"pchDLLPath = [" + path + "]", "lowDLLPath = [" + path + "]", "CountOfbytes = [" + size + "]",
         "Such library is yet not registered.", "Setting value [shared.dll].", "Such library is already registered.",
         "First string of Data = [" + path + "].", "Total strings in Value + 1 = [2].",
         "Final count after merging = [2]", ", 2, 4, 'CompareDLLVersions')...", "Path1 = [", "Path2 = [",
         "First string after sorting = [" + path + "]", "Setting value to [" + path + "].",
         "Total strings in Value = [2].", "No data left, deleting value [shared.dll].",
         "Deleting 'Delay Loading' key as it is empty..."}));
    EXPECT_EQ(1U, log.Count("No version for Path"));
}

TEST_F(DelayLoadLists, FailuresGiveTheirCodesAndChangeNothing)
{
    const std::string path = "c:\\a\\shared.dll";
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(87U, TARVO_RegisterDelayLoadLibrary(none));
        EXPECT_EQ(87U, TARVO_UnRegisterDelayLoadLibrary(none));
        EXPECT_EQ("Path parameter is empty.", kit::LastMessage());
    }
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, Register("C:\\" + std::string(260, 'x')));
    EXPECT_FALSE(kit::KeyExists(kProductKey));
    WriteList(Joined({path}));
    const std::string before = StoredList();
    kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA);
    kit::ImportHook query("RegQueryValueExA", &RegQueryValueExA);
    kit::ImportHook set("RegSetValueExA", &RegSetValueExA);
    open.Answer([&](HKEY key, const char* name, DWORD options, REGSAM access, HKEY* opened) -> LSTATUS {
        return access == (KEY_READ | KEY_WRITE) ? ERROR_ACCESS_DENIED
                                                : open.Original()(key, name, options, access, opened);
    });
    EXPECT_EQ(5U, Register(path));
    EXPECT_EQ("RegOpenKeyEx failed", kit::LastMessage());
    EXPECT_EQ(0U, Unregister(path)) << "a list that cannot be opened counts as none";
    open.PassThrough();
    for (const auto call : {Register, Unregister}) {
        query.FailNth(2, 0, ERROR_NO_SYSTEM_RESOURCES);
        EXPECT_EQ(DWORD{ERROR_NO_SYSTEM_RESOURCES}, call(path));
    }
    query.PassThrough();
    set.FailAll(0, ERROR_DISK_FULL);
    EXPECT_TRUE(kit::Gives(ERROR_DISK_FULL, Register("c:\\b\\shared.dll")));
    set.PassThrough();
    EXPECT_EQ(before, StoredList());
    WithEachAllocationFailing([&] {
        const DWORD code = Register("c:\\b\\shared.dll");
        EXPECT_TRUE(code == 0 || (Heap().FailureHappened() && code == ERROR_NOT_ENOUGH_MEMORY)) << code;
        EXPECT_TRUE(code == 0 || before == StoredList());
        WriteList(before);
    });
}

} // namespace
