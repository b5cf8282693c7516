// Shortcuts, written by the library and read back through the shell's own object.

#include <windows.h>

#include <shlobj.h>

#include "uninstall/log_file.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

constexpr DWORD kShellFailure = 0xFFFFFFFF;
constexpr char kGroup[] = "Tarvo tests";

/** @return target, arguments, folder, description and the way to show it, as the shell reads a link. */
Texts ReadLink(const std::string& file)
{
    CoInitialize(nullptr);
    IShellLinkA* link = nullptr;
    CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA, reinterpret_cast<void**>(&link));
    IPersistFile* persist = nullptr;
    link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
    Texts content;
    if (SUCCEEDED(persist->Load(std::wstring(file.begin(), file.end()).c_str(), STGM_READ))) {
        char text[1024] = {};
        link->GetPath(text, sizeof text, nullptr, SLGP_RAWPATH);
        content.emplace_back(text);
        for (const auto get :
             {&IShellLinkA::GetArguments, &IShellLinkA::GetWorkingDirectory, &IShellLinkA::GetDescription}) {
            (link->*get)(text, sizeof text);
            content.emplace_back(text);
        }
        // In the file's header; Wine's object does not read it back.
        content.push_back(std::to_string(kit::ReadFile(file)[60]));
    }
    persist->Release();
    link->Release();
    CoUninitialize();
    return content;
}

class Shortcuts : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        AllowOpenHandles(); // COM and the shell keep some
        kit::RemoveTree(Folder());
        log_ = Record();
    }

    void TearDown() override
    {
        kit::RemoveTree(Folder());
        kit::RemoveTree(Folder(CSIDL_PROGRAMS));
        LibraryTest::TearDown();
    }

    static std::string Folder(int programs = CSIDL_COMMON_PROGRAMS)
    {
        char folder[MAX_PATH] = {};
        SHGetFolderPathA(nullptr, programs, nullptr, 0, folder);
        return folder + "\\"s + kGroup;
    }
    static std::string LinkFile(const std::string& name) { return Folder() + "\\" + name + ".lnk"; }

    static DWORD Add(const char* name = "Lamp", const char* file = "C:\\lamp.exe")
    {
        return TARVO_AddShortCut(kGroup, name, file, "C:\\start", SW_SHOWNORMAL);
    }

    /** @return the shortcuts recorded, without their value */
    Texts Recorded() const
    {
        Texts lines = SectionLines(log_, "Shortcuts");
        for (std::string& line : lines)
            line.resize(line.size() - 2);
        return lines;
    }

    std::string log_;
};

TEST_F(Shortcuts, HoldWhatTheyWereGiven)
{
    const struct TargetCase {
        const char* file;
        const char* target;
        const char* arguments;
        const char* startIn;
        DWORD show;
    } cases[] = {
        {"\"C:\\Program Files\\App\\app.exe\"  /x \"y z\"", "C:\\Program Files\\App\\app.exe", "/x \"y z\"", "C:\\s",
         3},
        {"C:\\Program Files\\App\\app.exe -x", "C:\\Program Files\\App\\app.exe -x", "", nullptr, 7},
        {"\"C:\\a.exe\"", "C:\\a.exe", "", "", 1},
        {"\"C:\\a.exe", "C:\\a.exe", "", "", 1},
    };
    for (const TargetCase& row : cases) {
        SCOPED_TRACE(row.file);
        EXPECT_EQ(0U, TARVO_AddShortCut(kGroup, "A lamp", row.file, row.startIn, row.show));
        EXPECT_EQ(
            (Texts{row.target, row.arguments, row.startIn ? row.startIn : "", "A lamp", std::to_string(row.show)}),
            ReadLink(LinkFile("A lamp")));
    }
    EXPECT_EQ((Texts{Folder(), LinkFile("A lamp")}), Recorded());
}

TEST_F(Shortcuts, GroupGoesWithItsLastShortcut)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, Add("one"));
    EXPECT_EQ(0U, Add("two"));
    EXPECT_EQ(2U, TARVO_RemoveShortCut(kGroup, "three"));
    EXPECT_EQ("Failed to delete shortcut file", kit::LastMessage());
    EXPECT_EQ(0U, TARVO_RemoveShortCut(kGroup, "one"));
    EXPECT_TRUE(kit::FileExists(LinkFile("two")));
    EXPECT_EQ(0U, TARVO_RemoveShortCut(kGroup, "two"));
    EXPECT_FALSE(kit::FileExists(Folder()));
    EXPECT_EQ((Texts{Folder(), LinkFile("one"), LinkFile("two")}), Recorded());
    EXPECT_TRUE(
        log.HasEach({"Group=[Tarvo tests], Description=[one], File=[C:\\lamp.exe], StartIn=[C:\\start], RunState=[1].",
                     "Creating shortcut, file=[" + LinkFile("one") + "], target=[C:\\lamp.exe]...",
                     "Failed to remove group directory [" + Folder() + "], it isn't error.",
                     "Group=[Tarvo tests], Description=[two]"}));
}

