// The DLL as others find it: exports, imports, resources; what unloading, lines and configurations do to it.

#include <set>

#include "kit/dice.h"
#include "kit/kit.h"

namespace {

using TarvoLibrary = kit::LibraryTest;

TEST_F(TarvoLibrary, ExportsTheListedNamesAlone)
{
    EXPECT_EQ(kit::Library::ListedExports(), kit::ExportedNames(kit::HookedModule()));
}

TEST_F(TarvoLibrary, NeedsSystemLibrariesAlone)
{
    const std::set<std::string> system = {"ADVAPI32.DLL", "GDI32.DLL", "KERNEL32.DLL", "MSVCRT.DLL", "NETAPI32.DLL",
                                          "NTDLL.DLL",    "OLE32.DLL", "SHELL32.DLL",  "USER32.DLL", "VERSION.DLL"};
    const auto needed = kit::ImportedLibraries(kit::HookedModule());
    EXPECT_LE(2U, needed.size());
    for (const std::string& name : needed)
        EXPECT_TRUE(system.contains(name)) << name;
}

TEST_F(TarvoLibrary, VersionResource)
{
    char version[4096] = {};
    GetFileVersionInfoA(kit::Library::Path().c_str(), 0, sizeof version, version);
    const auto query = [&](const char* path) {
        void* found = nullptr;
        UINT length = 0;
        EXPECT_TRUE(VerQueryValueA(version, path, &found, &length)) << path;
        return found;
    };
    const auto& fixed = *static_cast<VS_FIXEDFILEINFO*>(query("\\"));
    EXPECT_TRUE(fixed.dwFileVersionMS == 10 << 16 && fixed.dwFileVersionLS == 176 << 16);
    EXPECT_TRUE(fixed.dwProductVersionMS == 10 << 16 && fixed.dwProductVersionLS == 176 << 16);
    EXPECT_TRUE(fixed.dwFileType == VFT_DLL && fixed.dwFileOS == VOS__WINDOWS32);
    EXPECT_STREQ("TARVO", static_cast<char*>(query("\\StringFileInfo\\040904E4\\InternalName")));
    EXPECT_STREQ("TARVO.DLL", static_cast<char*>(query("\\StringFileInfo\\040904E4\\OriginalFilename")));
}

TEST_F(TarvoLibrary, ProgressDialogTemplate)
{
    // DLGTEMPLATE, no menu, the default class, no title, 8 point MS Shell Dlg,
    // then one DLGITEMTEMPLATE without data.
    static const WORD expected[] = {0x0AC0, 0x80C0, 0,   0,   1,      0,      0,   186, 41,  0,   0,
                                    0,      8,      'M', 'S', ' ',    'S',    'h', 'e', 'l', 'l', ' ',
                                    'D',    'l',    'g', 0,   0x0000, 0x5002, 0,   0,   7,   7,   172,
                                    27,     1001,   'S', 'T', 'A',    'T',    'I', 'C', 0,   0,   0};
    const HMODULE module = kit::HookedModule();
    const HRSRC found = FindResourceExA(module, RT_DIALOG, MAKEINTRESOURCEA(101), 1033);
    ASSERT_TRUE(found);
    ASSERT_LE(sizeof expected, SizeofResource(module, found));
    EXPECT_EQ(0, memcmp(expected, LockResource(LoadResource(module, found)), sizeof expected));
}

TEST_F(TarvoLibrary, UnloadingForgetsEverything)
{
    AllowOpenHandles(); // the window system keeps some from the first window on
    EXPECT_EQ(0U, TARVO_ShowProgressDialog(nullptr, "Tarvo unload", "..."));
    const kit::TraceLog log(Scratch().Path("log"));
    TARVO_SetLanguage();
    TARVO_LoadedInSetup();
    TARVO_DelayLoadInitialize(); // tells nothing
    Reload();
    EXPECT_FALSE(FindWindowA("#32770", "Tarvo unload"));
    EXPECT_EQ("", kit::LastMessage());
    EXPECT_EQ(3U, log.Lines().size());
}

TEST_F(TarvoLibrary, NothingIsFormattedWithoutALog)
{
    static int formatted;
    formatted = 0;
    using Format = int(__cdecl*)(char*, size_t, const char*, va_list);
    const Format count = [](char* buffer, size_t size, const char* format, va_list arguments) {
        return ++formatted, _vsnprintf(buffer, size, format, arguments);
    };
    const kit::ImportPatch patch(kit::HookedModule(), "_vsnprintf", reinterpret_cast<void*>(count));
    char text[100];
    const auto callAll = [&] {
        TARVO_SetLanguage();
        TARVO_GetTarvoDllInstance();
        TARVO_GetLastErrorMessage(text, sizeof text);
        TARVO_CreateDirectory(Scratch().Path("made").c_str());
    };
    callAll();
    EXPECT_EQ(0, formatted);
    const kit::TraceLog log(Scratch().Path("log"));
    callAll();
    EXPECT_LT(9, formatted);
}

/** Any bytes may stand in TARVO.cfg; it and the logs lie in the scratch folder. */
TEST_F(TarvoLibrary, RandomConfigurationsDoNoHarm)
{
    kit::Dice dice;
    const std::vector<std::string> words = {"tl", "ts", "tf", "tfr", "=", "\n", ",", "dt", "tid", "tc", "%s%n", "nid"};
    const auto answer = [this](const char* name, char* path) {
        return strlen(strcpy(path, Scratch().Path(name).c_str()));
    };
    for (int round = 0; round < 30; ++round) {
        std::string config;
        while (config.size() < 6000)
            config += dice.OneIn(2) ? dice.Of(words) : std::string(1, static_cast<char>(dice.Below(256)));
        Scratch().Make("TARVO.cfg", config);
        kit::ImportHook windows("GetWindowsDirectoryA", &GetWindowsDirectoryA);
        windows.Answer([&](char* path, UINT) { return answer("", path); });
        kit::ImportHook program("GetModuleFileNameA", &GetModuleFileNameA);
        program.Answer([&](HMODULE, char* path, DWORD) { return answer("setup.exe", path); });
        TARVO_StartDebugLogging();
        EXPECT_EQ(1U, TARVO_SetLanguage()) << kit::Dice::Place(round);
        Reload();
    }
}

} // namespace
