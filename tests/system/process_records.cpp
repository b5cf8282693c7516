// Starting programs, asking libraries for functions, and the please-wait window, against their records.

#include <windows.h>

#include <shellapi.h>

#include "kit/kit.h"

namespace {

using kit::Stage;
using SystemRecords = kit::BehaviorTest;

/** Answers in the place of the shell. */
struct Shell : kit::ImportHook<decltype(&ShellExecuteA)> {
    explicit Shell(INT_PTR answer = 33) : ImportHook("ShellExecuteA", &ShellExecuteA, 0, HINSTANCE(answer)) {}
};

TEST_F(SystemRecords, ShellStart)
{
    Open("system/shell_start");
    Case("a quoted program may have arguments; what cannot be run is refused", {.records = false}, [](Stage& stage) {
        const Shell shell;
        const std::string tooLong(260, 'p');
        stage.HideText(tooLong, "<too long>");
        stage.Call(&TARVO_ShellExecute, R"("C:\a b.exe" /x "y z" )");
        stage.Call(&TARVO_ShellExecute, nullptr);
        stage.Call(&TARVO_ShellExecute, "\"" + tooLong + "\" /x");
    });
    Case("program and arguments", {.records = false, .failures = false, .allocations = false}, [](Stage& stage) {
        const Shell shell;
        const std::string longText(259, 'p');
        stage.HideText(longText, "<259 characters>");
        for (const char* line : {R"(C:\a b.exe /x "y")", R"( "C:\a.exe" /x)", R"("C:\a b.exe"/x)", R"("C:\a b.txt")",
                                 R"("C:\a.exe /x)", R"("" /x)", "", "\""})
            stage.Call(&TARVO_ShellExecute, line);
        for (const std::string& line : {"\"" + longText + "\" /x", longText + "pp", "\"p\"" + longText + longText})
            stage.Call(&TARVO_ShellExecute, line);
    });
    Case("success is above 32", {.records = false, .failures = false, .allocations = false}, [](Stage& stage) {
        for (const INT_PTR answer : {0x12345678, 32, 2, 0}) {
            const Shell shell(answer);
            stage.Call(&TARVO_ShellExecute, "\"p\" x");
        }
    });
}

TEST_F(SystemRecords, LibraryFunctions)
{
    Open("system/library_functions");
    Case("a library is loaded for the question alone", {.records = false}, [](Stage& stage) {
        stage.Call(&TARVO_DllFunctionExist, "lz32.dll", "LZCopy"); // nothing in this process uses it
        stage.Tell("loaded", GetModuleHandleA("lz32.dll") ? "yes" : "no");
    });
    Case("what is there, and what is not", {.records = false, .failures = false, .allocations = false},
         [](Stage& stage) {
             const std::pair<const char*, const char*> functions[] = {{"kernel32", "GetTickCount"},
                                                                      {"kernel32.dll", "gettickcount"},
                                                                      {"no-such-library.dll", "LZCopy"},
                                                                      {"lz32.dll", "NoSuch"},
                                                                      {nullptr, "x"},
                                                                      {"kernel32", nullptr}};
             for (const auto& [library, function] : functions)
                 stage.Call(&TARVO_DllFunctionExist, library, function);
         });
}

void TellWindow(Stage& stage, const char* caption)
{
    const HWND dialog = FindWindowA("#32770", caption);
    char text[256] = {};
    GetDlgItemTextA(dialog, 1001, text, sizeof text);
    stage.Tell(caption, !dialog ? "no window" : IsWindowVisible(dialog) ? text : "hidden");
}

TEST_F(SystemRecords, ProgressDialog)
{
    Open("system/progress_dialog");
    Case("a window is shown", {.records = false}, [](Stage& stage) {
        stage.Call(&TARVO_ShowProgressDialog, nullptr, "Tarvo one", "Copying files...");
        TellWindow(stage, "Tarvo one");
        stage.Tell("without caption", FindWindowA("#32770", "") ? "a window" : "none");
        stage.Call(&TARVO_HideProgressDialog);
    });
    Case("another takes its place, and is hidden", {.records = false, .allocations = false}, [](Stage& stage) {
        TARVO_ShowProgressDialog(nullptr, "Tarvo one", "Copying files...");
        const HWND owner = CreateWindowA("STATIC", "owner", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
        stage.Hide(reinterpret_cast<DWORD>(owner), "<owner>");
        stage.Events().Names().Add(reinterpret_cast<DWORD>(owner), "owner", false);
        stage.Call(&TARVO_ShowProgressDialog, owner, "Tarvo two", "Registering...");
        TellWindow(stage, "Tarvo one");
        TellWindow(stage, "Tarvo two");
        TARVO_HideProgressDialog();
        TellWindow(stage, "Tarvo two");
        stage.Call(&TARVO_HideProgressDialog);
        TARVO_ShowProgressDialog(owner, "Tarvo two", "");
        DestroyWindow(owner); // takes the window along
        stage.Call(&TARVO_HideProgressDialog);
    });
}

} // namespace
