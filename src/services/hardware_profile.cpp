// A service must not stay disabled in the current hardware profile, through the flags of its device node there.

#include "base/multibyte.h"
#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/registry_key.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr char kFlagsValue[] = "CSConfigFlags";
constexpr DWORD kKeptFlags = 0x0FFFFFF8; // without disabled, do not create, do not start, and the top four

/** Reads the name that the system gave the service's device node. */
void ReadNodeName(const char* service, RegistryText& node)
{
    RegistryText path;
    path.Format("SYSTEM\\CurrentControlSet\\Services\\%s\\Enum", service);
    RegistryKey key;
    const DWORD opened = key.Open(HKEY_LOCAL_MACHINE, path.Get(), KEY_READ);
    TracePrint(kInfo, 2, "Query registry key [%s], result [%d].\n", path.Get(), static_cast<int>(opened));
    if (opened != ERROR_SUCCESS)
        return;
    DWORD size = RegistryText::kSize;
    const DWORD read = key.QueryString("0", node.Buffer(), size);
    TracePrint(kInfo, 2, "Query registry value [%s], result [%d].\n", "0", static_cast<int>(read));
    if (read == ERROR_SUCCESS)
        TracePrint(kInfo, 2, "Retrieved HW profile subkey name: [%s]\n", node.Get());
    else
        node.Clear();
}

/** Makes the name that the system will give the device node of a service which has none yet. */
void MakeNodeName(const char* service, RegistryText& node)
{
    node.Format("Root\\LEGACY_%s\\0000", service);
    UpperInPlace(node.Buffer());
    if (TARVO_GetPlatform() >= TARVO_PLATFORM_NT50) {
        while (char* const blank = FindChar(node.Buffer(), ' '))
            *blank = '_';
    }
    TracePrint(kInfo, 2, "Formatted HW profile subkey name: [%s]\n", node.Get());
}

DWORD OpenNode(const char* path, RegistryKey& key)
{
    const DWORD code = key.Open(HKEY_LOCAL_MACHINE, path, KEY_WRITE);
    if (code == ERROR_SUCCESS)
        TracePrint(kInfo, 2, "Successfully opened Registry key [%s].\n", path);
    else if (code == ERROR_FILE_NOT_FOUND)
        TracePrint(kWarning, 1, "Registry key [%s] doesn't exist. So service is not disabled.\n", path);
    else
        TracePrint(kError, 1, "Unexpected error on opening Registry key [%s], code: [%d].\n", path,
                   static_cast<int>(code));
    return code;
}

DWORD ClearFlags(const char* path, const RegistryKey& key)
{
    // Write access alone does not include the right to read: where the system
    // insists on that, all flags are cleared.
    DWORD flags = 0;
    DWORD old = 0;
    if (key.QueryDword(kFlagsValue, old) == ERROR_SUCCESS) {
        TracePrint(kInfo, 2, "Read old value CSConfigFlags=[%x]\n", static_cast<unsigned>(old));
        flags = old & kKeptFlags;
    }
    TracePrint(kInfo, 2, "Writing value CSConfigFlags=[%x]\n", static_cast<unsigned>(flags));
    const DWORD code = key.SetDword(kFlagsValue, flags);
    if (code != ERROR_SUCCESS)
        TracePrint(kError, 1, "Failed to set registry value [%s|CSConfigFlags].\n", path);
    return code;
}

DWORD Enable(const char* service)
{
    if (!service) {
        TracePrint(kError, 1, "%s", "Passed NULL as parameter\n");
        return ERROR_INVALID_PARAMETER;
    }
    RegistryText node;
    ReadNodeName(service, node);
    if (node.Empty())
        MakeNodeName(service, node);
    RegistryText path;
    path.Format("%s\\%s", "SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Enum",
                node.Get());
    RegistryKey key;
    if (const DWORD code = OpenNode(path.Get(), key))
        return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code;
    return ClearFlags(path.Get(), key);
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_EnableServiceInHWProfile(const char* machine, const char* service, const char* hardwareProfile,
                                             const char* controlSet)
{
    FunctionScope scope("TARVO_EnableServiceInHWProfile", 0);
    TracePrint(kInfo, 1, "Called with: [%s] [%s] [%s] [%s]\n", ShownMachine(machine), Shown(service),
               Shown(hardwareProfile, "<Current HWProfile>"), Shown(controlSet, "<Current ControlSet>"));
    return scope.End(Enable(service));
}
