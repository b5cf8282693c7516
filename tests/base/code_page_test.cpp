// Names in code pages of more than one byte a character: what is made of them is looked at in wide characters.

#include <windows.h>

#include <aclapi.h>
#include <shlobj.h>

#include "registry/product_key.h"

namespace {

using kit::PendingValue;

/** A name in a code page, and the same in wide characters: as it is, and in small letters. */
struct Name {
    UINT codePage;
    std::string text;
    std::wstring wide;
    std::wstring lower;
};

const Name kNames[] = {
    {932, "\x83\x5C", L"\x30BD", L"\x30BD"}, // a backslash as second byte
    {932, "\x95\x5C\x83\x5C", L"\x8868\x30BD", L"\x8868\x30BD"},
    {932, "\xE0\x5C", L"\x6FEC", L"\x6FEC"}, // of the second range of first bytes
    {932, "\xFA\x5C\x78", L"\x7E8Ax", L"\x7E8Ax"},
    {932, "\x83\x7C", L"\x30DD", L"\x30DD"},                     // a bar
    {932, "\x83\x5Dx", L"\x30BEx", L"\x30BEx"},                  // a closing bracket
    {932, "\x83\x41", L"\x30A2", L"\x30A2"},                     // a letter with another case, a different character
    {932, "\x82\x60\x82\x60", L"\xFF21\xFF21", L"\xFF41\xFF41"}, // a letter itself
    {932, "\x84\x40", L"\x0410", L"\x0430"},
    {932, "\x88\x9F", L"\x4E9C", L"\x4E9C"}, // both bytes can be first ones
    {932, "\x81\x81\x81\x81", L"\xFF1D\xFF1D", L"\xFF1D\xFF1D"},
    {932, "\xB1", L"\xFF71", L"\xFF71"}, // one byte
    {CP_UTF8, "\xE6\x97\xA5\xE6\x9C\xAC", L"\x65E5\x672C", L"\x65E5\x672C"},
    {CP_UTF8, "\xE0\xB8\x81", L"\x0E01", L"\x0E01"},
    {CP_UTF8, "L\xC3\x84nder \xD0\x96", L"L\x00C4nder \x0416", L"l\x00E4nder \x0436"},
    {CP_UTF8, "\xF0\x9F\x98\x80", L"\xD83D\xDE00", L"\xD83D\xDE00"},
    {CP_UTF8, "\xE2\x84\xAA", L"\x212A", L"\x212A"}, // the Kelvin sign, whose small letter is another name's
    {CP_UTF8, "\xC8\xBA", L"\x023A", L"\x023A"},     // its small letter takes a byte more
};

/** Two names, and whether they are one but for the case of letters. */
const struct Pair {
    UINT codePage;
    std::string name, other;
    bool same;
} kPairs[] = {
    {932, "\x84\x40", "\x84\x70", true},
    {932, "\x82\x60", "\x82\x81", true},
    {932, "\x83\x41", "\x83\x61", false}, // the second bytes are A and a
    {932, "\x83\x5C", "\x83\x7C", false},
    {CP_UTF8, "\xC3\x84", "\xC3\xA4", true},
    {CP_UTF8, "\xD0\x94\xC3\x89", "\xD0\xB4\xC3\xA9", true},
    {CP_UTF8, "\xC3\x89", "\xC3\xAA", false},
    {CP_UTF8, "\xC3\x8A", "\xC3\x9A", false},
    {CP_UTF8, "\xE6\x97\xA5", "\xE6\x97\xA6", false},
    {CP_UTF8, "\xE2\x84\xAA", "k", false},
    {CP_UTF8, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x81", false},
    {CP_UTF8, "\xC3", "\xE2", false}, // no whole characters
};

std::wstring Wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::wstring ReadText(const std::wstring& key, const std::wstring& name)
{
    wchar_t text[300] = L"none";
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ, nullptr, text,
                 &size);
    return text;
}

std::wstring ReadShortcut(const std::wstring& file)
{
    wchar_t target[MAX_PATH] = L"none";
    wchar_t arguments[MAX_PATH] = L"none";
    IShellLinkW* link = nullptr;
    IPersistFile* persistent = nullptr;
    CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, reinterpret_cast<void**>(&link));
    link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persistent));
    persistent->Load(file.c_str(), STGM_READ);
    link->GetPath(target, MAX_PATH, nullptr, 0);
    link->GetArguments(arguments, MAX_PATH);
    persistent->Release();
    link->Release();
    return std::wstring(target) + L" " + arguments;
}

