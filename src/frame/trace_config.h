#pragma once

#include <windows.h>

#include "base/text_file.h"
#include "frame/trace_options.h"
#include "frame/trace_output.h"

namespace tarvo {

/**
 * The configuration file of the trace log: it stays open and is read again
 * from the start each time. Any byte may stand in it. A line does what the
 * first of these keys says that occurs anywhere in it: notrace, tid, tc, dt,
 * nid, tl = number, ts = number, tfr = number, tf = file [, mode].
 */
class TraceConfig {
public:
    /** @return false if the file cannot be opened; options then stay as set. */
    bool Open(const char* path) { return file_.Open(path); }
    void Close() { file_.Close(); }

    /** Tells whether a file is open and was last read at least that many seconds ago. */
    bool IsDue(DWORD seconds) const;

    /** Sets options to their defaults and to what the file says; may switch the output and give it its header. */
    void Read(TraceOptions& options, TraceOutput& output);

private:
    TextFile file_;
    DWORD lastReading_ = 0;
};

} // namespace tarvo
