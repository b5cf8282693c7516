#include "library.h"

#include "report.h"

namespace bench {

Library::Library()
    : module_(LoadLibraryA(Path().c_str())),
      GetTarvoDllInstance(Find<decltype(&TARVO_GetTarvoDllInstance)>("TARVO_GetTarvoDllInstance")),
      StartDebugLogging2(Find<decltype(&TARVO_StartDebugLogging2)>("TARVO_StartDebugLogging2")),
      StartDebugLoggingRunTime(Find<decltype(&TARVO_StartDebugLoggingRunTime)>("TARVO_StartDebugLoggingRunTime")),
      RenameAfterReboot(Find<decltype(&TARVO_RenameAfterReboot)>("TARVO_RenameAfterReboot")),
      UpdatePFOsInfo(Find<decltype(&TARVO_UpdatePFOsInfo)>("TARVO_UpdatePFOsInfo")),
      SetPFOsImmediateFlush(Find<decltype(&TARVO_SetPFOsImmediateFlush)>("TARVO_SetPFOsImmediateFlush")),
      CreateRegistryEntry(Find<decltype(&TARVO_CreateRegistryEntry)>("TARVO_CreateRegistryEntry")),
      StartUninstallLogging(Find<decltype(&TARVO_StartUninstallLogging)>("TARVO_StartUninstallLogging")),
      StopUninstallLogging(Find<decltype(&TARVO_StopUninstallLogging)>("TARVO_StopUninstallLogging")),
      AddRollbackEntry(Find<decltype(&TARVO_AddRollbackEntry)>("TARVO_AddRollbackEntry")),
      AddFileToUninstallLog(Find<decltype(&TARVO_AddFileToUninstallLog)>("TARVO_AddFileToUninstallLog")),
      OpenRollBackLog(Find<decltype(&TARVO_OpenRollBackLog)>("TARVO_OpenRollBackLog")),
      PerformUnInstall(Find<decltype(&TARVO_PerformUnInstall)>("TARVO_PerformUnInstall")),
      CloseRollBackLog(Find<decltype(&TARVO_CloseRollBackLog)>("TARVO_CloseRollBackLog")),
      CreateDirectories(Find<decltype(&TARVO_CreateDirectory)>("TARVO_CreateDirectory")),
      CopyFileWithRestart(Find<decltype(&TARVO_CopyFileEx)>("TARVO_CopyFileEx")),
      RegisterDelayLoadLibrary(Find<decltype(&TARVO_RegisterDelayLoadLibrary)>("TARVO_RegisterDelayLoadLibrary")),
      SetRegistrySecurityRid(Find<decltype(&TARVO_SetRegistrySecurityRid)>("TARVO_SetRegistrySecurityRid"))
{
}

Library::~Library()
{
    FreeLibrary(module_);
}

std::string Library::Path()
{
    char program[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, program, sizeof program);
    Require(length != 0 && length < sizeof program, "finding the program's folder");
    const std::string path(program, length);
    return path.substr(0, path.rfind('\\', path.rfind('\\') - 1)) + "\\TARVO.DLL";
}

FARPROC Library::FindExport(const char* name) const
{
    Require(module_ != nullptr, "loading TARVO.DLL");
    const FARPROC function = GetProcAddress(module_, name);
    Require(function != nullptr, name);
    return function;
}

} // namespace bench
