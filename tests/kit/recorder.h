#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kit/import_hook.h"
#include "kit/platform_calls.h"

namespace kit {

/**
 * Writes down what TARVO.DLL does while this listens: each call of a platform
 * function (see PlatformCalls), functions found by GetProcAddress and methods of
 * COM objects included, and each line of the trace log, in the order in which
 * they happen. An export that another one calls stands in one line: it has
 * records of its own. Hooks that are there already are called as the platform.
 */
class Recorder {
public:
    struct Event {
        bool isLine = false;
        char severity = 0;      // of a line: E, W, I or B
        size_t indentation = 0; // of a line; a call has that of the line before
        std::string text;
        const PlatformCall* call = nullptr;
    };

    /** @param log  The trace log; what the DLL writes there is taken for lines. */
    explicit Recorder(std::string log) : log_(std::move(log)) {}
    ~Recorder() { Stop(); }
    Recorder(Recorder&&) = delete;

    void Start(HMODULE module);
    void Stop();

    /** Lets the n-th recorded call, from 0, fail with a code; -1 lets none. */
    void FailCall(int n, DWORD code);
    bool FailureHappened() const { return failed_; }

    /** Sleeps are written down and skipped unless they are asked for. */
    bool sleeps = false;
    /** Whether exports that another one calls are written down in full. */
    bool unfolded = false;

    const std::vector<Event>& Events() const { return events_; }
    HandleNames& Names() { return names_; }

    /** Called by the thunks. */
    DWORD Handle(size_t row, DWORD* arguments);

private:
    void AddLine(std::string_view line);
    bool FoldLine(const Event& line);
    bool Listed(size_t row, const DWORD* arguments) const;
    DWORD Run(size_t row, const DWORD* arguments);
    void NameResults(size_t row, const DWORD* arguments, DWORD& result);
    bool IsLog(DWORD file);

    std::string log_;
    DWORD logHandle_ = 0; // while it is known and open
    std::vector<std::unique_ptr<ImportPatch>> patches_;
    std::vector<Event> events_;
    HandleNames names_;
    size_t indentation_ = 0;
    bool folded_ = false;
    size_t foldedAt_ = 0; // its indentation
    int calls_ = 0;
    int failing_ = -1;
    DWORD failure_ = 0;
    bool failed_ = false;
};

} // namespace kit
