// Shortcuts in a menu of the record's own, against their records.

#include <windows.h>

#include <shlobj.h>

#include "kit/kit.h"

namespace {

using kit::Stage;
using SystemRecords = kit::BehaviorTest;

constexpr char kLink[] = "Programs\\Group\\Lamp.lnk";

/** Leads the shell's folders of programs to one of the stage. */
struct Programs : kit::ImportHook<decltype(&SHGetPathFromIDListA)> {
    Programs() : ImportHook("SHGetPathFromIDListA", &SHGetPathFromIDListA)
    {
        CreateDirectoryA(Stage::Folder("Programs").c_str(), nullptr);
        Answer([](auto, char* path) { return strcpy(path, Stage::Folder("Programs").c_str()), TRUE; });
    }

    /** Makes the group with an empty link in it. */
    static void MakeLink(const char* name)
    {
        CreateDirectoryA(Stage::Folder("Programs\\Group").c_str(), nullptr);
        Stage::File("Programs\\Group\\" + std::string(name) + ".lnk", "");
    }

    static void Tell(Stage& stage)
    {
        stage.Tell("group", kit::FileExists(Stage::Folder("Programs\\Group")) ? "there" : "none");
        const std::string link = Stage::Folder(kLink);
        stage.Tell("link", !kit::FileExists(link) ? "none" : kit::ReadFile(link).empty() ? "empty" : "there");
    }
};

TEST_F(SystemRecords, Shortcuts)
{
    Open("system/shortcuts");
    const Ways callsAlone = {.failures = false, .allocations = false};
    Case("a shortcut is put into a new group", [](Stage& stage) {
        const Programs programs;
        stage.Call(&TARVO_AddShortCut, "Group", "Lamp", R"("C:\Lamp\lamp.exe"  /x "y z")", "C:\\Lamp", DWORD{3});
        Programs::Tell(stage);
    });
    Case("one in a group that is there is written over", callsAlone, [](Stage& stage) {
        const Programs programs;
        Programs::MakeLink("Lamp");
        for (const char* file : {R"(C:\Program Files\App\app.exe -x)", R"("C:\a.exe)"}) {
            stage.Call(&TARVO_AddShortCut, "Group", "Lamp", file, nullptr, DWORD{7});
            CoInitializeEx(nullptr, COINIT_MULTITHREADED); // the second call finds another mode, and leaves it
        }
        CoUninitialize();
        CoUninitialize();
        Programs::Tell(stage);
    });
    Case("a group whose existence cannot be told is taken to be there", callsAlone, [](Stage& stage) {
        const Programs programs;
        Programs::MakeLink("Lamp");
        const kit::ImportHook ask("GetFileAttributesA", &GetFileAttributesA, ERROR_ACCESS_DENIED,
                                  INVALID_FILE_ATTRIBUTES);
        stage.Call(&TARVO_AddShortCut, "Group", "Lamp", "C:\\a.exe", "", DWORD{1});
    });
    Case("the last shortcut takes its group along", [](Stage& stage) {
        const Programs programs;
        Programs::MakeLink("Lamp");
        stage.Call(&TARVO_RemoveShortCut, "Group", "Lamp");
        Programs::Tell(stage);
    });
    Case("another keeps it", callsAlone, [](Stage& stage) {
        const Programs programs;
        Programs::MakeLink("Lamp");
        Programs::MakeLink("Other");
        for (int time = 0; time < 2; ++time)
            stage.Call(&TARVO_RemoveShortCut, "Group", "Lamp");
        Programs::Tell(stage);
    });
    Case("without any menu there is nothing to do", callsAlone, [](Stage& stage) {
        const Programs programs;
        const kit::ImportHook locate("SHGetSpecialFolderLocation", &SHGetSpecialFolderLocation, 0, E_FAIL);
        stage.Call(&TARVO_AddShortCut, "Group", "Lamp", "C:\\a.exe", "", DWORD{1});
        stage.Call(&TARVO_RemoveShortCut, "Group", "Lamp");
    });
    Case("what is missing or too long is refused", callsAlone, [](Stage& stage) {
        const Programs programs;
        stage.Check(&TARVO_AddShortCut, nullptr, "Lamp", "C:\\a.exe", "", DWORD{1});
        stage.Check(&TARVO_AddShortCut, "Group", nullptr, "C:\\a.exe", "", DWORD{1});
        stage.Check(&TARVO_AddShortCut, "Group", "Lamp", nullptr, "", DWORD{1});
        stage.Check(&TARVO_RemoveShortCut, nullptr, "Lamp");
        stage.Check(&TARVO_RemoveShortCut, "Group", nullptr);
        stage.Call(&TARVO_AddShortCut, nullptr, nullptr, nullptr, nullptr, DWORD{1});
        stage.Call(&TARVO_RemoveShortCut, nullptr, nullptr);
        const std::string tooLong(260, 'x');
        stage.HideText(tooLong, "<too long>");
        stage.Check(&TARVO_AddShortCut, tooLong, "Lamp", "C:\\a.exe", "", DWORD{1});
        stage.Check(&TARVO_AddShortCut, "Group", tooLong, "C:\\a.exe", "", DWORD{1});
        stage.Check(&TARVO_AddShortCut, "Group", "Lamp", tooLong, "", DWORD{1});
        stage.Check(&TARVO_AddShortCut, "Group", "Lamp", "\"C:\\a.exe\" " + tooLong, "", DWORD{1});
        stage.Check(&TARVO_RemoveShortCut, "Group", tooLong);
        Programs::Tell(stage);
    });
}

} // namespace
