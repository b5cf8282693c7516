// Registration of plug-ins of the management agent and the management console.

#include <cstring>

#include "base/multistring.h"
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

constexpr size_t kMaxList = 1024; // bytes read of a list

/** Makes the locators of one plug-in's values. Each maker tells whether all of it fitted. */
class PlugInValue {
public:
    [[nodiscard]] bool Begin(const char* plugIns, const char* name)
    {
        return key_.Format("%s\\%s\\%s", kMachineName, plugIns, name);
    }

    [[nodiscard]] bool SetText(const char* name, const char* text)
    {
        return locator_.Format("%s\\\\%s|%s", key_.Get(), name, text);
    }

    [[nodiscard]] bool SetNumber(const char* name, DWORD number)
    {
        return locator_.Format("%s\\\\%s|%u", key_.Get(), name, static_cast<unsigned>(number));
    }

    /** A list longer than kMaxList is cut there; its value then runs on through the fill bytes of the buffer. */
    [[nodiscard]] bool SetList(const char* name, const char* list)
    {
        constexpr size_t kMaxPrefix = 1024;
        constexpr int kFill = 0x40;
        char* const buffer = locator_.Buffer();
        memset(buffer, kFill, RegistryText::kSize);
        const bool fits = FormatCut(buffer, kMaxPrefix, "%s\\\\%s|", key_.Get(), name);
        const size_t prefix = strlen(buffer);
        memcpy(buffer + prefix, list, MultiStringSize(list, kMaxList));
        buffer[RegistryText::kSize - 2] = '\0';
        buffer[RegistryText::kSize - 1] = '\0';
        return fits;
    }

    DWORD Write(DWORD type) const { return TARVO_CreateRegistryEntry(locator_.Get(), type, FALSE); }

private:
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

struct NumberRow {
    const char* value;
    DWORD AgentPlugIn::*number;
    bool always; // or only if given
};

constexpr NumberRow kNumbers[] = {
    {"Type", &AgentPlugIn::type, true},
    {"Start", &AgentPlugIn::startMode, true},
    {"ErrorControl", &AgentPlugIn::errorControl, true},
    {"RestartAttempts", &AgentPlugIn::restartAttempts, false},
    {"RestartInterval", &AgentPlugIn::restartInterval, false},
    {"WaitingInterval", &AgentPlugIn::waitingInterval, false},
};

struct TextRow {
    const char* value;
    const char* AgentPlugIn::*text;
};

constexpr TextRow kTexts[] = {
    {"DisplayName", &AgentPlugIn::name},
    {"OID", &AgentPlugIn::oid},
    {"ImagePath", &AgentPlugIn::path},
};

void TraceAgentPlugIn(const AgentPlugIn& plugIn)
{
    // A list need not end where the caller's memory does.
    const char* const list = Shown(plugIn.dependencies);
    BoundedText<kMaxList + 1> firstDependency;
    firstDependency.SetCut({list, strnlen(list, kMaxList)});
    TracePrint(kInfo, 1, "Type=[%d], StartMode=[%d], ErrorCtrl=[%d]Name=[%s], OID=[%s], Path=[%s]\n",
               static_cast<int>(plugIn.type), static_cast<int>(plugIn.startMode), static_cast<int>(plugIn.errorControl),
               Shown(plugIn.name), Shown(plugIn.oid), Shown(plugIn.path));
    TracePrint(kInfo, 1,
               "Dependencies (1-st ln.)=[%s], RestartAttempts=[%d], RestartInterval=[%d], WaitInterval=[%d]\n",
               firstDependency.Get(), static_cast<int>(plugIn.restartAttempts),
               static_cast<int>(plugIn.restartInterval), static_cast<int>(plugIn.waitingInterval));
}

/** A locator that is cut would put less than what was asked for, or put it elsewhere. */
DWORD WriteIfWhole(bool whole, const PlugInValue& value, DWORD type)
{
    return whole ? value.Write(type) : ERROR_INSUFFICIENT_BUFFER;
}

DWORD WriteValues(PlugInValue& value, const AgentPlugIn& plugIn)
{
    for (const NumberRow& row : kNumbers) {
        const DWORD number = plugIn.*row.number;
        if (!row.always && number == kNotGiven)
            continue;
        if (const DWORD code = WriteIfWhole(value.SetNumber(row.value, number), value, REG_DWORD))
            return code;
    }
    for (const TextRow& row : kTexts) {
        if (const DWORD code = WriteIfWhole(value.SetText(row.value, plugIn.*row.text), value, REG_SZ))
            return code;
    }
    return WriteIfWhole(value.SetList("DependOnModule", plugIn.dependencies), value, REG_MULTI_SZ);
}

DWORD RegisterAgentPlugIn(const AgentPlugIn& plugIn)
{
    if (!plugIn.name || !plugIn.oid || !plugIn.path || !plugIn.dependencies)
        return ERROR_INVALID_PARAMETER;
    PlugInValue value;
    return value.Begin(kAgentPlugIns, plugIn.name) ? WriteValues(value, plugIn) : ERROR_INSUFFICIENT_BUFFER;
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
    return key.Set(property, type, data, size);
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
    PlugInValue value;
    if (!value.Begin(kConsolePlugIns, name) || !value.SetText("ImagePath", path))
        return scope.Error(ERROR_INSUFFICIENT_BUFFER);
    // Its code is handed on as it came: the inner call has stored its text.
    if (const DWORD code = value.Write(REG_SZ))
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
