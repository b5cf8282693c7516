#include "kit/behavior.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <regex>
#include <stdexcept>

#include "kit/trace_log.h"
#include "tarvo/tarvo.h"

namespace kit {
namespace {

constexpr char kFolder[] = "C:\\tarvo-record";
constexpr char kUninstallLog[] = "C:\\tarvo-record.ini";
constexpr char kKey[] = "Software\\TarvoTests\\record";
constexpr int kNoLog = -1;
constexpr int kAllDetails = 255;

std::string ConfigPath()
{
    return ProgramFolder() + "\\TARVO.cfg";
}

std::string LogPath()
{
    char windows[MAX_PATH] = {};
    GetWindowsDirectoryA(windows, sizeof windows);
    return std::string(windows) + "\\TARVO.log";
}

std::string RecordPath(const std::string& name)
{
    return ProgramFolder() + "\\..\\..\\..\\tests\\" + name + ".record";
}

bool IsOnStack(DWORD number)
{
    MEMORY_BASIC_INFORMATION here = {};
    MEMORY_BASIC_INFORMATION there = {};
    VirtualQuery(&here, &here, sizeof here);
    VirtualQuery(reinterpret_cast<void*>(number), &there, sizeof there);
    return there.State == MEM_COMMIT && there.AllocationBase == here.AllocationBase;
}

bool IsAddress(DWORD number)
{
    HMODULE module = nullptr;
    return GuardedHeap::Owns(reinterpret_cast<void*>(number)) || IsOnStack(number) ||
           GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<char*>(number), &module);
}

/** Small numbers and masks of the highest byte are no addresses, whatever may lie there. */
bool IsMask(unsigned long long number)
{
    return number <= 0xFFFF || number > MAXDWORD || (number & 0xFFFFFF) == 0;
}

std::string Join(const std::vector<std::string>& texts, const char* between)
{
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : between) + text;
    return joined;
}

/** Puts "allocations 3 to 5" for "allocation 3", "allocation 4", "allocation 5". */
std::vector<std::string> WithRanges(const std::vector<std::string>& names)
{
    constexpr std::string_view kWord = "allocation ";
    std::vector<std::string> shown;
    for (size_t index = 0; index < names.size(); ++index) {
        size_t last = index;
        const auto number = [&](size_t at) { return std::stoi(names[at].substr(kWord.size())); };
        while (names[index].starts_with(kWord) && last + 1 < names.size() && number(last + 1) == number(last) + 1)
            ++last;
        shown.push_back(last == index ? names[index]
                                      : "allocations " + names[index].substr(kWord.size()) + " to " +
                                            names[last].substr(kWord.size()));
        index = last;
    }
    return shown;
}

/** What was recorded for uninstalling: "[Files] item=1", an entry after the other. */
std::string Recorded()
{
    std::string section;
    std::vector<std::string> entries;
    for (const std::string& line : SplitLines(FileExists(kUninstallLog) ? ReadFile(kUninstallLog) : "")) {
        if (line.starts_with("["))
            section = line;
        else
            entries.push_back(section + " " + line);
    }
    return Join(entries, "; ");
}

std::string ShowFile(const std::string& path)
try {
    return Quoted(ReadFile(path));
} catch (const std::exception&) {
    return "locked";
}

/** Adds all that is below a folder, as "name "content"" and "name\", in the order of names. */
void ListFolder(const std::string& folder, const std::string& below, std::vector<std::string>& list)
{
    std::map<std::string, DWORD> names;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folder + "\\" + below + "*").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileA(search, &found)) {
        if (strcmp(found.cFileName, ".") != 0 && strcmp(found.cFileName, "..") != 0)
            names[below + found.cFileName] = found.dwFileAttributes;
    }
    FindClose(search);
    for (const auto& [name, attributes] : names) {
        const char* const readOnly = attributes & FILE_ATTRIBUTE_READONLY ? " (read-only)" : "";
        if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
            list.push_back(name + "\\" + readOnly);
            ListFolder(folder, name + "\\", list);
        } else {
            list.push_back(name + readOnly + " " + ShowFile(folder + "\\" + name));
        }
    }
}

void ClearTheStage()
{
    RemoveTree(kFolder);
    DeleteFileA(kUninstallLog);
    for (const View view : {View::kOwn, View::k64})
        RemoveKeyTree(kKey, view);
    PendingValue::Remove();
}

/** A line of a record: one of the log, or a call. */
struct Line {
    char severity; // 0 for a call
    int detail;
    size_t indentation;
    std::string text;
    const PlatformCall* call;
};
using Lines = std::vector<Line>;

