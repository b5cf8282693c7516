// The log that is being replayed: its name and what is read from it.

#include "uninstall/rollback_log.h"

#include "base/path.h"
#include "files/path_utils.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"
#include "uninstall/log_file.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

constinit PathText logFile; // "" while no log is open

DWORD OpenLog(const char* file)
{
    if (!file)
        return ERROR_INVALID_PARAMETER;
    if (!IsPathExist(file, 0))
        return ERROR_FILE_NOT_FOUND;
    KeepLogName(file, logFile);
    return ERROR_SUCCESS;
}

DWORD MakeEmptyList(HeapText& list)
{
    constexpr char kEmptyList[] = {'\0', '\0'};
    return list.Copy({kEmptyList, sizeof kEmptyList}) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

/** Asks for the size first, and once more with each larger size that the reading then names. */
DWORD ReadSection(const char* file, const char* section, HeapText& list)
{
    constexpr int kMaxReads = 4;
    DWORD size = 0;
    DWORD code = TARVO_ReadIniFileSection(file, section, nullptr, &size);
    for (int read = 0; code == ERROR_MORE_DATA && read < kMaxReads; ++read) {
        if (!list.Allocate(size))
            return ERROR_NOT_ENOUGH_MEMORY;
        code = TARVO_ReadIniFileSection(file, section, list.Get(), &size);
    }
    return code == ERROR_FILE_NOT_FOUND ? MakeEmptyList(list) : code;
}

} // namespace

bool IsRollbackLogOpen()
{
    return !logFile.Empty();
}

DWORD GetRollbackLogName(char* buffer, size_t size)
{
    if (!buffer)
        return ERROR_INVALID_PARAMETER;
    if (!IsRollbackLogOpen())
        return TARVO_ERROR_NO_LOG;
    CopyCut(buffer, size, logFile.Get());
    return ERROR_SUCCESS;
}

DWORD GetRollbackSection(const char* section, HeapText& list)
{
    FunctionScope scope("GetRollbackSection", 2);
    PathText file;
    if (GetRollbackLogName(file.Buffer(), PathText::kSize) != ERROR_SUCCESS)
        return scope.Error("Rollback file is not opened in GetRollbackSection", TARVO_ERROR_NO_LOG);
    return scope.End(ReadSection(file.Get(), section, list));
}

} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_OpenRollBackLog(const char* file)
{
    FunctionScope scope("TARVO_OpenRollBackLog", 0);
    TracePrint(kInfo, 1, "File name=[%s]\n", Shown(file));
    return scope.End(OpenLog(file));
}

DWORD __cdecl TARVO_CloseRollBackLog(void)
{
    FunctionScope scope("TARVO_CloseRollBackLog", 0);
    if (!IsRollbackLogOpen())
        return scope.Error("Rollback is not opened", TARVO_ERROR_NO_LOG);
    logFile.Clear();
    return scope.Ok();
}

DWORD __cdecl TARVO_GetCustomUnInstallString(const char* name, char* buffer, DWORD size)
{
    FunctionScope scope("TARVO_GetCustomUnInstallString", 0);
    TracePrint(kInfo, 1, "Key=[%s], Value ptr=[%x], size=[%d]\n", Shown(name), reinterpret_cast<unsigned>(buffer),
               static_cast<int>(size));
    if (!IsRollbackLogOpen())
        return scope.Error("Uninstallation log is not opened", TARVO_ERROR_NO_LOG);
    // Without a name the INI reader would list all names of the section.
    if (!name || !buffer || size == 0)
        return scope.Error(ERROR_INVALID_PARAMETER);
    GetPrivateProfileStringA(kCustomSection, name, "", buffer, size, logFile.Get());
    buffer[size - 1] = '\0';
    TracePrint(kInfo, 1, "Name=[%s] Value=[%s]\n", name, buffer);
    return scope.Ok();
}