class CodePages : public ProductKeyTest {
protected:
    void SetUp() override
    {
        ProductKeyTest::SetUp();
        PendingValue::Write({});
        for (const Name& name : kNames) {
            if (name.codePage == GetACP())
                names_.push_back(name);
        }
        ASSERT_FALSE(names_.empty()) << "the code page is " << GetACP();
    }

    /** Removes what was recorded, and begins to record again. */
    void Replay(DWORD operation)
    {
        EXPECT_EQ(0U, TARVO_StopUninstallLogging());
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(log_.c_str()));
        EXPECT_EQ(0U, TARVO_PerformUnInstall(operation));
        EXPECT_EQ(0U, TARVO_CloseRollBackLog());
        DeleteFileA(log_.c_str());
        Record();
    }

    std::vector<Name> names_;
};

TEST_F(CodePages, PendingPairsAreStoredAndFound)
{
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::wstring pair = L"\\??\\C:\\" + name.wide + L'\0' + L"!\\??\\C:\\x\\" + name.wide + L'\0' + L'\0';
        EXPECT_EQ(0U, TARVO_RenameAfterReboot(("C:\\" + name.text + "\\").c_str(),
                                              ("C:\\x\\.\\y\\..\\" + name.text).c_str()));
        EXPECT_EQ(pair, PendingValue::ReadRaw()->units);
        char found[MAX_PATH] = {};
        EXPECT_EQ(0U, TARVO_FindSourceInPFOs(("C:\\" + name.text + "\\..\\x\\" + name.text).c_str(), found, MAX_PATH));
        EXPECT_EQ("C:\\" + name.text, found);
        EXPECT_EQ(0U, TARVO_RemovePendingFileOperation(("c:\\" + name.text).c_str(), nullptr));
        EXPECT_EQ((std::wstring(1, L'\0')), PendingValue::ReadRaw()->units);
    }
}

TEST_F(CodePages, FoldersAreMadeAndRemoved)
{
    const auto exists = [](const std::wstring& path) { return GetFileAttributesW(path.c_str()) != MAXDWORD; };
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::wstring folder = Wide(Scratch().Path()) + L"\\" + name.wide;
        EXPECT_EQ(0U, TARVO_CreateDirectory(Scratch().Path(name.text + "/" + name.text).c_str()));
        EXPECT_TRUE(exists(folder + L"\\" + name.wide));
        Replay(TARVO_UNINSTALL_FILES);
        EXPECT_FALSE(exists(folder));
        CreateDirectoryW(folder.c_str(), nullptr);
        const std::string source = Scratch().Make("file");
        const std::string file = Scratch().Path(name.text + "\\" + name.text);
        EXPECT_EQ(0U, TARVO_CopyFile(source.c_str(), file.c_str(), TRUE));
        EXPECT_TRUE(exists(folder + L"\\" + name.wide));
        {
            const kit::FileLock lock(file);
            EXPECT_EQ(0U, TARVO_CopyFileEx(source.c_str(), file.c_str(), FALSE, nullptr));
            EXPECT_TRUE(exists(folder + L"\\" + name.wide + L".1"));
        }
        EXPECT_NE(std::wstring::npos, PendingValue::ReadRaw()->units.find(L"!\\??\\" + folder + L"\\" + name.wide));
        EXPECT_EQ(0U, TARVO_DeleteFileEx((file + ".1").c_str(), nullptr));
        Replay(TARVO_UNINSTALL_FILES);
        EXPECT_FALSE(exists(folder)) << "it goes with its file";
    }
}