/** A folded block shows the first line in it that was wanted. */
std::string_view WithoutFirstLine(std::string_view line)
{
    if (!line.starts_with("{ TARVO_") || !line.ends_with(" }"))
        return line;
    return line.substr(0, std::min(line.find(':'), line.size() - 2)); // it may be without one
}

/** @return for each line of whole, whether it is in part, a part of it in the same order: the longest that fits. */
std::vector<bool> FindIn(const Lines& whole, const Lines& part)
{
    const auto same = [](const Line& left, const Line& right) {
        return left.severity == right.severity && left.severity && left.indentation == right.indentation &&
               WithoutFirstLine(left.text) == WithoutFirstLine(right.text);
    };
    std::vector longest(whole.size() + 1, std::vector<size_t>(part.size() + 1));
    for (size_t i = whole.size(); i-- > 0;) {
        for (size_t j = part.size(); j-- > 0;)
            longest[i][j] =
                same(whole[i], part[j]) ? longest[i + 1][j + 1] + 1 : std::max(longest[i + 1][j], longest[i][j + 1]);
    }
    std::vector<bool> found(whole.size());
    for (size_t i = 0, j = 0; i < whole.size() && j < part.size();) {
        if (same(whole[i], part[j]) && longest[i][j] == longest[i + 1][j + 1] + 1)
            found[i++] = ++j;
        else
            ++(longest[i + 1][j] >= longest[i][j + 1] ? i : j);
    }
    return found;
}

/** A closing line says nothing new where it stands right. */
std::vector<bool> ClosingLines(const Lines& lines)
{
    std::vector<bool> closing(lines.size());
    std::vector<size_t> open;
    for (size_t index = 0; index < lines.size(); ++index) {
        const Line& line = lines[index];
        if (line.severity && line.text.starts_with("{ ") && !line.text.ends_with(" }"))
            open.push_back(index);
        if (!line.severity || !line.text.starts_with("} ") || open.empty())
            continue;
        const Line& opening = lines[open.back()];
        closing[index] = opening.text.substr(2) == line.text.substr(2) && opening.severity == line.severity &&
                         opening.detail == line.detail && opening.indentation == line.indentation;
        open.pop_back();
    }
    return closing;
}

std::string Written(const Line& line)
{
    const std::string indentation(line.indentation, ' ');
    if (!line.severity)
        return "   " + indentation + "> " + line.text + "\n";
    return line.severity + std::to_string(line.detail) + " " + indentation + line.text + "\n";
}

std::vector<std::string> CallsOf(const Lines& lines)
{
    std::vector<std::string> calls;
    for (const Line& line : lines)
        calls.insert(calls.end(), !line.severity, line.text);
    return calls;
}

} // namespace

std::string OutPlace::Show() const
{
    const auto filled = [](BYTE byte) { return byte == kFill; };
    if (!std::all_of(bytes_.end() - kBehind, bytes_.end(), filled))
        return label_ + ": written behind its end";
    if (std::all_of(bytes_.begin(), bytes_.end(), filled))
        return label_ + ": untouched";
    if (!size_) {
        int number = 0;
        memcpy(&number, bytes_.data(), sizeof number);
        return label_ + ": " + std::to_string(number);
    }
    std::string_view text(reinterpret_cast<const char*>(bytes_.data()), size_);
    text = text.substr(0, text.find_last_not_of(static_cast<char>(kFill)) + 1);
    // The zero that ends it is left out; zeros behind that are the platform's.
    return label_ + ": " + Quoted(text.substr(0, std::min(text.find_last_not_of('\0') + 1, text.size())));
}

Stage::Stage(Recorder& recorder, HMODULE library, std::function<void()> beforeCall)
    : recorder_(recorder), library_(library), beforeCall_(std::move(beforeCall))
{
    char path[MAX_PATH] = {};
    GetTempPathA(sizeof path, path);
    HideText(ProgramFolder(), "<program>");
    HideText(std::string(path).substr(0, strlen(path) - 1), "<temp>");
    GetEnvironmentVariableA("USERPROFILE", path, sizeof path);
    HideText(path, "<user>");
}

std::string Stage::Folder(const std::string& name)
{
    CreateDirectoryA(kFolder, nullptr);
    return name.empty() ? kFolder : std::string(kFolder) + "\\" + name;
}

std::string Stage::File(const std::string& name, std::string_view content)
{
    WriteFile(Folder(name), content);
    return Folder(name);
}

std::string Stage::Key(const std::string& sub)
{
    return sub.empty() ? kKey : std::string(kKey) + "\\" + sub;
}

