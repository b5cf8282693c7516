// Starting programs through the shell, and asking libraries for functions.

#include <windows.h>

#include <shellapi.h>

#include "kit/kit.h"

namespace {

using Texts = std::vector<std::string>;

/** Answers in the place of the shell and notes what it was asked. */
class ShellExecution : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        shell_.emplace("ShellExecuteA", &ShellExecuteA);
        shell_->Answer([this](HWND owner, const char* verb, const char* program, const char* arguments,
                              const char* folder, int show) {
            program_ = program;
            arguments_ = arguments ? arguments : "<none>";
            fixedArguments_ = !owner && !verb && !folder && show == SW_SHOWNORMAL;
            return reinterpret_cast<HINSTANCE>(answer_);
        });
    }

    std::optional<kit::ImportHook<decltype(&ShellExecuteA)>> shell_;
    INT_PTR answer_ = 33;
    std::string program_;
    std::string arguments_;
    bool fixedArguments_ = false;
};

const struct CommandRow {
    const char* fact;
    std::string line;
    std::string program;
    std::string arguments;
} kCommands[] = {
    {"without quotes all is the program", R"(C:\a b.exe /x "y")", R"(C:\a b.exe /x "y")", "<none>"},
    {"a quote further on does not count", R"( "C:\a.exe" /x)", R"( "C:\a.exe" /x)", "<none>"},
    {"arguments stand right behind the quote", R"("C:\a b.exe" /x "y z" )", R"(C:\a b.exe)", R"( /x "y z" )"},
    {"they need no blank", R"("C:\a b.exe"/x)", R"(C:\a b.exe)", "/x"},
    {"a quoted program alone", R"("C:\a b.txt")", R"(C:\a b.txt)", "<none>"},
    {"without the second quote all is the program", R"("C:\a.exe /x)", R"(C:\a.exe /x)", "<none>"},
    {"the program may be empty", R"("" /x)", "", " /x"},
    {"the line may be empty", "", "", "<none>"},
    {"a quote alone", "\"", "", "<none>"},
    {"a quoted program of 259 characters", "\"" + std::string(259, 'p') + "\" /x", std::string(259, 'p'), " /x"},
    {"a plain program of 300 characters", std::string(300, 'p'), std::string(300, 'p'), "<none>"},
    {"arguments of any length", "\"p\"" + std::string(5000, 'x'), "p", std::string(5000, 'x')},
};

TEST_F(ShellExecution, ProgramAndArguments)
{
    for (const CommandRow& row : kCommands) {
        SCOPED_TRACE(row.fact);
        EXPECT_EQ(0U, TARVO_ShellExecute(row.line.c_str()));
        EXPECT_EQ(row.program, program_);
        EXPECT_EQ(row.arguments, arguments_);
        EXPECT_TRUE(fixedArguments_);
    }
    EXPECT_EQ("", kit::LastMessage());
}

TEST_F(ShellExecution, RefusesWhatItCannotRun)
{
    EXPECT_EQ(87U, TARVO_ShellExecute(nullptr));
    for (const size_t length : {260, 300})
        EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE},
                  TARVO_ShellExecute(("\"" + std::string(length, 'p') + "\" /x").c_str()));
    EXPECT_EQ(0, shell_->Calls());
}

TEST_F(ShellExecution, SuccessIsAbove32)
{
    for (const INT_PTR answer : {33, 42, 0x12345678}) {
        answer_ = answer;
        EXPECT_EQ(0U, TARVO_ShellExecute("p"));
    }
    EXPECT_EQ("", kit::LastMessage());
    for (const DWORD answer : {32, 31, 2, 0}) {
        answer_ = static_cast<INT_PTR>(answer);
        EXPECT_EQ(answer, TARVO_ShellExecute("\"p\" x"));
        EXPECT_EQ("ShellExecute [\"p\" x] failed with code [" + std::to_string(answer) + "]", kit::LastMessage());
    }
}

const kit::ChildRole signaller("sign", [](const std::string& argument) { kit::WriteFile(argument, "here"); });

TEST_F(ShellExecution, ReallyStartsTheProgram)
{
    AllowOpenHandles(); // the shell keeps some from its first use on
    shell_->PassThrough();
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string sign = Scratch().Path("si gn");
    EXPECT_EQ(0U, TARVO_ShellExecute(("\"" + std::string(program) + "\" --child sign \"" + sign + "\"").c_str()));
    for (int wait = 0; wait < 300 && !kit::FileExists(sign); ++wait)
        Sleep(100);
    EXPECT_TRUE(kit::FileExists(sign));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, TARVO_ShellExecute(Scratch().Path("missing.exe").c_str()));
}

using DllFunctions = kit::LibraryTest;

constexpr char kUnusual[] = "lz32.dll"; // nothing in this process uses it

const std::string kFound = "Found. Returning TRUE.";
const std::string kLacking = "GetProcAddress failed. Returning FALSE.";
const std::string kLoading = "DLL isn't loaded. Loading...";

const struct FunctionRow {
    const char* fact;
    const char* library;
    const char* function;
    BOOL exists;
    Texts lines; // behind that of the arguments
} kFunctions[] = {
    {"a loaded library has it", "kernel32.dll", "GetTickCount", TRUE, {kFound}},
    {"the extension is optional", "kernel32", "GetTickCount", TRUE, {kFound}},
    {"letter case matters", "kernel32.dll", "gettickcount", FALSE, {kLacking}},
    {"a library is loaded for it", kUnusual, "LZCopy", TRUE, {kLoading, kFound}},
    {"a library is loaded in vain", kUnusual, "NoSuch", FALSE, {kLoading, kLacking}},
    {"no such library", "no-such-library.dll", "LZCopy", FALSE, {kLoading, "Loading failed. Returning FALSE."}},
};

TEST_F(DllFunctions, AnswersAndUnloads)
{
    for (const FunctionRow& row : kFunctions) {
        SCOPED_TRACE(row.fact);
        const HMODULE before = GetModuleHandleA(row.library);
        const kit::TraceLog log(Scratch().Path("trace.log"));
        EXPECT_EQ(row.exists, TARVO_DllFunctionExist(row.library, row.function));
        Texts lines = {"{ TARVO_DllFunctionExist",
                       "DLL: [" + std::string(row.library) + "], function: [" + row.function + "]",
                       "Function TARVO_DllFunctionExist OK."};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        lines.emplace_back("} TARVO_DllFunctionExist");
        EXPECT_EQ(lines, log.Messages());
        EXPECT_EQ(before, GetModuleHandleA(row.library));
    }
    EXPECT_EQ(nullptr, GetModuleHandleA(kUnusual)); // or the rows about loading show nothing
}

} // namespace
