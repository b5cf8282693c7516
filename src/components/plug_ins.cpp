// Registration of plug-ins of the management agent and the management console.

#include <cstring>

#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/product_keys.h"
#include "registry/registry_key.h"
#include "tarvo/tarvo.h"
#include "uninstall/recording.h"

namespace tarvo {
namespace {

constexpr char kAgentPlugIns[] = "SOFTWARE\\Norrin Vale\\Velmora\\Management Agent\\Plug-Ins";
constexpr char kConsolePlugIns[] = "SOFTWARE\\Norrin Vale\\Velmora\\Manager\\Plug-Ins";
constexpr DWORD kNotGiven = 0xFFFFFFFF;

/** Writes values of one plug-in's key, each through a locator of its own; every call returns a result code. */
class PlugInWriter {
public:
    DWORD Begin(const char* plugIns, const char* name)
    {
        const bool fits = key_.Format("%s\\%s\\%s", kMachineName, plugIns, name);
        return fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
    }

    DWORD Text(const char* name, const char* text)
    {
        return Create(locator_.Format("%s\\\\%s|%s", key_.Get(), name, text), REG_SZ);
    }

    DWORD Number(const char* name, DWORD number)
    {
        return Create(locator_.Format("%s\\\\%s|%u", key_.Get(), name, static_cast<unsigned>(number)), REG_DWORD);
    }

    DWORD NumberIfGiven(const char* name, DWORD number)
    {
        return number == kNotGiven ? ERROR_SUCCESS : Number(name, number);
    }

    /**
     * Writes a list of texts that ends with an empty one, reading at most 1024 bytes of it. A longer one is cut
     * there; its value then runs on through the fill bytes of the locator's buffer.
     */
    DWORD List(const char* name, const char* list)
    {
        constexpr size_t kMaxList = 1024;
        constexpr size_t kMaxPrefix = 1024;
        constexpr int kFill = 0x40;
        char* const buffer = locator_.Buffer();
        memset(buffer, kFill, RegistryText::kSize);
        const bool fits = FormatCut(buffer, kMaxPrefix, "%s\\\\%s|", key_.Get(), name);
        const size_t prefix = strlen(buffer);
        memcpy(buffer + prefix, list, ListSize(list, kMaxList));
        buffer[RegistryText::kSize - 2] = '\0';
        buffer[RegistryText::kSize - 1] = '\0';
        return Create(fits, REG_MULTI_SZ);
    }

private:
    DWORD Create(bool fits, DWORD type) const
    {
        // A cut locator would put less than what was asked for, or put it elsewhere.
        return fits ? TARVO_CreateRegistryEntry(locator_.Get(), type, FALSE) : ERROR_INSUFFICIENT_BUFFER;
    }

    /** Bytes of a list, its closing zero included; max if it is longer or does not end before. */
    static size_t ListSize(const char* list, size_t max)
    {
        size_t at = 0;
        while (at < max && list[at] != '\0')
            at += strnlen(list + at, max - at) + 1;
        return at < max ? at + 1 : max;
    }