OutPlace& Stage::Text(const char* label, size_t size, const char* content)
{
    OutPlace& place = outs_.emplace_back(label, size);
    Hide(reinterpret_cast<DWORD>(place.Bytes()), std::string("<") + label + ">");
    if (content)
        memcpy(place.Bytes(), content, strlen(content) + 1);
    return place;
}

std::string Stage::ShowNumber(long long number)
{
    char text[32];
    snprintf(text, sizeof text, number > 0xFFFF ? "0x%llX" : "%lld", number);
    return text;
}

void Stage::Tell(const std::string& label, const std::vector<std::string>& facts)
{
    Tell(label, Join(facts, "; "));
}

void Stage::TellValue(const std::string& key, const std::string& name, View view)
{
    const auto value = ReadValue(key, name, view);
    const std::string where = key + (view == View::k64 ? "\\\\(64) " : "\\\\") + name;
    if (!value)
        return Tell(where, KeyExists(key, view) ? "none" : "no key");
    DWORD number = 0;
    if (value->type == REG_DWORD && value->bytes.size() == sizeof number) {
        memcpy(&number, value->bytes.data(), sizeof number);
        return Tell(where, "dword " + ShowNumber(number));
    }
    Tell(where, "type " + std::to_string(value->type) + " " + Quoted(value->bytes));
}

void Stage::TellFolder()
{
    std::vector<std::string> list;
    ListFolder(kFolder, "", list);
    Tell("folder", list);
}

void Stage::TellPending()
{
    std::vector<std::string> pairs;
    for (const auto& [source, target] : PendingValue::Read())
        pairs.push_back(source + " > " + (target.empty() ? "deleted" : target));
    Tell("pending", pairs.empty() ? (PendingValue::ReadRaw() ? "empty" : "none") : Join(pairs, "; "));
}

/** A number stands alone in brackets or an argument list, or behind "0x". */
std::string Stage::HideNumbers(const std::string& text) const
{
    static const std::regex number(R"((\[|\(|,|0x)([0-9A-Fa-f]{4,10})(?=[\]),-]|$))");
    std::string result;
    size_t done = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), number); match != std::sregex_iterator(); ++match) {
        const bool hexOnly = (*match)[1] == "0x";
        for (const int base : hexOnly ? std::vector<int>{16} : std::vector<int>{16, 10}) {
            const std::string name = NameOf(strtoull((*match)[2].str().c_str(), nullptr, base));
            if (name.empty())
                continue;
            const auto begin = static_cast<size_t>(match->position(hexOnly ? 0 : 2));
            result += text.substr(done, begin - done) + name;
            done = static_cast<size_t>(match->position() + match->length());
            break;
        }
    }
    return result + text.substr(done);
}

/** @return what a number is called that differs from run to run; "" for any other */
std::string Stage::NameOf(unsigned long long number) const
{
    const auto named = hidden_.find(static_cast<DWORD>(number));
    if (number > MAXDWORD || named == hidden_.end())
        return IsMask(number) || !IsAddress(static_cast<DWORD>(number)) ? "" : "<address>";
    return named->second;
}

std::string Stage::Stable(std::string text) const
{
    text = HideNumbers(text);
    for (const auto& [what, name] : hiddenTexts_) {
        for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + name.size()))
            text.replace(at, what.size(), name);
    }
    // "error: [code] (the system's text)" and results.
    for (size_t at = text.find("error: ["); at != std::string::npos; at = text.find("error: [", at + 1)) {
        const auto code = static_cast<DWORD>(strtol(text.c_str() + at + 8, nullptr, 10));
        const size_t open = text.find("] (", at) + 3;
        for (const bool isOneLine : {true, false}) {
            std::string form = (isOneLine ? SystemText(code) : SystemText(code, 0)) + ")";
            std::erase(form, '\r');
            if (code && text.compare(open, form.size(), form) == 0)
                text.replace(open, form.size(), isOneLine ? "<text>)" : "<text, line end>)");
        }
    }
    return text;
}

void Stage::Begin(const void* function, const std::string& arguments)
{
    if (beforeCall_)
        beforeCall_();
    notes_.push_back({recorder_.Events().size(), Stable(Library::NameOf(function) + "(" + arguments + ")"), false});
    beforeCall_ = nullptr;
    if (!brief_)
        recorder_.Start(library_);
}

std::string Stage::ErrorText(DWORD code) const
{
    const std::string text = LastMessage();
    return text.empty()                  ? ""
           : text == SystemText(code)    ? " <text>"
           : text == SystemText(code, 0) ? " <text, line end>"
                                         : " (" + text + ")";
}

