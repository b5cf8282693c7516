#pragma once

#include <windows.h>

#include <optional>

#include "base/text.h"

namespace tarvo {

constexpr DWORD kError = 1;
constexpr DWORD kWarning = 2;
constexpr DWORD kInfo = 4;
constexpr DWORD kAllSeverities = 0xFFFFFFFF;

/**
 * Writes one line of the trace log; the thread's last error stays.
 * @param severity  kError, kWarning or kInfo; decides with detail whether the log gets the line.
 * @param detail    0 to 3: exports' scopes 0, their lines 1, inner operations 2 and 3.
 * @param format    A literal with its own "\n". The message is cut to 1023 bytes.
 * Costs a few comparisons when no log is open.
 */
[[gnu::format(printf, 3, 4)]] void TracePrint(DWORD severity, int detail, const char* format, ...);

/** Tells whether a log is open: whether it is worth preparing what a line shows. */
bool IsTracing();

/** Tells whether the log gets such a line: whether work is to be done that only shows there. */
bool IsLineWanted(DWORD severity, int detail);

/** Brackets lines with "{ title" and "} title" and indents them by 3. The title must outlive the block. */
class TraceBlock {
public:
    TraceBlock(const char* title, const char* lineEnd, DWORD severity, int detail);
    ~TraceBlock();
    TraceBlock(const TraceBlock&) = delete;
    TraceBlock& operator=(const TraceBlock&) = delete;

private:
    const char* title_;
    const char* lineEnd_;
    DWORD severity_;
    int detail_;
};

/**
 * The trace of an operation without a scope: its name and arguments, "name(a,b)\n",
 * are the title of a block. At most 255 characters; more is dropped. Add each
 * argument, then Open.
 */
class TraceStream {
public:
    explicit TraceStream(const char* name);
    TraceStream(const TraceStream&) = delete;
    TraceStream& operator=(const TraceStream&) = delete;

    TraceStream& Add(const char* text); // NULL adds an argument without text
    TraceStream& Add(long number);
    TraceStream& Add(unsigned long number);
    TraceStream& Add(const void* pointer);
    void Open();

private:
    void Append(const char* text);
    void BeginArgument();

    bool tracing_;
    bool hasArguments_ = false;
    size_t length_ = 0;
    char text_[256];
    std::optional<TraceBlock> block_;
};

/** Sets what the run-time start leaves at its defaults. A negative threshold counts as 0. */
void SetTraceOptions(DWORD severityMask, int detailThreshold, bool dateTimeColumn, bool threadIdColumn);

/** Switches the log to a file; see TraceOutput::Open. */
void OpenTraceOutput(const char* name, const char* mode);

/** Opens the configuration file and reads it. @return false if there is none. */
bool OpenTraceConfig(const char* path);

/** Makes the trace lock; called once, at load. */
void OpenTraceRoot();

/** Ends all tracing: closes log and configuration file and deletes the lock; called once, at unload. */
void CloseTraceRoot();

} // namespace tarvo
