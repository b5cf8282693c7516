#include "frame/error_handler.h"

#include "frame/system_text.h"

namespace tarvo {

void GetLastErrorHandler::Reset()
{
    message_.Reset(static_cast<char*>(LocalAlloc(LPTR, 2)));
    code_ = ERROR_SUCCESS;
}

DWORD GetLastErrorHandler::SetError(DWORD code)
{
    message_ = SystemText(GetLastError(), TextForm::kAsItComes);
    if (!message_)
        Reset();
    code_ = code;
    return code;
}

} // namespace tarvo
