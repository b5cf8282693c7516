#include "base/wide_text.h"

#include <cstring>
#include <cwchar>

namespace tarvo {

bool WideText::FromAnsi(const char* text)
{
    Reset();
    if (!text)
        return true;
    const size_t room = strlen(text) + 1; // no character of the code page has fewer bytes than wide characters
    if (!Allocate(room))
        return false;
    if (!MultiByteToWideChar(CP_ACP, 0, text, -1, Get(), static_cast<int>(room)))
        Reset();
    return static_cast<bool>(*this);
}

void WideText::Wipe()
{
    if (*this)
        SecureZeroMemory(Get(), wcslen(Get()) * sizeof(wchar_t));
}

} // namespace tarvo
