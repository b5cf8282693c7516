#include "frame/trace.h"

#include <cstdarg>
#include <cstring>

#include "frame/trace_config.h"
#include "frame/trace_options.h"
#include "frame/trace_output.h"

namespace tarvo {
namespace {

constexpr int kMaxIndentation = 1023;
constexpr int kIndentationStep = 3;
constexpr size_t kMaxMessage = 1024;
constexpr size_t kMaxColumns = 64;
constexpr size_t kMaxLine = kMaxColumns + kMaxIndentation + kMaxMessage;
static_assert(kMaxLine <= TraceOutput::kMaxText);

/** The date and time column as it was made at a tick count. */
struct DateTimeColumn {
    DWORD tick = 0;
    BoundedText<32> text;
};

/** All of the trace: what is written, where to, and how deep the blocks stand. */
struct TraceState {
    bool outputAllowed = true;
    TraceOptions options;
    TraceOutput output;
    TraceConfig config;
    int depth = 0;           // in spaces
    DateTimeColumn dateTime; // guarded by the lock
    CRITICAL_SECTION lock = {};
    char line[kMaxLine] = {}; // guarded by the lock
};

ProcessWide<TraceState> state;

class TraceLock {
public:
    TraceLock() { EnterCriticalSection(&state.object.lock); }
    ~TraceLock() { LeaveCriticalSection(&state.object.lock); }
    TraceLock(const TraceLock&) = delete;
    TraceLock& operator=(const TraceLock&) = delete;
};

void ReadTraceConfig()
{
    const TraceLock lock;
    state.object.config.Read(state.object.options, state.object.output);
}

bool RereadsConfig()
{
    return state.object.options.rereadSeconds != 0 && state.object.outputAllowed;
}

void RereadConfigIfDue()
{
    if (RereadsConfig() && state.object.config.IsDue(state.object.options.rereadSeconds))
        ReadTraceConfig();
}

const char* SeverityColumn(DWORD severity)
{
    switch (severity) {
    case kError:
        return "3\t";
    case kWarning:
        return "2\t";
    case kInfo:
        return "1\t";
    default:
        return "0\t";
    }
}

/** Builds one line in the line buffer, piece by piece. */
class LineWriter {
public:
    // Byte by byte: the columns are so short that calls would take longer.
    void Add(const char* text)
    {
        for (; *text; ++text)
            Add(*text);
    }

    template <class... Arguments> void AddFormatted(const char* format, Arguments... arguments)
    {
        FormatCut(At(), Left(), format, arguments...);
        Advance();
    }

    void AddMessage(const char* format, va_list arguments)
    {
        FormatCutV(At(), Left() < kMaxMessage ? Left() : kMaxMessage, format, arguments);
        Advance();
    }

    void AddSpaces(int count)
    {
        for (int space = 0; space < count && space < kMaxIndentation; ++space)
            Add(' ');
    }

    std::string_view Line() const { return {state.object.line, length_}; }

private:
    void Add(char byte)
    {
        if (Left() > 1)
            state.object.line[length_++] = byte;
    }

    char* At() { return state.object.line + length_; }
    size_t Left() const { return kMaxLine - length_; }
    void Advance() { length_ += strlen(At()); }