    RegistryText key_;
    RegistryText locator_;
};

/** An agent plug-in as its registration describes it. */
struct AgentPlugIn {
    DWORD type;
    DWORD startMode;
    DWORD errorControl;
    const char* name;
    const char* oid;
    const char* path;
    const char* dependencies;
    DWORD restartAttempts;
    DWORD restartInterval;
    DWORD waitingInterval;
};

void TraceAgentPlugIn(const AgentPlugIn& plugIn)
{
    TracePrint(kInfo, 1, "Type=[%d], StartMode=[%d], ErrorCtrl=[%d]Name=[%s], OID=[%s], Path=[%s]\n",
               static_cast<int>(plugIn.type), static_cast<int>(plugIn.startMode), static_cast<int>(plugIn.errorControl),
               Shown(plugIn.name), Shown(plugIn.oid), Shown(plugIn.path));
    TracePrint(kInfo, 1,
               "Dependencies (1-st ln.)=[%s], RestartAttempts=[%d], RestartInterval=[%d], WaitInterval=[%d]\n",
               Shown(plugIn.dependencies), static_cast<int>(plugIn.restartAttempts),
               static_cast<int>(plugIn.restartInterval), static_cast<int>(plugIn.waitingInterval));
}

DWORD WriteNumbers(PlugInWriter& writer, const AgentPlugIn& plugIn)
{
    if (const DWORD code = writer.Number("Type", plugIn.type))
        return code;
    if (const DWORD code = writer.Number("Start", plugIn.startMode))
        return code;
    if (const DWORD code = writer.Number("ErrorControl", plugIn.errorControl))
        return code;
    if (const DWORD code = writer.NumberIfGiven("RestartAttempts", plugIn.restartAttempts))
        return code;
    if (const DWORD code = writer.NumberIfGiven("RestartInterval", plugIn.restartInterval))
        return code;
    return writer.NumberIfGiven("WaitingInterval", plugIn.waitingInterval);
}

DWORD WriteTexts(PlugInWriter& writer, const AgentPlugIn& plugIn)
{
    if (const DWORD code = writer.Text("DisplayName", plugIn.name))
        return code;
    if (const DWORD code = writer.Text("OID", plugIn.oid))
        return code;
    if (const DWORD code = writer.Text("ImagePath", plugIn.path))
        return code;
    return writer.List("DependOnModule", plugIn.dependencies);
}

DWORD RegisterAgentPlugIn(const AgentPlugIn& plugIn)
{
    if (!plugIn.name || !plugIn.oid || !plugIn.path || !plugIn.dependencies)
        return ERROR_INVALID_PARAMETER;
    PlugInWriter writer;
    if (const DWORD code = writer.Begin(kAgentPlugIns, plugIn.name))
        return code;
    if (const DWORD code = WriteNumbers(writer, plugIn))
        return code;
    return WriteTexts(writer, plugIn);
}

DWORD OpenAgentPlugIn(const char* name, RegistryKey& key)
{
    RegistryKey plugIns;
    if (const DWORD code = plugIns.Open(HKEY_LOCAL_MACHINE, kAgentPlugIns, KEY_ALL_ACCESS))
        return code;
    TracePrint(kInfo, 0, "%s", "Main plug-ins key is opened\n");
    if (const DWORD code = key.Open(plugIns.Handle(), name, KEY_ALL_ACCESS))
        return code;
    TracePrint(kInfo, 1, "%s", "Plug-in's key is opened\n");
    return ERROR_SUCCESS;
}

DWORD WriteProperty(const char* name, const char* property, DWORD type, const void* data, DWORD size)
{
    RegistryKey key;
    if (const DWORD code = OpenAgentPlugIn(name, key))
        return code;
    return static_cast<DWORD>(RegSetValueExA(key.Handle(), property, 0, type, static_cast<const BYTE*>(data), size));
}

/** A path too long for the log's lines is not recorded: cut, it would name something else. */
void RecordProperty(const char* name, const char* property)
{
    RegistryText entry;
    if (entry.Format("%s\\%s\\%s\\\\%s", kMachineName, kAgentPlugIns, name, property ? property : ""))
        AddRollbackRegEntry(entry.Get());
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_RegisterKobPlugIn(const char* name, const char* path)
{
    FunctionScope scope("TARVO_RegisterKobPlugIn", 0);
    TracePrint(kInfo, 1, "Name=[%s], Path=[%s]\n", Shown(name), Shown(path));
    if (!name || !path)
        return scope.Error(ERROR_INVALID_PARAMETER);
    PlugInWriter writer;
    if (const DWORD code = writer.Begin(kConsolePlugIns, name))
        return scope.Error(code);
    // Its code is handed on as it came: the inner call has stored its text.
    if (const DWORD code = writer.Text("ImagePath", path))
        return code;
    return scope.Ok();
}

DWORD __cdecl TARVO_RegisterKobaPlugInEx(DWORD /*reserved*/, DWORD type, DWORD startMode, DWORD errorControl,
                                         const char* name, const char* oid, const char* path, const char* dependencies,
                                         DWORD restartAttempts, DWORD restartInterval, DWORD waitingInterval)
{
    FunctionScope scope("TARVO_RegisterKobaPlugInEx", 0);
    const AgentPlugIn plugIn = {type,         startMode,       errorControl,    name,           oid, path,
                                dependencies, restartAttempts, restartInterval, waitingInterval};
    TraceAgentPlugIn(plugIn);
    return scope.End(RegisterAgentPlugIn(plugIn));
}

DWORD __cdecl TARVO_RegisterKobaPlugIn(DWORD reserved, DWORD type, DWORD startMode, DWORD errorControl,
                                       const char* name, const char* oid, const char* path, const char* dependencies)
{
    FunctionScope scope("TARVO_RegisterKobaPlugIn", 0);
    return TARVO_RegisterKobaPlugInEx(reserved, type, startMode, errorControl, name, oid, path, dependencies, kNotGiven,
                                      kNotGiven, kNotGiven);
}

DWORD __cdecl TARVO_RegisterKobaPlugInProperty(const char* name, const char* property, DWORD type, const void* data,
                                               DWORD size)
{
    FunctionScope scope("TARVO_RegisterKobaPlugInProperty", 0);
    TracePrint(kInfo, 1, "PlugIn [%s], Property [%s], Type [%d], Data pointer [%x], Size [%d]\n", Shown(name),
               Shown(property), static_cast<int>(type), reinterpret_cast<unsigned>(data), static_cast<int>(size));
    if (IsEmpty(name))
        return scope.Error(ERROR_INVALID_PARAMETER);
    if (const DWORD code = WriteProperty(name, property, type, data, size))
        return scope.Error(code);
    TracePrint(kInfo, 1, "%s", "Data is written\n");
    RecordProperty(name, property);
    return scope.Ok();
}
