// What callers read back of a failure.

#include <cstring>

#include "base/text.h"
#include "frame/scope.h"
#include "frame/trace.h"
#include "tarvo/tarvo.h"

using namespace tarvo;

void __cdecl TARVO_GetLastErrorMessage(char* buffer, int size)
{
    TraceStream stream("TARVO_GetLastErrorMessage");
    stream.Add(static_cast<const void*>(buffer)).Add(static_cast<unsigned long>(size)).Open();
    if (!buffer || size <= 0) {
        TracePrint(kWarning, 0, "%s", "TARVO_GetLastErrorMessage: invalid argument\n");
        return;
    }
    CopyCut(buffer, static_cast<size_t>(size), LastErrorMessage());
    buffer[size - 1] = '\0';
}

DWORD __cdecl TARVO_GetString(int code, char* buffer, int size)
{
    FunctionScope scope("TARVO_GetString", 0);
    if (buffer && size > 0)
        FormatCut(buffer, static_cast<size_t>(size), "<Insert error string here, code = %d>", code);
    return scope.Ok();
}

DWORD __cdecl TARVO_SetLanguage(void)
{
    FunctionScope scope("TARVO_SetLanguage", 0);
    return scope.Error(ERROR_INVALID_FUNCTION);
}
