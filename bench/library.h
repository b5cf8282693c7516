#pragma once

#include "tarvo/tarvo.h"

#include <string>

namespace bench {

/** TARVO.DLL, loaded while this lives: each benchmark starts from the state at load. */
class Library {
public:
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    HMODULE Module() const { return module_; }

    /** The DLL lies in the folder above the program's. */
    static std::string Path();

private:
    template <class Function> Function Find(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(FindExport(name)));
    }
    FARPROC FindExport(const char* name) const;

    HMODULE module_;

public:
    const decltype(&TARVO_GetTarvoDllInstance) GetTarvoDllInstance;
    const decltype(&TARVO_StartDebugLogging2) StartDebugLogging2;
    const decltype(&TARVO_StartDebugLoggingRunTime) StartDebugLoggingRunTime;
    const decltype(&TARVO_RenameAfterReboot) RenameAfterReboot;
    const decltype(&TARVO_UpdatePFOsInfo) UpdatePFOsInfo;
    const decltype(&TARVO_SetPFOsImmediateFlush) SetPFOsImmediateFlush;
    const decltype(&TARVO_CreateRegistryEntry) CreateRegistryEntry;
    const decltype(&TARVO_StartUninstallLogging) StartUninstallLogging;
    const decltype(&TARVO_StopUninstallLogging) StopUninstallLogging;
    const decltype(&TARVO_AddRollbackEntry) AddRollbackEntry;
    const decltype(&TARVO_AddFileToUninstallLog) AddFileToUninstallLog;
    const decltype(&TARVO_OpenRollBackLog) OpenRollBackLog;
    const decltype(&TARVO_PerformUnInstall) PerformUnInstall;
    const decltype(&TARVO_CloseRollBackLog) CloseRollBackLog;
    const decltype(&TARVO_CreateDirectory) CreateDirectories;
    const decltype(&TARVO_CopyFileEx) CopyFileWithRestart;
    const decltype(&TARVO_RegisterDelayLoadLibrary) RegisterDelayLoadLibrary;
    const decltype(&TARVO_SetRegistrySecurityRid) SetRegistrySecurityRid;
};

} // namespace bench
