// Clearing what disables a service in the current hardware profile, with real keys, against its record.

#include "kit/kit.h"

namespace {

using HardwareProfileRecords = kit::BehaviorTest;
using kit::Stage;

const std::string kServices = "SYSTEM\\CurrentControlSet\\Services\\";
const std::string kNodes = "SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Enum\\";

/** Enables a service whose node is there, and tells the flags of the node. */
void Enable(Stage& stage, const char* service, const std::string& node)
{
    const std::string path = kNodes + node;
    const DWORD flags = 7;
    HKEY key = nullptr;
    // Volatile: Wine makes the profile's own key so, and takes nothing lasting below it.
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                    nullptr);
    RegSetValueExA(key, "CSConfigFlags", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&flags), sizeof flags);
    RegCloseKey(key);
    stage.Call(&TARVO_EnableServiceInHWProfile, "there", service, "profile", "set");
    stage.TellValue(path, "CSConfigFlags");
    kit::RemoveKeyTree(path.substr(0, path.rfind('\\')), kit::View::kOwn);
}

TEST_F(HardwareProfileRecords, Enabling)
{
    Open("services/hardware_profile");
    Case("the name of a node is made, and what disables it cleared",
         [](Stage& stage) { Enable(stage, "TarvoNode", "ROOT\\LEGACY_TARVONODE\\0000"); });
    Case("the system names the node, or leaves it empty", {.failures = false}, [](Stage& stage) {
        for (const char* name : {"", "Root\\Legacy_of tarvo\\0007"}) {
            kit::WriteValue(kServices + "Tarvo Read\\Enum", "0", kit::RegistryValue::Text(name));
            Enable(stage, "Tarvo Read", *name ? name : "ROOT\\LEGACY_TARVO_READ\\0000");
        }
        kit::RemoveKeyTree(kServices + "Tarvo Read", kit::View::kOwn);
    });
    Case("other flags stay where they can be read", {.failures = false}, [](Stage& stage) {
        kit::ImportHook read("RegQueryValueExA", &RegQueryValueExA);
        read.Answer([](HKEY, const char*, DWORD*, DWORD*, BYTE* bytes, DWORD* size) {
            return memset(bytes, 0xFF, *size), ERROR_SUCCESS;
        });
        Enable(stage, "TarvoNode", "ROOT\\LEGACY_TARVONODE\\0000");
    });
    Case("blanks stay before Windows 2000, and nothing is disabled without a node", {.failures = false},
         [](Stage& stage) {
             kit::ImportHook version("GetVersionExA", &GetVersionExA);
             for (const DWORD major : {4, 5}) {
                 version.Answer([&](OSVERSIONINFOA* info) {
                     const DWORD size = info->dwOSVersionInfoSize;
                     memset(info, 0, size);
                     *info = {size, major, 0, 1, VER_PLATFORM_WIN32_NT, ""};
                     return TRUE;
                 });
                 stage.Call(&TARVO_EnableServiceInHWProfile, nullptr, "Tarvo my node", nullptr, nullptr);
             }
             stage.Call(&TARVO_EnableServiceInHWProfile, nullptr, nullptr, nullptr, nullptr);
         });
}

} // namespace
