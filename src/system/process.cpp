// Starting programs and looking into libraries.

#include "base/command_line.h"
#include "base/handle.h"
#include "base/path.h"
#include "frame/scope.h"
#include "system/shell_start.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

DWORD EndStart(FunctionScope& scope, const ShellResult& result, const char* commandLine)
{
    if (result.Succeeded())
        return scope.Ok();
    BoundedText<1024> text;
    text.Format("ShellExecute [%s] failed with code [%d]", commandLine, static_cast<int>(result.Value()));
    return scope.Error(text.Get(), static_cast<DWORD>(result.Value()));
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
        return EndStart(scope, ShellStart(nullptr, commandLine, nullptr), commandLine);
    const CommandLine parts = SplitCommandLine(commandLine);
    PathText program;
    if (!program.Set(parts.program))
        return scope.Error(ERROR_FILENAME_EXCED_RANGE);
    TracePrint(kInfo, 1, "Program executable: [%s], arguments: [%s].\n", program.Get(), parts.arguments);
    const char* const arguments = *parts.arguments ? parts.arguments : nullptr;
    return EndStart(scope, ShellStart(nullptr, program.Get(), arguments), commandLine);
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
