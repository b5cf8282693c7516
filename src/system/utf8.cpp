// Text between a code page and UTF-8, by way of UTF-16.

#include "base/memory.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

using Utf16Text = HeapArray<wchar_t>;

DWORD ToUtf16(const char* source, UINT codePage, Utf16Text& text)
{
    const int length = MultiByteToWideChar(codePage, 0, source, -1, nullptr, 0);
    TracePrint(kInfo, 1, "Required UNICODE length=[%d]\n", length);
    if (length == 0)
        return GetLastError();
    if (!text.Allocate(static_cast<size_t>(length)))
        return ERROR_NOT_ENOUGH_MEMORY;
    return MultiByteToWideChar(codePage, 0, source, -1, text.Get(), length) ? ERROR_SUCCESS : GetLastError();
}

DWORD FromUtf16(const wchar_t* text, UINT codePage, char* destination, int& size)
{
    const int required = WideCharToMultiByte(codePage, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (required == 0)
        return GetLastError();
    if (!destination) {
        size = required;
        return ERROR_SUCCESS;
    }
    if (size < required)
        return ERROR_INSUFFICIENT_BUFFER;
    return WideCharToMultiByte(codePage, 0, text, -1, destination, size, nullptr, nullptr) ? ERROR_SUCCESS
                                                                                           : GetLastError();
}

/** @param shown  The code page that is not UTF-8, for the log. */
DWORD Convert(const char* source, UINT from, UINT to, UINT shown, char* destination, int* size)
{
    TracePrint(kInfo, 1, "Code page=[%d], length=[0x%X]->[%d]\n", static_cast<int>(shown),
               reinterpret_cast<unsigned>(size), size ? *size : -1);
    if (!source || !size)
        return ERROR_INVALID_PARAMETER;
    Utf16Text text;
    if (const DWORD code = ToUtf16(source, from, text))
        return code;
    return FromUtf16(text.Get(), to, destination, *size);
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_MultiByteToUtf8(const char* source, DWORD codePage, char* destination, int* size)
{
    FunctionScope scope("TARVO_MultiByteToUtf8", 0);
    return scope.End(Convert(source, codePage, CP_UTF8, codePage, destination, size));
}

DWORD __cdecl TARVO_Utf8ToMultiByte(const char* source, char* destination, DWORD codePage, int* size)
{
    FunctionScope scope("TARVO_Utf8ToMultiByte", 0);
    return scope.End(Convert(source, CP_UTF8, codePage, codePage, destination, size));
}
