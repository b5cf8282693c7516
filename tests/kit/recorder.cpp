#include "kit/recorder.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <sstream>

extern "C" {
/** The entries of recorder_entries.s, 16 bytes each. */
extern char KitEntries[];
DWORD KitCall(void* function, const DWORD* arguments, DWORD count);
uint64_t KitDispatch(DWORD row, DWORD* arguments);
}

namespace kit {
namespace {

constexpr size_t kEntrySize = 16;
constexpr size_t kIndentationStep = 3;

/** A row of the table taken apart, and where the function itself is. */
struct Row {
    std::vector<std::string> words;
    std::string result;
    bool failable;
    void* original = nullptr;
};

std::vector<Row> TakeRowsApart()
{
    std::vector<Row> rows;
    for (const PlatformCall& call : PlatformCalls()) {
        std::istringstream words(call.arguments);
        const std::string result = call.result;
        rows.push_back({{std::istream_iterator<std::string>(words), {}},
                        result.substr(0, result.find('!')),
                        !result.ends_with('!')});
    }
    return rows;
}

std::vector<Row> rows = TakeRowsApart();
Recorder* listening = nullptr;

void* Entry(size_t row)
{
    return KitEntries + row * kEntrySize;
}

size_t RowOf(const std::string& name)
{
    const auto calls = PlatformCalls();
    return static_cast<size_t>(std::ranges::find(calls, name, &PlatformCall::name) - calls.begin());
}

bool Is(size_t row, std::string_view name)
{
    return PlatformCalls()[row].name == name;
}

/** Stands in for a COM object: its methods are recorded and handed on. */
struct Proxy {
    void** methods;
    IUnknown* object;
};

[[noreturn]] void WINAPI UnknownMethod()
{
    fputs("recorder: a COM method that the table does not have\n", stderr);
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    __builtin_trap();
}

void** MethodsOf(const std::string& type)
{
    static std::map<std::string, std::vector<void*>> tables;
    std::vector<void*>& table = tables[type];
    if (table.empty()) {
        table.assign(32, reinterpret_cast<void*>(&UnknownMethod));
        for (size_t row = 0; row < rows.size(); ++row) {
            const PlatformCall& call = PlatformCalls()[row];
            if (std::string_view(call.name).starts_with(type + "::"))
                table[static_cast<size_t>(call.method)] = Entry(row);
        }
    }
    return table.data();
}

/** Puts a proxy in the place of an object that a call has handed out. */
void Wrap(DWORD place, const std::string& type)
{
    auto* object = reinterpret_cast<IUnknown**>(place);
    *object = reinterpret_cast<IUnknown*>(new Proxy{MethodsOf(type), *object}); // freed by its last Release
}

bool Succeeded(const std::string& kind, DWORD result)
{
    return kind == "code"         ? result == ERROR_SUCCESS
           : kind == "hresult"    ? SUCCEEDED(static_cast<HRESULT>(result))
           : kind == "shell"      ? result > 32
           : kind == "attributes" ? result != INVALID_FILE_ATTRIBUTES
                                  : result && (!kind.starts_with("h:") || result != ~0U);
}

DWORD FailureOf(const std::string& kind, DWORD code)
{
    const bool invalid = kind == "attributes" || kind == "h:file" || kind == "h:search";
    return kind == "code"      ? code
           : kind == "hresult" ? static_cast<DWORD>(E_FAIL)
           : kind == "shell"   ? DWORD{SE_ERR_ACCESSDENIED}
           : invalid           ? ~0U
                               : 0;
}

std::string ResultText(const std::string& kind, DWORD result, DWORD lastError)
{
    char text[32] = {};
    if (kind == "attributes" && Succeeded(kind, result))
        snprintf(text, sizeof text, " -> 0x%lX", result);
    else if (kind == "hresult" && !Succeeded(kind, result))
        snprintf(text, sizeof text, " ! 0x%lX", result);
    else if (!Succeeded(kind, result))
        snprintf(text, sizeof text, " ! %lu", kind == "code" || kind == "shell" ? result : lastError);
    return text;
}

} // namespace

void Recorder::Start(HMODULE module)
{
    listening = this;
    for (size_t row = 0; row < rows.size(); ++row) {
        const char* const name = PlatformCalls()[row].name;
        if (!Imports(module, name))
            continue;
        patches_.push_back(std::make_unique<ImportPatch>(module, name, Entry(row)));
        rows[row].original = patches_.back()->Original();
    }
}

void Recorder::Stop()
{
    patches_.clear();
    listening = nullptr;
}

void Recorder::FailCall(int n, DWORD code)
{
    failing_ = n;
    failure_ = code;
}

bool Recorder::IsLog(DWORD file)
{
    if (file && file == logHandle_)
        return true; // asking the system for each line would take most of a run's time
    // A handle's path is not told by every Windows; what a file is, is.
    BY_HANDLE_FILE_INFORMATION given = {};
    BY_HANDLE_FILE_INFORMATION log = {};
    const HANDLE opened = CreateFileA(log_.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    const bool both =
        GetFileInformationByHandle(reinterpret_cast<HANDLE>(file), &given) && GetFileInformationByHandle(opened, &log);
    CloseHandle(opened);
    const bool same = both && given.nFileIndexLow == log.nFileIndexLow && given.nFileIndexHigh == log.nFileIndexHigh;
    logHandle_ = same ? file : logHandle_;
    return same;
}

/** @param line  "severity, tab, indentation, message, line end". */
void Recorder::AddLine(std::string_view line)
{
    Event event = {.isLine = true, .text = std::string(line)};
    std::erase(event.text, '\r');
    event.severity = event.text[0] == '3' ? 'E' : event.text[0] == '2' ? 'W' : event.text[0] == '1' ? 'I' : 'B';
    event.text.erase(0, event.text.find('\t') + 1);
    event.indentation = std::min(event.text.find_first_not_of(' '), event.text.size());
    event.text.erase(0, event.indentation);
    if (event.text.ends_with('\n'))
        event.text.pop_back();
    else
        event.text += " (no line end)";
    indentation_ = event.indentation + (event.text.starts_with("{ ") ? kIndentationStep : 0);
    if (unfolded || !FoldLine(event))
        events_.push_back(event);
}

/** Keeps of an export that another one calls its name and its first line. @return whether the line is dealt with */
bool Recorder::FoldLine(const Event& line)
{
    if (!folded_) {
        folded_ = line.indentation > 0 && line.text.starts_with("{ TARVO_");
        foldedAt_ = line.indentation;
        return false;
    }
    if (line.indentation == foldedAt_ && line.text.starts_with("} ")) {
        folded_ = false;
        events_.back().text += " }";
    } else if (line.indentation > foldedAt_ && events_.back().text.find(':') == std::string::npos) {
        events_.back().text += ": " + line.text;
    }
    return true;
}

bool Recorder::Listed(size_t row, const DWORD* arguments) const
{
    // Texts of the system come and go with every failure.
    return !folded_ && (!Is(row, "LocalFree") || names_.Knows(arguments[0]));
}

/** @return the function's result; the last error is as the function left it. */
DWORD Recorder::Run(size_t row, const DWORD* arguments)
{
    if (Is(row, "Sleep") && !sleeps && !folded_)
        return 0;
    const PlatformCall& call = PlatformCalls()[row];
    const DWORD count = static_cast<DWORD>(rows[row].words.size());
    if (call.method < 0)
        return KitCall(rows[row].original, arguments, count);
    std::vector<DWORD> handedOn(arguments, arguments + count);
    IUnknown* const object = reinterpret_cast<Proxy*>(arguments[0])->object;
    handedOn[0] = reinterpret_cast<DWORD>(object);
    return KitCall((*reinterpret_cast<void***>(object))[call.method], handedOn.data(), count);
}

void Recorder::NameResults(size_t row, const DWORD* arguments, DWORD& result)
{
    const Row& shape = rows[row];
    if (shape.result.starts_with("h:"))
        names_.Add(result, shape.result.substr(2), true);
    for (size_t index = 0; index < shape.words.size(); ++index) {
        const std::string& word = shape.words[index];
        const DWORD argument = arguments[index];
        if (word == "-h")
            names_.Drop(argument);
        if (!argument)
            continue;
        if (word.starts_with(">h:"))
            names_.Add(*reinterpret_cast<DWORD*>(argument), word.substr(3), true);
        if (word == ">malloc" || word == ">com") {
            const std::string type = word == ">malloc" ? "IMalloc" : ShowArgument(names_, "iid", &arguments[index - 1]);
            Wrap(argument, type);
            names_.Add(*reinterpret_cast<DWORD*>(argument), type, true);
        }
    }
    if (!Is(row, "GetProcAddress") || !HIWORD(arguments[1]))
        return;
    const size_t found = RowOf(reinterpret_cast<const char*>(arguments[1]));
    if (found < rows.size()) {
        rows[found].original = reinterpret_cast<void*>(result);
        result = reinterpret_cast<DWORD>(Entry(found));
    }
}

DWORD Recorder::Handle(size_t row, DWORD* arguments)
{
    const DWORD lastError = GetLastError();
    if (Is(row, "CloseHandle") && arguments[0] == logHandle_)
        logHandle_ = 0;
    const bool isLine = Is(row, "WriteFile") && !log_.empty() && IsLog(arguments[0]);
    if (isLine)
        AddLine({reinterpret_cast<const char*>(arguments[1]), arguments[2]});
    if (isLine || !Listed(row, arguments)) {
        SetLastError(lastError);
        return Run(row, arguments);
    }
    const Row& shape = rows[row];
    std::string text = std::string(PlatformCalls()[row].name) + "(";
    for (size_t index = 0; index < shape.words.size(); ++index) {
        if (!shape.words[index].starts_with(">") && shape.words[index] != ".")
            text += (text.back() == '(' ? "" : ", ") + ShowArgument(names_, shape.words[index], &arguments[index]);
    }
    const size_t place = events_.size();
    events_.push_back({false, 0, indentation_, text + ")", &PlatformCalls()[row]});
    const int number = calls_++;

    const bool fails = number == failing_;
    SetLastError(lastError);
    // What is closed is closed even so: nobody else would.
    const bool closes = !shape.words.empty() && shape.words[0] == "-h";
    DWORD result = !fails || closes ? Run(row, arguments) : 0;
    if (fails) {
        result = FailureOf(shape.result, failure_);
        SetLastError(failure_);
    }
    const DWORD after = GetLastError();
    failed_ |= fails;
    std::string results = shape.failable ? ResultText(shape.result, result, after) : "";
    if (!shape.failable || closes || Succeeded(shape.result, result)) {
        NameResults(row, arguments, result);
        if (shape.result.starts_with("h:"))
            results += " -> " + names_.Show(result);
        for (size_t index = 0; index < shape.words.size(); ++index) {
            if (shape.words[index].starts_with(">") && arguments[index])
                results +=
                    (results.empty() ? " -> " : ", ") + ShowArgument(names_, shape.words[index], &arguments[index]);
        }
    }
    events_[place].text += results;
    SetLastError(after);
    return result;
}

} // namespace kit

uint64_t KitDispatch(DWORD row, DWORD* arguments)
{
    static_assert(sizeof(DWORD) == sizeof(void*), "the thunks are for 32 bits");
    const DWORD result =
        kit::listening ? kit::listening->Handle(row, arguments)
                       : KitCall(kit::rows[row].original, arguments, static_cast<DWORD>(kit::rows[row].words.size()));
    return uint64_t{kit::rows[row].words.size() * sizeof(DWORD)} << 32 | result;
}