void Stage::End(const char* kind, const DWORD* result)
{
    recorder_.Stop();
    std::string line;
    if (result && strcmp(kind, "code") == 0)
        line = "= " + std::to_string(static_cast<long>(*result)) + (*result ? ErrorText(*result) : "");
    else if (result)
        line = "returns " + ShowNumber(*result);
    for (const OutPlace* place : given_)
        line += (line.empty() ? "" : ", ") + place->Show();
    given_.clear();
    if (brief_)
        notes_.back() = {notes_.back().event, notes_.back().text + Stable(" " + line), true};
    else if (!line.empty())
        Add(line);
}

struct BehaviorTest::Outcome {
    Lines lines;
    std::vector<Stage::Note> notes;
    std::string recorded;
    std::string open;
    bool happened; // the failure that was asked for

    /** Results of calls and facts told. */
    std::vector<std::string> Results() const
    {
        std::vector<std::string> results;
        for (const Stage::Note& note : notes)
            results.insert(results.end(), note.isResult, note.text);
        return results;
    }
};

void BehaviorTest::SetUp()
{
    LibraryTest::SetUp();
    AllowOpenHandles(); // what stays open stands in the record
}

void BehaviorTest::Open(const std::string& name)
{
    name_ = name;
    if (!FileExists(RecordPath(name)))
        return;
    std::string title;
    for (const std::string& line : SplitLines(ReadFile(RecordPath(name)))) {
        if (line.starts_with("## "))
            title = line.substr(3);
        else if (!title.empty())
            expected_[title] += line + "\n";
    }
}

void BehaviorTest::Case(const std::string& title, const Ways& ways, const Body& body)
{
    const std::string found = Describe(body, ways);
    seen_.emplace_back(title, found);
    if (getenv("TARVO_WRITE_RECORDS"))
        return;
    std::string expected = expected_[title];
    while (expected.ends_with("\n\n"))
        expected.pop_back();
    EXPECT_EQ(expected, found) << name_ << ": " << title;
}

void BehaviorTest::TearDown()
{
    DeleteFileA(ConfigPath().c_str());
    LibraryTest::TearDown();
    DeleteFileA(LogPath().c_str());
    ClearTheStage();
    if (getenv("TARVO_WRITE_RECORDS") && !HasFailure()) {
        std::string file;
        for (const auto& [title, text] : seen_)
            file += (file.empty() ? "## " : "\n## ") + title + "\n" + text;
        WriteFile(RecordPath(name_), file);
        return;
    }
    for (const auto& [title, text] : seen_)
        expected_.erase(title);
    for (const auto& [title, text] : expected_)
        ADD_FAILURE() << name_ << ": no test shows the case: " << title;
}

BehaviorTest::Outcome BehaviorTest::Run(const Body& body, const Ways& ways, int threshold, int failingCall,
                                        unsigned failingAllocation)
{
    Reload();
    ClearTheStage();
    DeleteFileA(LogPath().c_str());
    if (ways.ownLog) {
        DeleteFileA(ConfigPath().c_str());
    } else if (threshold != kNoLog) {
        WriteFile(ConfigPath(), "tl=" + std::to_string(threshold) + "\n");
        TARVO_StartDebugLogging2();
    }
    if (ways.records)
        TARVO_StartUninstallLogging(kUninstallLog, nullptr);

    Recorder recorder(ways.ownLog ? "" : LogPath());
    recorder.FailCall(failingCall, ways.code);
    recorder.sleeps = ways.sleeps;
    recorder.unfolded = ways.unfolded;
    Stage stage(recorder, HookedModule(), [&] { Heap().FailAllocation(failingAllocation); });
    body(stage);

    const bool happened = failingAllocation ? Heap().FailureHappened() : recorder.FailureHappened();
    Heap().FailAllocation(0);
    Outcome outcome = {{}, stage.Notes(), Recorded(), recorder.Names().Open(), happened};
    for (const Recorder::Event& event : recorder.Events())
        outcome.lines.push_back({event.severity, kAllDetails, event.indentation, stage.Stable(event.text), event.call});
    return outcome;
}

void BehaviorTest::FindDetails(const Body& body, const Ways& ways, Outcome& outcome, int call, unsigned allocation)
{
    if (ways.ownLog)
        return; // the recorder takes no lines
    for (auto& line : outcome.lines)
        line.detail = 3;
    for (const int threshold : {2, 1, 0}) {
        const Outcome less = Run(body, ways, threshold, call, allocation);
        const std::vector<bool> found = FindIn(outcome.lines, less.lines);
        for (size_t index = 0; index < found.size(); ++index)
            outcome.lines[index].detail = found[index] ? threshold : outcome.lines[index].detail;
    }
}

