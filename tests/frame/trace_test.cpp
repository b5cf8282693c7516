// Lines of the log: their text, their bounds, and how they reach the file.

#include "kit/kit.h"

#include <algorithm>

namespace {

using Trace = kit::LibraryTest;

const kit::ChildRole tracer("trace-and-wait", [](const std::string& log) {
    const kit::Library library;
    TARVO_StartDebugLoggingRunTime(log.c_str(), 1);
    TARVO_GetString(1, nullptr, 0);
    kit::ChildIsReady();
    Sleep(60000);
});

TEST_F(Trace, ScopesTellTheirResult)
{
    const kit::TraceLog log(Scratch().Path("log"));
    char instance[64] = {};
    sprintf(instance, "1 DLL instance of TARVO.DLL is [%x]", reinterpret_cast<unsigned>(TARVO_GetTarvoDllInstance()));
    EXPECT_EQ(DWORD(-2), TARVO_CloseRollBackLog());
    const std::vector<std::string> expected = {"1 { TARVO_GetTarvoDllInstance",
                                               instance,
                                               "1 Function TARVO_GetTarvoDllInstance OK.",
                                               "1 } TARVO_GetTarvoDllInstance",
                                               "1 { TARVO_CloseRollBackLog",
                                               "3 Function TARVO_CloseRollBackLog error: [-2] (Rollback is not opened)",
                                               "1 } TARVO_CloseRollBackLog"};
    EXPECT_EQ(expected, log.Graded());
}

TEST_F(Trace, NestedCallsAreIndentedByThreeAndComeBack)
{
    const std::string file = Scratch().Make("locked");
    const kit::FileLock lock(file);
    const kit::TraceLog log(Scratch().Path("log"));
    EXPECT_EQ(0U, TARVO_DeleteFileEx(file.c_str(), nullptr));
    size_t depth = 0;
    size_t deepest = 0;
    for (const std::string& line : log.Indented()) {
        const size_t indentation = line.find_first_not_of(' ');
        ASSERT_NE(std::string::npos, indentation);
        depth -= line[indentation] == '}' ? 3 : 0;
        EXPECT_EQ(depth, indentation) << line;
        depth += line[indentation] == '{' ? 3 : 0;
        deepest = std::max(deepest, depth);
    }
    EXPECT_EQ(0U, depth);
    EXPECT_LE(9U, deepest); // deletion, deferred deletion, deferred rename
}

TEST_F(Trace, ArgumentsAreNoFormats)
{
    const kit::TraceLog log(Scratch().Path("log"));
    TARVO_CreateDirectory("%n%n%s%s%1000000d%x");
    EXPECT_EQ(1U, log.Count("Called with [%n%n%s%s%1000000d%x]."));
}

TEST_F(Trace, MessageOfAMegabyteIsCut)
{
    const kit::TraceLog log(Scratch().Path("log"));
    const std::string path(1000000, 'x');
    TARVO_CreateDirectory(path.c_str());
    const auto lines = log.Indented();
    const std::string head = "   Called with [";
    const auto cut = std::find_if(lines.begin(), lines.end(), [&](auto& line) { return line.starts_with(head); });
    ASSERT_NE(lines.end(), cut);
    // 1023 bytes of message; with its line end gone, the next line goes on behind it.
    const size_t kept = 1023 - (head.size() - 3);
    EXPECT_EQ(head + std::string(kept, 'x'), cut->substr(0, head.size() + kept));
    EXPECT_TRUE(isdigit(cut->at(head.size() + kept))) << cut->substr(head.size() + kept);
}

TEST_F(Trace, EachLineIsOneWrite)
{
    const kit::TraceLog log(Scratch().Path("log"));
    std::vector<std::string> written;
    kit::ImportHook write("WriteFile", &WriteFile);
    write.Answer([&](HANDLE file, const void* data, DWORD size, DWORD* done, OVERLAPPED* overlapped) {
        written.emplace_back(static_cast<const char*>(data), size);
        return write.Original()(file, data, size, done, overlapped);
    });
    TARVO_SetLanguage();
    ASSERT_EQ(3U, written.size());
    for (const std::string& line : written)
        EXPECT_EQ(line.size() - 2, line.find("\r\n")) << line;
}

TEST_F(Trace, IsCompleteWhenTheProcessIsKilled)
{
    AllowOpenHandles(); // the system keeps one from the first process made
    const std::string log = Scratch().Path("log");
    kit::ChildProcess child("trace-and-wait", log);
    child.Kill();
    EXPECT_TRUE(kit::ReadFile(log).ends_with("} TARVO_GetString\r\n")) << kit::ReadFile(log);
}

TEST_F(Trace, OthersMayWriteAndDeleteTheLog)
{
    const kit::TraceLog log(Scratch().Path("log"));
    const HANDLE other =
        CreateFileA(log.Path().c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, other) << GetLastError();
    CloseHandle(other);
    TARVO_SetLanguage(); // goes into a file without a name
}

TEST_F(Trace, NothingIsFormattedWithoutALog)
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

TEST_F(Trace, TheLastErrorStays)
{
    const kit::TraceLog log(Scratch().Path("log"));
    kit::ImportHook write("WriteFile", &WriteFile);
    write.FailAll(ERROR_DISK_FULL, FALSE);
    SetLastError(1234);
    TARVO_GetTarvoDllInstance();
    EXPECT_EQ(1234U, GetLastError());
    EXPECT_EQ(4, write.Calls());
}

TEST_F(Trace, WithoutMemoryTheLogGoesOn)
{
    const kit::TraceLog log(Scratch().Path("log"));
    WithEachAllocationFailing([&] { EXPECT_EQ(1U, TARVO_SetLanguage()); });
    EXPECT_LE(1U, log.Count("{ TARVO_SetLanguage"));
}

} // namespace
