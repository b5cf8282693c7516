#pragma once

#include <windows.h>

namespace tarvo {

/** Puts the thread's last error back when it goes away: for work between a failing call and its reader. */
class LastErrorKeeper {
public:
    LastErrorKeeper() : code_(GetLastError()) {}
    ~LastErrorKeeper() { SetLastError(code_); }
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

private:
    DWORD code_;
};

} // namespace tarvo