std::string BehaviorTest::Describe(const Body& body, const Ways& ways)
{
    Outcome whole = Run(body, ways, kAllDetails, -1, 0);
    FindDetails(body, ways, whole, -1, 0);
    std::string text;
    const std::vector<bool> closing = ClosingLines(whole.lines);
    for (size_t index = 0, note = 0; index <= whole.lines.size(); ++index) {
        for (; note < whole.notes.size() && whole.notes[note].event == index; ++note)
            text += whole.notes[note].text + "\n";
        if (index < whole.lines.size() && !closing[index])
            text += Written(whole.lines[index]);
    }
    if (!whole.recorded.empty())
        text += "recorded: " + whole.recorded + "\n";
    if (!whole.open.empty())
        text += "stays open:" + whole.open + "\n";

    return text + DescribeSilence(body, ways, whole) + DescribeFailures(body, ways, whole);
}

/** Without a log there are no lines that tell where an export within begins: all of it is compared. */
std::string BehaviorTest::DescribeSilence(const Body& body, Ways ways, const Outcome& whole)
{
    std::string text;
    if (ways.ownLog)
        return text;
    const Outcome silent = Run(body, ways, kNoLog, -1, 0);
    if (silent.Results() != whole.Results() || silent.recorded != whole.recorded)
        text += "without a log: " + Join(silent.Results(), " | ") + " | recorded: " + silent.recorded + "\n";
    if (!ways.silentCalls)
        return text;
    ways.unfolded = true;
    if (CallsOf(silent.lines) != CallsOf(Run(body, ways, kAllDetails, -1, 0).lines))
        text += "calls without a log:\n   > " + Join(CallsOf(silent.lines), "\n   > ") + "\n";
    return text;
}

std::string BehaviorTest::DescribeFailures(const Body& body, const Ways& ways, const Outcome& whole)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> rows; // what comes of it, and of which calls
    const auto add = [&](const std::string& outcome, const std::string& who) {
        for (auto& [known, calls] : rows) {
            if (known == outcome)
                return calls.push_back(who);
        }
        rows.push_back({outcome, {who}});
    };
    bool happened = true;
    std::map<std::string, int> counts;
    int number = 0;
    for (const Line& line : whole.lines) {
        if (!ways.failures || line.severity)
            continue;
        const int nth = ++counts[line.call->name];
        const int call = number++;
        if (!std::string_view(line.call->result).ends_with('!'))
            add(DescribeFailure(body, ways, whole, call, 0, happened),
                line.call->name + (nth > 1 ? " " + std::to_string(nth) : std::string()));
    }
    happened = ways.allocations;
    for (unsigned n = 1; happened && n < 100; ++n) {
        const std::string outcome = DescribeFailure(body, ways, whole, -1, n, happened);
        if (happened)
            add(outcome, "allocation " + std::to_string(n));
    }
    std::string text;
    for (const auto& [outcome, calls] : rows)
        text += "! " + Join(WithRanges(calls), ", ") + ": " + outcome + "\n";
    return text;
}

std::string BehaviorTest::DescribeFailure(const Body& body, const Ways& ways, const Outcome& whole, int call,
                                          unsigned allocation, bool& happened)
{
    Outcome outcome = Run(body, ways, kAllDetails, call, allocation);
    happened = outcome.happened;
    if (!happened)
        return "not reached";
    const std::vector<bool> known = FindIn(outcome.lines, whole.lines);
    std::vector<size_t> fresh;
    for (size_t index = 0; index < known.size(); ++index) {
        const Line& line = outcome.lines[index];
        if ((line.severity == 'E' || line.severity == 'W') && !known[index] &&
            !(line.text.starts_with("Function ") && line.indentation <= 3))
            fresh.push_back(index);
    }
    if (!fresh.empty())
        FindDetails(body, ways, outcome, call, allocation);

    std::vector<std::string> parts;
    const std::vector<std::string> usual = whole.Results();
    for (const std::string& line : outcome.Results()) {
        if (line.starts_with("= ") || std::find(usual.begin(), usual.end(), line) == usual.end())
            parts.push_back(line);
    }
    if (!outcome.recorded.empty())
        parts.push_back("recorded " + (outcome.recorded == whole.recorded ? "as ever" : outcome.recorded));
    if (!outcome.open.empty())
        parts.push_back("open" + outcome.open);
    for (const size_t index : fresh) {
        const Line& line = outcome.lines[index];
        parts.push_back(line.severity + std::to_string(line.detail) + " " + line.text);
    }
    return Join(parts, " | ");
}

} // namespace kit
