// Starting programs and looking into libraries.

#include <windows.h>

#include <shellapi.h>

#include "base/command_line.h"
#include "base/handle.h"
#include "base/path.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** ShellExecute tells success by a value above this one. */
constexpr INT_PTR kShellSuccess = 32;

INT_PTR Execute(const char* program, const char* arguments)
{
    return reinterpret_cast<INT_PTR>(
        ShellExecuteA(nullptr, nullptr, program, *arguments ? arguments : nullptr, nullptr, SW_SHOWNORMAL));
}

DWORD EndExecution(FunctionScope& scope, const char* commandLine, INT_PTR result)
{
    if (result > kShellSuccess)
        return scope.Ok();
    BoundedText<1024> text;
    text.Format("ShellExecute [%s] failed with code [%d]", commandLine, static_cast<int>(result));
    return scope.Error(text.Get(), static_cast<DWORD>(result));
}

/** A library as the process has it, or loaded for the time of the question. */
class ProbedLibrary {
public:
    explicit ProbedLibrary(const char* name) : module_(GetModuleHandleA(name))
    {
        if (module_)
            return;
        TracePrint(kInfo, 1, "%s", "DLL isn't loaded. Loading...\n");
        loaded_.Reset(LoadLibraryA(name));
        module_ = loaded_.Get();
    }

    HMODULE Module() const { return module_; }

private:
    HMODULE module_;
    UniqueModule loaded_;
};

BOOL HasFunction(const char* library, const char* function)
{
    const ProbedLibrary probed(library);
    if (!probed.Module()) {
        TracePrint(kInfo, 0, "%s", "Loading failed. Returning FALSE.\n");
        return FALSE;
    }
    const BOOL found = GetProcAddress(probed.Module(), function) != nullptr;
    TracePrint(kInfo, 0, "%s", found ? "Found. Returning TRUE.\n" : "GetProcAddress failed. Returning FALSE.\n");
    return found;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ShellExecute(const char* commandLine)
{
    FunctionScope scope("TARVO_ShellExecute", 0);
    TracePrint(kInfo, 1, "Path = [%s]\n", Shown(commandLine));
    if (!commandLine)
        return scope.Error(ERROR_INVALID_PARAMETER);
    if (*commandLine != '"')
        return EndExecution(scope, commandLine, Execute(commandLine, ""));
    const CommandLine parts = SplitCommandLine(commandLine);
    PathText program;
    if (!program.Set(parts.program))
        return scope.Error(ERROR_FILENAME_EXCED_RANGE);
    TracePrint(kInfo, 1, "Program executable: [%s], arguments: [%s].\n", program.Get(), parts.arguments);
    return EndExecution(scope, commandLine, Execute(program.Get(), parts.arguments));
}

BOOL __cdecl TARVO_DllFunctionExist(const char* library, const char* function)
{
    FunctionScope scope("TARVO_DllFunctionExist", 0);
    TracePrint(kInfo, 1, "DLL: [%s], function: [%s]\n", Shown(library), Shown(function));
    if (!library || !function) {
        scope.Error(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    scope.Ok(); // at once: the answer is no result code
    return HasFunction(library, function);
}
