// Clearing what disables a service in the current hardware profile, with real keys.

#include "kit/kit.h"

namespace {

constexpr char kServices[] = "SYSTEM\\CurrentControlSet\\Services\\";
constexpr char kNodes[] = "SYSTEM\\CurrentControlSet\\Hardware Profiles\\Current\\System\\CurrentControlSet\\Enum\\";
constexpr char kFlags[] = "CSConfigFlags";

/** The key of a device node in the current hardware profile, gone with this. */
class NodeKey {
public:
    NodeKey(const std::string& node, DWORD flags) : path_(kNodes + node)
    {
        HKEY key = nullptr;
        // Volatile: Wine makes the profile's own key so, and takes nothing lasting below it.
        EXPECT_EQ(0, RegCreateKeyExA(HKEY_LOCAL_MACHINE, path_.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                                     nullptr, &key, nullptr));
        RegSetValueExA(key, kFlags, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&flags), sizeof flags);
        RegCloseKey(key);
    }
    ~NodeKey() { kit::RemoveKeyTree(path_.substr(0, path_.rfind('\\')), kit::View::kOwn); }
    NodeKey(const NodeKey&) = delete;
    NodeKey& operator=(const NodeKey&) = delete;

    auto Flags() const { return kit::ReadValue(path_, kFlags); }

private:
    std::string path_;
};

class HardwareProfile : public kit::LibraryTest {
protected:
    static DWORD Enable(const char* service)
    {
        return TARVO_EnableServiceInHWProfile(nullptr, service, nullptr, nullptr);
    }
};

constexpr struct NodeCase {
    const char* fact;
    const char* service;
    const char* enumValue; // the node's name as the system tells it; NULL for none
    const char* node;      // the one that must be found
    DWORD major;           // of the Windows version; 0 for the real one
} kNodeCases[] = {
    {"a name is made in capitals", "TarvoNode", nullptr, "ROOT\\LEGACY_TARVONODE\\0000", 0},
    {"blanks become underscores", "Tarvo My Node", nullptr, "ROOT\\LEGACY_TARVO_MY_NODE\\0000", 0},
    {"blanks stay on NT 4", "Tarvo My Node", nullptr, "ROOT\\LEGACY_TARVO MY NODE\\0000", 4},
    {"blanks go from Windows 2000 on", "Tarvo My Node", nullptr, "ROOT\\LEGACY_TARVO_MY_NODE\\0000", 5},
    {"a name is read as it stands", "Tarvo Read", "Root\\Legacy_of tarvo\\0007", "Root\\Legacy_of tarvo\\0007", 0},
    {"an empty name counts as none", "TarvoNode", "", "ROOT\\LEGACY_TARVONODE\\0000", 0},
};

TEST_F(HardwareProfile, NodeOfTheServiceIsFoundAndFreed)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    for (const NodeCase& row : kNodeCases) {
        SCOPED_TRACE(row.fact);
        const std::string service = kServices + std::string(row.service);
        if (row.enumValue)
            kit::WriteValue(service + "\\Enum", "0", kit::RegistryValue::Text(row.enumValue));
        kit::ImportHook version("GetVersionExA", &GetVersionExA);
        version.Answer([&](OSVERSIONINFOA* info) {
            const BOOL told = version.Original()(info);
            info->dwMajorVersion = row.major ? row.major : info->dwMajorVersion;
            info->dwMinorVersion = row.major ? 0 : info->dwMinorVersion;
            return told;
        });
        const NodeKey node(row.node, 7);
        const size_t before = log.Count(kNodes + std::string(row.node) + "]");
        EXPECT_EQ(0U, Enable(row.service));
        EXPECT_EQ(kit::RegistryValue::Dword(0), node.Flags());
        EXPECT_EQ(before + 1, log.Count(kNodes + std::string(row.node) + "]")) << "in these letters";
        kit::RemoveKeyTree(service, kit::View::kOwn);
    }
    EXPECT_FALSE(log.Contains("Read old value")) << "write access alone does not allow it";
    EXPECT_TRUE(log.HasEach({"Writing value CSConfigFlags=[0]"}));
}

TEST_F(HardwareProfile, FailuresGiveTheirCode)
{
    const NodeKey node("ROOT\\LEGACY_TARVONODE\\0000", 7);
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, Enable(nullptr));
    EXPECT_TRUE(log.Contains("Passed NULL as parameter"));
    {
        const kit::ImportHook set("RegSetValueExA", &RegSetValueExA, 0, ERROR_DISK_FULL);
        EXPECT_EQ(DWORD{ERROR_DISK_FULL}, Enable("TarvoNode"));
        EXPECT_TRUE(log.Contains("Failed to set registry value [" + std::string(kNodes) +
                                 "ROOT\\LEGACY_TARVONODE\\0000|CSConfigFlags]."));
    }
    const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, Enable("TarvoNode"));
    EXPECT_TRUE(log.Contains("\\0000], code: [5]."));
    EXPECT_EQ(kit::RegistryValue::Dword(7), node.Flags());
}

} // namespace