    size_t length_ = 0;
};

/** The clock moves with the tick count. Asking it and formatting the column would cost more than the rest of a line. */
void AddDateTime(LineWriter& line)
{
    DateTimeColumn& column = state.object.dateTime;
    const DWORD tick = GetTickCount();
    if (tick != column.tick || column.text.Empty()) {
        SYSTEMTIME now;
        GetLocalTime(&now);
        column.text.Format("%2d/%02d/%02d %02d:%02d:%02d\t", now.wYear % 100, now.wMonth, now.wDay, now.wHour,
                           now.wMinute, now.wSecond);
        column.tick = tick;
    }
    line.Add(column.text.Get());
}

void AddColumns(LineWriter& line, DWORD severity)
{
    const TraceOptions& options = state.object.options;
    if (options.severityColumn)
        line.Add(SeverityColumn(severity));
    if (options.threadIdColumn)
        line.AddFormatted("%lX\t", GetCurrentThreadId());
    if (options.dateTimeColumn)
        AddDateTime(line);
    if (options.tickCountColumn)
        line.AddFormatted("%08lX\t", GetTickCount());
    if (options.indentation)
        line.AddSpaces(state.object.depth);
}

void WriteLine(DWORD severity, const char* format, va_list arguments)
{
    const TraceLock lock;
    LineWriter line;
    AddColumns(line, severity);
    line.AddMessage(format, arguments);
    state.object.output.Write(line.Line());
}

/** Stands apart, so that a call with no log open has none of its frame to set up. */
[[gnu::noinline]] void PrintIfWanted(DWORD severity, int detail, const char* format, va_list arguments)
{
    const LastErrorKeeper keeper;
    RereadConfigIfDue(); // may switch the log: before the gate
    if (IsLineWanted(severity, detail))
        WriteLine(severity, format, arguments);
}

} // namespace

bool IsLineWanted(DWORD severity, int detail)
{
    const TraceOptions& options = state.object.options;
    return state.object.output.IsOpen() && options.enabled && state.object.outputAllowed &&
           (severity & options.severityMask) != 0 && detail <= options.detailThreshold;
}

void TracePrint(DWORD severity, int detail, const char* format, ...)
{
    if (!RereadsConfig() && !IsLineWanted(severity, detail))
        return;
    va_list arguments;
    va_start(arguments, format);
    PrintIfWanted(severity, detail, format, arguments);
    va_end(arguments);
}

bool IsTracing()
{
    return state.object.output.IsOpen();
}

TraceBlock::TraceBlock(const char* title, const char* lineEnd, DWORD severity, int detail)
    : title_(title), lineEnd_(lineEnd), severity_(severity), detail_(detail)
{
    TracePrint(severity_, detail_, "{ %s%s", title_, lineEnd_);
    state.object.depth += kIndentationStep;
}

TraceBlock::~TraceBlock()
{
    state.object.depth -= kIndentationStep;
    TracePrint(severity_, detail_, "} %s%s", title_, lineEnd_);
}

TraceStream::TraceStream(const char* name) : tracing_(IsTracing())
{
    text_[0] = '\0';
    Append(name);
    Append("(");
}

void TraceStream::Append(const char* text)
{
    if (!tracing_ || !text)
        return;
    CopyCut(text_ + length_, sizeof text_ - length_, text);
    length_ += strlen(text_ + length_);
}

void TraceStream::BeginArgument()
{
    if (hasArguments_)
        Append(",");
    hasArguments_ = true;
}

TraceStream& TraceStream::Add(const char* text)
{
    BeginArgument();
    Append(text);
    return *this;
}

TraceStream& TraceStream::Add(long number)
{
    BoundedText<16> digits;
    if (tracing_)
        digits.Format("%ld", number);
    return Add(digits.Get());
}

TraceStream& TraceStream::Add(unsigned long number)
{
    BoundedText<16> digits;
    if (tracing_)
        digits.Format("%lu", number);
    return Add(digits.Get());
}

TraceStream& TraceStream::Add(const void* pointer)
{
    BoundedText<16> digits;
    if (tracing_)
        digits.Format("0x%p", pointer);
    return Add(digits.Get());
}

void TraceStream::Open()
{
    Append(")\n");
    if (tracing_)
        block_.emplace(text_, "", kInfo, 0);
}

void SetTraceOptions(DWORD severityMask, int detailThreshold, bool dateTimeColumn, bool threadIdColumn)
{
    TraceOptions& options = state.object.options;
    options.severityMask = severityMask;
    options.detailThreshold = detailThreshold < 0 ? 0 : detailThreshold;
    options.dateTimeColumn = dateTimeColumn;
    options.threadIdColumn = threadIdColumn;
}

void OpenTraceOutput(const char* name, const char* mode)
{
    const TraceLock lock;
    state.object.output.Open(name, mode);
}

bool OpenTraceConfig(const char* path)
{
    if (!state.object.config.Open(path))
        return false;
    ReadTraceConfig();
    return true;
}

void OpenTraceRoot()
{
    InitializeCriticalSection(&state.object.lock);
}

void CloseTraceRoot()
{
    state.object.outputAllowed = false;
    state.object.output.Close();
    state.object.config.Close();
    DeleteCriticalSection(&state.object.lock);
}

} // namespace tarvo
