// Starting programs through the shell itself.

#include "kit/kit.h"

namespace {

using ShellExecution = kit::LibraryTest;

const kit::ChildRole signaller("sign", [](const std::string& argument) { kit::WriteFile(argument, "here"); });

TEST_F(ShellExecution, ReallyStartsTheProgram)
{
    AllowOpenHandles(); // the shell keeps some from its first use on
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    const std::string sign = Scratch().Path("si gn");
    EXPECT_EQ(0U, TARVO_ShellExecute(("\"" + std::string(program) + "\" --child sign \"" + sign + "\"").c_str()));
    for (int wait = 0; wait < 300 && !kit::FileExists(sign); ++wait)
        Sleep(100);
    EXPECT_TRUE(kit::FileExists(sign));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, TARVO_ShellExecute(Scratch().Path("missing.exe").c_str()));
}

} // namespace
