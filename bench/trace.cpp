// What the trace costs, written and not started.

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

// Many short runs rather than a few of 100,000: other programs then seldom come between.
constexpr int kRuns = 100;
constexpr int kLines = 1000;
constexpr int kCalls = 1000;
constexpr int kLinesOfCall = 4; // of TARVO_GetTarvoDllInstance

std::string ReadWhole(const std::string& path)
{
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    Require(file != INVALID_HANDLE_VALUE, "opening the trace log");
    std::string text(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    CloseHandle(file);
    text.resize(read);
    return text;
}

/** The lines of a log's last call, as they lie in the file. */
std::vector<std::string> LastCall(const std::string& log)
{
    std::vector<std::string> lines;
    size_t end = log.size();
    while (lines.size() < kLinesOfCall) {
        Require(end > 1, "finding the lines of a call in the trace log");
        const size_t before = log.rfind('\n', end - 2);
        const size_t begin = before == std::string::npos ? 0 : before + 1;
        lines.insert(lines.begin(), log.substr(begin, end - begin));
        end = begin;
    }
    return lines;
}

/** A file that plain calls write to. */
class PlainFile {
public:
    explicit PlainFile(const std::string& path)
        : file_(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, CREATE_ALWAYS, 0, nullptr))
    {
        Require(file_ != INVALID_HANDLE_VALUE, "creating a file");
    }
    ~PlainFile() { CloseHandle(file_); }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    void Write(const std::string& text)
    {
        DWORD written = 0;
        Require(WriteFile(file_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr), "WriteFile");
    }

private:
    HANDLE file_;
};

void CompareWriting(Report& report)
{
    const ScratchFolder folder; // outlives the library, which holds the log open until it is unloaded
    const Library library;
    const std::string log = folder.Path("trace.log");
    const std::string aside = folder.Path("aside.log");
    std::vector<std::string> lines;
    const auto startEmpty = [&] {
        library.StartDebugLoggingRunTime(aside.c_str(), 1); // the open log would be left as it is
        library.StartDebugLoggingRunTime(log.c_str(), 1);
    };
    const auto trace = [&] {
        for (int line = 0; line < kLines; line += kLinesOfCall)
            library.GetTarvoDllInstance();
    };
    const auto check = [&] {
        const std::string text = ReadWhole(log);
        Require(std::count(text.begin(), text.end(), '\n') >= kLines, "finding all lines in the trace log");
        lines = LastCall(text);
    };
    std::optional<PlainFile> file;
    const auto create = [&] { file.emplace(folder.Path("plain.log")); };
    const auto write = [&] {
        for (int line = 0; line < kLines; line += kLinesOfCall) {
            for (const std::string& text : lines)
                file->Write(text);
        }
    };
    report.Compare("100 x 1000 trace lines through an export", "one WriteFile of the same line each", 1.5,
                   {trace, startEmpty, check}, {write, create}, kRuns);
}

/** What TARVO_GetTarvoDllInstance does when its scope is taken away. */
[[gnu::noinline]] HINSTANCE __cdecl GetInstanceWithoutScope()
{
    static HINSTANCE instance = GetModuleHandleA(nullptr);
    return instance;
}

[[gnu::noinline]] void CallMany(decltype(&TARVO_GetTarvoDllInstance) function)
{
    for (int call = 0; call < kCalls; ++call)
        function();
}

void MeasureIdleScope(Report& report)
{
    constexpr double kMicrosecondsEach = 0.5;
    const Library library;
    const Medians medians =
        Measure({[&] { CallMany(library.GetTarvoDllInstance); }}, {[&] { CallMany(GetInstanceWithoutScope); }}, kRuns);
    const auto each = [](double milliseconds) { return milliseconds * 1000 / kCalls; };
    report.Add({"100 x 1000 calls of a small export, tracing not started", "the same function without scope",
                Format("%.3f us", each(medians.library)), Format("%.3f us", each(medians.plain)),
                Format("%.1f", medians.Ratio()), Format("%.1f us each", kMicrosecondsEach),
                each(medians.library) <= kMicrosecondsEach});
}

} // namespace

void MeasureTrace(Report& report)
{
    CompareWriting(report);
    MeasureIdleScope(report);
}

} // namespace bench
