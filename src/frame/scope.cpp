#include "frame/scope.h"

#include "base/text.h"
#include "frame/system_text.h"

namespace tarvo {
namespace {

constinit BoundedText<1024> lastErrorMessage;

} // namespace

FunctionScope::FunctionScope(const char* name, int detail)
    : name_(name), detail_(detail), block_(name, "\n", kInfo, detail)
{
}

DWORD FunctionScope::Ok()
{
    TracePrint(kInfo, detail_, "Function %s OK.\n", name_);
    return ERROR_SUCCESS;
}

DWORD FunctionScope::Error(DWORD code)
{
    const UniqueLocal<char> text = SystemText(code, TextForm::kOneLine);
    return Error(text ? text.Get() : "Unspecified error", code);
}

DWORD FunctionScope::Error(const char* text, DWORD code)
{
    lastErrorMessage.SetCut(text);
    TracePrint(kError, detail_, "Function %s error: [%d] (%s)\n", name_, static_cast<int>(code), text);
    return code;
}

DWORD FunctionScope::Error(const GetLastErrorHandler& handler)
{
    return Error(handler.Message(), handler.Code());
}

const char* LastErrorMessage()
{
    return lastErrorMessage.Get();
}

} // namespace tarvo
