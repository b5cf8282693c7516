// The DLL as others find it: instance, exports, imports, resources.

#include "kit/kit.h"

#include <algorithm>
#include <set>

namespace {

using TarvoLibrary = kit::LibraryTest;

std::string ReadResource(const char* type, int name)
{
    const HMODULE module = kit::HookedModule();
    const HRSRC found = FindResourceA(module, MAKEINTRESOURCEA(name), type);
    if (!found)
        return {};
    return {static_cast<const char*>(LockResource(LoadResource(module, found))), SizeofResource(module, found)};
}

std::string ReadVersionText(const char* name)
{
    char version[4096] = {};
    void* text = nullptr;
    UINT length = 0;
    GetFileVersionInfoA(kit::Library::Path().c_str(), 0, sizeof version, version);
    const std::string path = std::string("\\StringFileInfo\\040904E4\\") + name;
    return VerQueryValueA(version, path.c_str(), &text, &length) ? static_cast<const char*>(text) : "";
}

TEST_F(TarvoLibrary, DelayLoadInitializeTakesNothing)
{
    const kit::TraceLog log(Scratch().Path("log"));
    TARVO_DelayLoadInitialize();
    TARVO_LoadedInSetup();
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TarvoLibrary, ExportsTheListedNamesAlone)
{
    EXPECT_EQ(kit::Library::ListedExports(), kit::ExportedNames(kit::HookedModule()));
}

TEST_F(TarvoLibrary, NeedsSystemLibrariesAlone)
{
    const std::set<std::string> system = {"ADVAPI32.DLL", "GDI32.DLL",   "KERNEL32.DLL", "MSVCRT.DLL", "NETAPI32.DLL",
                                          "OLE32.DLL",    "SHELL32.DLL", "USER32.DLL",   "VERSION.DLL"};
    const auto needed = kit::ImportedLibraries(kit::HookedModule());
    EXPECT_LE(2U, needed.size());
    for (const std::string& name : needed)
        EXPECT_TRUE(system.contains(name)) << name;
}

TEST_F(TarvoLibrary, VersionResource)
{
    const std::string version = ReadResource(RT_VERSION, 1);
    const DWORD signature = VS_FFI_SIGNATURE;
    const size_t at = version.find(std::string(reinterpret_cast<const char*>(&signature), sizeof signature));
    ASSERT_NE(std::string::npos, at);
    VS_FIXEDFILEINFO fixed;
    memcpy(&fixed, version.data() + at, sizeof fixed);
    EXPECT_EQ(DWORD{10 << 16}, fixed.dwFileVersionMS);
    EXPECT_EQ(DWORD{176 << 16}, fixed.dwFileVersionLS);
    EXPECT_EQ(DWORD{10 << 16}, fixed.dwProductVersionMS);
    EXPECT_EQ(DWORD{176 << 16}, fixed.dwProductVersionLS);
    EXPECT_EQ(DWORD{VFT_DLL}, fixed.dwFileType);
    EXPECT_EQ(DWORD{VOS__WINDOWS32}, fixed.dwFileOS);
    EXPECT_EQ("TARVO", ReadVersionText("InternalName"));
    EXPECT_EQ("TARVO.DLL", ReadVersionText("OriginalFilename"));
}

TEST_F(TarvoLibrary, ProgressDialogTemplate)
{
    // DLGTEMPLATE, no menu, the default class, no title, 8 point MS Shell Dlg,
    // then one DLGITEMTEMPLATE without data.
    static const WORD expected[] = {0x0AC0, 0x80C0, 0,   0,   1,      0,      0,   186, 41,  0,   0,
                                    0,      8,      'M', 'S', ' ',    'S',    'h', 'e', 'l', 'l', ' ',
                                    'D',    'l',    'g', 0,   0x0000, 0x5002, 0,   0,   7,   7,   172,
                                    27,     1001,   'S', 'T', 'A',    'T',    'I', 'C', 0,   0,   0};
    const std::string found = ReadResource(RT_DIALOG, 101);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(expected), sizeof expected), found.substr(0, sizeof expected));
    EXPECT_TRUE(FindResourceExA(kit::HookedModule(), RT_DIALOG, MAKEINTRESOURCEA(101), 1033));
}

TEST_F(TarvoLibrary, UnloadingForgetsEverything)
{
    const kit::TraceLog log(Scratch().Path("log"));
    TARVO_SetLanguage();
    TARVO_LoadedInSetup();
    Reload();
    EXPECT_EQ("", kit::LastMessage());
    EXPECT_EQ(3U, log.Lines().size());
}

} // namespace
