#pragma once

#include <windows.h>

#include "frame/error_handler.h"
#include "frame/trace.h"

namespace tarvo {

/** How an operation ends: a code and, where the system's own text for it will not do, another one. */
struct Ending {
    DWORD code;
    const char* text = nullptr;
};

/**
 * Made at the top of an operation: brackets its trace and ends it. The
 * operation returns what Ok or Error returned. Exports use detail 0, inner
 * operations 1 to 3.
 */
class FunctionScope {
public:
    /** @param name  A literal; titles the block and stands in its closing line. */
    FunctionScope(const char* name, int detail);
    FunctionScope(const FunctionScope&) = delete;
    FunctionScope& operator=(const FunctionScope&) = delete;

    /** @return 0. The last-error text stays as it was. */
    DWORD Ok();

    /** Puts the system's one-line text for code into the last-error text. @return code */
    DWORD Error(DWORD code);

    /** Puts text, cut to 1023 bytes, into the last-error text. @return code */
    DWORD Error(const char* text, DWORD code);

    /** Reports the failure that a handler holds. @return its code */
    DWORD Error(const GetLastErrorHandler& handler);

    /** Ok for 0, Error for any other code. */
    DWORD End(DWORD code) { return code == ERROR_SUCCESS ? Ok() : Error(code); }
    DWORD End(const Ending& ending)
    {
        return ending.code != ERROR_SUCCESS && ending.text ? Error(ending.text, ending.code) : End(ending.code);
    }

private:
    const char* name_;
    int detail_;
    TraceBlock block_;
};

/** The text of the most recent failure of any call; "" before the first. At most 1023 bytes. */
const char* LastErrorMessage();

} // namespace tarvo
