// Shortcuts, written by the library and read back through the shell's own object.

#include <windows.h>

#include <shlobj.h>

#include "kit/kit.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

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
    }

    void TearDown() override
    {
        kit::RemoveTree(Folder());
        LibraryTest::TearDown();
    }

    static std::string Folder()
    {
        char folder[MAX_PATH] = {};
        SHGetFolderPathA(nullptr, CSIDL_COMMON_PROGRAMS, nullptr, 0, folder);
        return folder + "\\"s + kGroup;
    }
    static DWORD Add() { return TARVO_AddShortCut(kGroup, "Lamp", "C:\\lamp.exe", "C:\\start", SW_SHOWNORMAL); }
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
    };
    for (const TargetCase& row : cases) {
        SCOPED_TRACE(row.file);
        EXPECT_EQ(0U, TARVO_AddShortCut(kGroup, "A lamp", row.file, row.startIn, row.show));
        EXPECT_EQ(
            (Texts{row.target, row.arguments, row.startIn ? row.startIn : "", "A lamp", std::to_string(row.show)}),
            ReadLink(Folder() + "\\A lamp.lnk"));
    }
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

} // namespace