TEST_F(Shortcuts, UninstallTakesThemAway)
{
    EXPECT_EQ(0U, Add());
    EXPECT_EQ(0U, TARVO_StopUninstallLogging());
    EXPECT_EQ(0U, TARVO_OpenRollBackLog(log_.c_str()));
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_SHORTCUTS));
    EXPECT_EQ(0U, TARVO_CloseRollBackLog());
    EXPECT_FALSE(kit::FileExists(Folder()));
}

TEST_F(Shortcuts, ComIsLeftAsItWas)
{
    // Whoever entered a mode stays in it; a thread that was in none is in none again.
    for (const DWORD mode : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, mode));
        EXPECT_EQ(0U, Add());
        EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, mode));
        CoUninitialize();
        CoUninitialize();
        EXPECT_EQ(0U, Add());
        EXPECT_EQ(0U, TARVO_RemoveShortCut(kGroup, "Lamp"));
    }
    EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    CoUninitialize();
}

TEST_F(Shortcuts, UsersOwnMenuServesWithoutACommonOne)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    kit::ImportHook locate("SHGetSpecialFolderLocation", &SHGetSpecialFolderLocation);
    locate.FailNth(1, 0, E_FAIL);
    EXPECT_EQ(0U, Add());
    EXPECT_TRUE(kit::FileExists(Folder(CSIDL_PROGRAMS) + "\\Lamp.lnk"));
    EXPECT_TRUE(log.Contains("Could not find common program directory, trying user directory..."));
    locate.FailNth(1, 0, E_FAIL);
    EXPECT_EQ(0U, TARVO_RemoveShortCut(kGroup, "Lamp"));
    EXPECT_FALSE(kit::FileExists(Folder(CSIDL_PROGRAMS)));
}

TEST_F(Shortcuts, RefusalsAndFailuresGiveTheirCodes)
{
    EXPECT_EQ(87U, TARVO_AddShortCut(nullptr, "Lamp", "C:\\a", "", 1));
    EXPECT_EQ(87U, TARVO_AddShortCut(kGroup, nullptr, "C:\\a", "", 1));
    EXPECT_EQ(87U, TARVO_AddShortCut(kGroup, "Lamp", nullptr, "", 1));
    EXPECT_EQ(87U, TARVO_RemoveShortCut(nullptr, "Lamp"));
    EXPECT_EQ(87U, TARVO_RemoveShortCut(kGroup, nullptr));
    const auto check = [](const char* text, DWORD code, DWORD result) {
        EXPECT_EQ(code, result);
        EXPECT_EQ(text, kit::LastMessage());
    };
    {
        const kit::ImportHook locate("SHGetSpecialFolderLocation", &SHGetSpecialFolderLocation, 0, E_FAIL);
        check("Could not find neither common nor user directory", kShellFailure, Add());
        check("Could not find neither common nor user directory", kShellFailure, TARVO_RemoveShortCut(kGroup, "Lamp"));
    }
    {
        const kit::ImportHook path("SHGetPathFromIDListA", &SHGetPathFromIDListA, 0, FALSE);
        check("Could not get shortcut's directory", kShellFailure, Add());
    }
    {
        const kit::ImportHook make("CreateDirectoryA", &CreateDirectoryA, ERROR_DISK_FULL, FALSE);
        EXPECT_TRUE(kit::Gives(ERROR_DISK_FULL, Add()));
    }
    EXPECT_EQ(Texts{}, Recorded());
    const kit::ImportHook create("CoCreateInstance", &CoCreateInstance, 0, REGDB_E_CLASSNOTREG);
    check("Failed to create shortcut", kShellFailure, Add());
    EXPECT_EQ(Texts{Folder()}, Recorded()) << "the folder stays, to be taken away";
    const std::string longText(260, 'x');
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, Add(longText.c_str()));
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, Add("Lamp", longText.c_str()));
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, Add("Lamp", ("\"C:\\a\" " + longText).c_str()));
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, TARVO_RemoveShortCut(kGroup, longText.c_str()));
}

TEST_F(Shortcuts, LackOfMemoryLeavesNothingBehind)
{
    WithEachAllocationFailing([&] {
        const DWORD code = Add();
        EXPECT_TRUE(code == 0 || (Heap().FailureHappened() && code != 0)) << code;
        EXPECT_EQ(code == 0, kit::FileExists(LinkFile("Lamp")));
        kit::RemoveTree(Folder());
    });
}

} // namespace