TEST_F(CodePages, KeysAndValuesAreMadeAndRemoved)
{
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::string key = Key().Locator("k\\" + name.text + "\\" + name.text);
        const std::wstring path = Wide(Key().Path("k")) + L"\\" + name.wide + L"\\" + name.wide;
        EXPECT_EQ(0U, TARVO_CreateRegistryEntry((key + "\\\\" + name.text + "|" + name.text).c_str(), REG_SZ, FALSE));
        EXPECT_EQ(name.wide, ReadText(path, name.wide));
        const kit::TraceLog trace(Scratch().Path("trace.log"));
        EXPECT_EQ(0U, TARVO_CreateRegistryEntry((key + "\\\\x|y").c_str(), REG_SZ, FALSE));
        EXPECT_EQ(6U, trace.Count("already exists")) << "a line for each level";
        EXPECT_EQ(87U, TARVO_CreateRegistryEntry((key + "\\x|data").c_str(), REG_SZ, FALSE)) << "no two backslashes";
        Replay(TARVO_UNINSTALL_REGISTRY);
        EXPECT_EQ(L"none", ReadText(path, name.wide));
        EXPECT_FALSE(kit::KeyExists(Key().Path("k")));
    }
}

TEST_F(CodePages, KeysAreWalked)
{
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::string key = "k\\" + name.text + "\\" + name.text;
        kit::MakeKey(Key().Path(key));
        std::vector<std::string> reached;
        kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
        get.Answer([&](const char* object, auto...) { return reached.emplace_back(object), DWORD{ERROR_SUCCESS}; });
        kit::ImportHook set("SetNamedSecurityInfoA", &SetNamedSecurityInfoA);
        set.Answer([](auto...) { return DWORD{ERROR_SUCCESS}; });
        EXPECT_EQ(0U, TARVO_SetRegistrySecurityRid(Key().Locator("k").c_str(), 544, nullptr, 1, TRUE, TRUE));
        ASSERT_EQ(3U, reached.size());
        EXPECT_EQ("MACHINE\\" + Key().Path(key), reached.back());
        kit::RemoveKeyTree(Key().Path("k"), kit::View::kOwn);
    }
}

TEST_F(CodePages, ListsOfCopiesKeepWhatOthersHavePutThere)
{
    const std::wstring others = L"C:\\\x0E01\xD800\\x.dll" + std::wstring(1, L'\0'); // in no code page of these
    const std::wstring list = others + L"C:\\own\\x.dll" + std::wstring(2, L'\0');
    kit::MakeKey(kListsKey);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, Wide(kListsKey).c_str(), L"x.dll", REG_MULTI_SZ, list.data(),
                    static_cast<DWORD>(list.size() * sizeof(wchar_t)));
    EXPECT_EQ(0U, TARVO_RegisterDelayLoadLibrary("C:\\new\\x.dll"));
    EXPECT_EQ(0U, TARVO_UnRegisterDelayLoadLibrary("C:\\OWN\\x.dll"));
    EXPECT_EQ(0U, TARVO_UnRegisterDelayLoadLibrary("C:\\new\\x.dll"));
    wchar_t left[100] = {};
    DWORD size = sizeof left;
    RegGetValueW(HKEY_LOCAL_MACHINE, Wide(kListsKey).c_str(), L"x.dll", RRF_RT_ANY, nullptr, left, &size);
    EXPECT_EQ(others + L'\0', std::wstring(left, size / sizeof(wchar_t)));
}

TEST_F(CodePages, NamesAreEqualButForTheCaseOfLetters)
{
    for (const Pair& pair : kPairs) {
        if (pair.codePage != GetACP())
            continue;
        SCOPED_TRACE(pair.name + " and " + pair.other);
        TARVO_SetPFOsImmediateFlush(0); // the value cannot hold half characters
        char found[MAX_PATH] = {};
        TARVO_RenameAfterReboot(("C:\\" + pair.name).c_str(), nullptr);
        EXPECT_EQ(pair.same ? 0U : 2U, TARVO_FindSourceInPFOs(("C:\\" + pair.other).c_str(), found, MAX_PATH));
        TARVO_RemovePendingFileOperation(nullptr, nullptr);
        const std::string file = Scratch().Make("read.ini", "[" + pair.name + "]\nline\n");
        DWORD size = sizeof found;
        TARVO_ReadIniFileSection(file.c_str(), pair.other.c_str(), found, &size);
        EXPECT_STREQ(pair.same ? "line" : "", found);
        TARVO_RegisterDelayLoadLibrary(("C:\\" + pair.name + "\\x.dll").c_str());
        TARVO_UnRegisterDelayLoadLibrary(("C:\\" + pair.other + "\\x.dll").c_str());
        EXPECT_EQ(!pair.same, kit::KeyExists(kListsKey));
        none_.Remove();
    }
}

