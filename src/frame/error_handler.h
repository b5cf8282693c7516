#pragma once

#include <windows.h>

#include "base/handle.h"

namespace tarvo {

/** Holds one failure, its code and the system's text for it, until a scope reports it. Base of the service classes. */
class GetLastErrorHandler {
public:
    GetLastErrorHandler() { Reset(); }
    virtual ~GetLastErrorHandler() = default;
    GetLastErrorHandler(const GetLastErrorHandler&) = delete;
    GetLastErrorHandler& operator=(const GetLastErrorHandler&) = delete;

    /** Forgets the failure: code 0, an empty text. */
    void Reset();

    /**
     * Records a failure. The text is the system's for GetLastError() at this
     * moment (FormatMessage, with its line end): code must be that same value.
     * @return code
     */
    DWORD SetError(DWORD code);

    DWORD Code() const { return code_; }
    const char* Message() const { return message_ ? message_.Get() : ""; }

private:
    UniqueLocal<char> message_;
    DWORD code_ = ERROR_SUCCESS;
};

} // namespace tarvo
