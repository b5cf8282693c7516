#pragma once

#include <windows.h>

#include <shellapi.h>

namespace tarvo {

/** What ShellExecute returned: above 32 for a success, else its code. */
class ShellResult {
public:
    explicit ShellResult(HINSTANCE result) : value_(reinterpret_cast<INT_PTR>(result)) {}
    bool Succeeded() const { return value_ > 32; }
    INT_PTR Value() const { return value_; }

private:
    INT_PTR value_;
};

/** Starts a program or opens a document in its own window, without waiting. @param verb, arguments  May be NULL. */
inline ShellResult ShellStart(const char* verb, const char* file, const char* arguments)
{
    return ShellResult(ShellExecuteA(nullptr, verb, file, arguments, nullptr, SW_SHOWNORMAL));
}

} // namespace tarvo