TEST_F(CodePages, ShortcutsAreMadeAndRemoved)
{
    AllowOpenHandles();
    kit::ImportHook programs("SHGetPathFromIDListA", &SHGetPathFromIDListA);
    programs.Answer([this](auto, char* path) { return strcpy(path, Scratch().Path().c_str()), TRUE; });
    CoInitialize(nullptr);
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::string target = "\"C:\\" + name.text + "\\a.exe\" " + name.text;
        EXPECT_EQ(0U, TARVO_AddShortCut(name.text.c_str(), name.text.c_str(), target.c_str(), "", SW_SHOW));
        const std::wstring file = Wide(Scratch().Path()) + L"\\" + name.wide + L"\\" + name.wide + L".lnk";
        EXPECT_EQ(L"C:\\" + name.wide + L"\\a.exe " + name.wide, ReadShortcut(file));
        EXPECT_EQ(0U, TARVO_RemoveShortCut(name.text.c_str(), name.text.c_str()));
        EXPECT_EQ(MAXDWORD, GetFileAttributesW(file.substr(0, file.rfind(L'\\')).c_str()));
    }
    CoUninitialize();
}

TEST_F(CodePages, RegistrationsTakePathsApartAndPutThemTogether)
{
    const std::wstring product = Wide(kProductKey);
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        EXPECT_EQ(0U, TARVO_RegisterLocalizationResource(("C:\\" + name.text).c_str(), name.text.c_str()));
        EXPECT_EQ(L"C:\\" + name.wide + L"\\" + name.wide, ReadText(product + L"\\Localization", name.wide));
        EXPECT_EQ(0U, TARVO_RegisterDelayLoadLibrary(("C:\\" + name.text + "\\" + name.text).c_str()));
        EXPECT_EQ(L"c:\\" + name.lower + L"\\" + name.lower, ReadText(product + L"\\Delay Loading", name.lower));
    }
}

TEST_F(CodePages, SectionsAreFoundByTheirNames)
{
    for (const Name& name : names_) {
        SCOPED_TRACE(name.text);
        const std::string section = "[" + name.text;
        const std::string file = Scratch().Make("read.ini", section + "\nno header\n" + section + "]\nline\n");
        char lines[100] = {};
        DWORD size = sizeof lines;
        EXPECT_EQ(0U, TARVO_ReadIniFileSection(file.c_str(), name.text.c_str(), lines, &size));
        EXPECT_STREQ("line", lines);
    }
}

TEST_F(CodePages, ACharacterCountsAsOneAndHalfOfOneToo)
{
    const std::string four =
        GetACP() == 932 ? "\x83\x5C\x83\x5C\x83\x5C\x83\x5C" : "\xE0\xB8\x81\xE0\xB8\x81\xE0\xB8\x81";
    kit::WriteFile(log_, "[Files]\r\nC:\\" + four + "=1\r\nC:\\missing=1\r\n");
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    Replay(TARVO_UNINSTALL_FILES);
    EXPECT_EQ((std::vector<std::string>{"File or directory [C:\\missing] does not exist...",
                                        "File or directory [C:\\" + four + "] does not exist..."}),
              MessagesThatBegin(trace, "File or directory"));
    if (GetACP() != 932)
        return;
    TARVO_SetPFOsImmediateFlush(0); // the value cannot hold it
    char found[MAX_PATH] = {};
    EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\x\\..\\\x83", nullptr));
    EXPECT_EQ(2U, TARVO_FindSourceInPFOs("C:\\\x83\x41", found, sizeof found));
    EXPECT_EQ(0U, TARVO_FindSourceInPFOs("C:\\\x83", found, sizeof found));
}

} // namespace
