// Starting and stopping the management console and the management agent.

#include "base/path.h"
#include "components/common_directory.h"
#include "frame/scope.h"
#include "system/shell_start.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr char kConsoleProgram[] = "kob32.exe";
constexpr char kAgentService[] = "KOBA";
constexpr DWORD kAgentTimeout = 60000; // milliseconds

DWORD GetAgentState(DWORD& state)
{
    DWORD interactive = 0;
    return TARVO_GetServiceStatus(nullptr, kAgentService, &interactive, &state);
}

DWORD WaitForAgent(DWORD state)
{
    DWORD exitCode = 0;
    return TARVO_WaitForServiceState(nullptr, kAgentService, state, kAgentTimeout, &exitCode);
}

DWORD EndNotExecuted(FunctionScope& scope, const char* program)
{
    BoundedText<1024> text;
    text.Format("Could not execute %s", program);
    return scope.Error(text.Get(), TARVO_ERROR_FAILED);
}

DWORD StartAgent()
{
    DWORD state = 0;
    if (const DWORD code = GetAgentState(state)) {
        TracePrint(kWarning, 1, "%s service is not installed\n", kAgentService);
        return code;
    }
    if (state == SERVICE_RUNNING) {
        TracePrint(kInfo, 1, "%s", "Service is already running\n");
        return ERROR_SUCCESS;
    }
    if (state != SERVICE_START_PENDING) {
        if (const DWORD code = TARVO_StartService(nullptr, kAgentService)) {
            TracePrint(kWarning, 1, "%s", "Starting KOBA service failed\n");
            return code;
        }
    }
    return WaitForAgent(SERVICE_RUNNING);
}

DWORD StopAgent()
{
    DWORD state = 0;
    if (GetAgentState(state) != ERROR_SUCCESS) {
        TracePrint(kInfo, 1, "%s service is not installed\n", kAgentService);
        return ERROR_SUCCESS; // an agent that is not there counts as stopped
    }
    if (state == SERVICE_STOPPED) {
        TracePrint(kInfo, 1, "%s is already stopped\n", kAgentService);
        return ERROR_SUCCESS;
    }
    if (state != SERVICE_STOP_PENDING) {
        if (const DWORD code = TARVO_StopService(nullptr, kAgentService)) {
            TracePrint(kWarning, 1, "%s", "Stopping KOBA service failed\n");
            return code;
        }
    }
    return WaitForAgent(SERVICE_STOPPED);
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_StartKOB(void)
{
    FunctionScope scope("TARVO_StartKOB", 0);
    const char* const directory = GetCommonDirectory();
    if (!*directory)
        return scope.Error("Velmora Common directory is not found", TARVO_ERROR_FAILED);
    PathText program;
    if (!JoinPath(program, directory, kConsoleProgram))
        return EndNotExecuted(scope, kConsoleProgram);
    TracePrint(kInfo, 0, "Starting [%s]...\n", program.Get());
    if (!ShellStart("open", program.Get(), nullptr).Succeeded())
        return EndNotExecuted(scope, program.Get());
    return scope.Ok();
}

DWORD __cdecl TARVO_StopKOB(void)
{
    FunctionScope scope("TARVO_StopKOB", 0);
    return scope.Ok();
}

DWORD __cdecl TARVO_StartKOBA(void)
{
    FunctionScope scope("TARVO_StartKOBA", 0);
    return scope.End(StartAgent());
}

DWORD __cdecl TARVO_StopKOBA(void)
{
    FunctionScope scope("TARVO_StopKOBA", 0);
    return scope.End(StopAgent());
}
