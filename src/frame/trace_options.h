#pragma once

#include <windows.h>

namespace tarvo {

/** Which lines the log gets, and what stands in front of each. */
struct TraceOptions {
    bool enabled = true;
    DWORD severityMask = 0xFFFFFFFF;
    int detailThreshold = 255;
    bool severityColumn = true;
    bool threadIdColumn = false;
    bool dateTimeColumn = false;
    bool tickCountColumn = false;
    bool indentation = true;
    DWORD rereadSeconds = 0; // how often the configuration file is read again; 0 is never
};

} // namespace tarvo
