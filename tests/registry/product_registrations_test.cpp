// A product's version, and where its localization resources lie.

#include <windows.h>

#include <aclapi.h>

#include "registry/product_key.h"

namespace {

using kit::RegistryValue;
using ProductRegistrations = ProductKeyTest;

constexpr char kLocalization[] = "SOFTWARE\\Norrin Vale\\Velmora\\Localization";

TEST_F(ProductRegistrations, VersionIsSetAndRecorded)
{
    const std::string key = std::string(kProductKey) + "\\Lamp";
    const kit::TraceLog log(Scratch().Path("trace.log"));
    for (const char* version : {"1.0", "2.0 |beta"}) {
        EXPECT_EQ(0U, TARVO_SetProductVersion(version, "Lamp"));
        EXPECT_EQ(RegistryValue::Text(version), kit::ReadValue(key, "CurrentVersion"));
    }
    EXPECT_TRUE(log.Contains("Product=[Lamp], version=[1.0]"));
    Uninstall();
    EXPECT_FALSE(kit::KeyExists("Software\\Norrin Vale"));
}

TEST_F(ProductRegistrations, ResourcePathIsJoinedAndRecorded)
{
    for (const char* directory : {"C:\\A\\", "C:\\A"}) {
        EXPECT_EQ(0U, TARVO_RegisterLocalizationResource(directory, "res"));
        EXPECT_EQ(RegistryValue::Text("C:\\A\\res"), kit::ReadValue(kLocalization, "res"));
    }
    Uninstall();
    EXPECT_FALSE(kit::KeyExists("Software\\Norrin Vale"));
}

TEST_F(ProductRegistrations, PolicyGuardsTheKeysOfTheFamily)
{
    kit::ImportHook guard("SetNamedSecurityInfoA", &SetNamedSecurityInfoA);
    std::vector<std::string> guarded;
    guard.Answer([&](char* name, auto...) { return guarded.emplace_back(name), DWORD{ERROR_ACCESS_DENIED}; });
    EXPECT_EQ(0U, TARVO_DefineSecurityPolicy(TARVO_POLICY_LOCKED));
    EXPECT_EQ(0U, TARVO_RegisterLocalizationResource("C:\\A", "res"));
    EXPECT_EQ(0U, TARVO_RegisterDelayLoadLibrary("C:\\a.dll"));
    const std::string family = "MACHINE\\SOFTWARE\\Norrin Vale\\Velmora\\";
    EXPECT_EQ((std::vector<std::string>{family + "Localization", family + "Delay Loading"}), guarded);
}

TEST_F(ProductRegistrations, RefusalsTouchNothing)
{
    const std::string tooLong(2048, 'x');
    struct RefusalCase {
        decltype(&TARVO_SetProductVersion) call;
        const char* first;
        const char* second;
        DWORD code;
        std::string text;
    };
    constexpr auto version = &TARVO_SetProductVersion;
    constexpr auto resource = &TARVO_RegisterLocalizationResource;
    const RefusalCase cases[] = {
        {version, "", "Lamp", 87, kit::SystemText(87)},
        {version, "1.0", "", 87, kit::SystemText(87)},
        {version, nullptr, "Lamp", 87, kit::SystemText(87)},
        {version, "1.0", nullptr, 87, kit::SystemText(87)},
        {version, tooLong.c_str(), "Lamp", ERROR_INSUFFICIENT_BUFFER, kit::SystemText(ERROR_INSUFFICIENT_BUFFER)},
        {resource, "", "res", 87, "Directory parameter is empty."},
        {resource, nullptr, "res", 87, "Directory parameter is empty."},
        {resource, "C:\\", "", 87, "BaseName parameter is empty."},
        {resource, "C:\\", nullptr, 87, "BaseName parameter is empty."},
        {resource, tooLong.c_str(), "res", ERROR_FILENAME_EXCED_RANGE, kit::SystemText(ERROR_FILENAME_EXCED_RANGE)},
    };
    for (const RefusalCase& row : cases) {
        EXPECT_EQ(row.code, row.call(row.first, row.second));
        EXPECT_EQ(row.text, kit::LastMessage());
    }
    EXPECT_FALSE(kit::KeyExists("Software\\Norrin Vale"));
    {
        const kit::ImportHook create("RegCreateKeyA", &RegCreateKeyA, 0, ERROR_ACCESS_DENIED);
        EXPECT_EQ(5U, TARVO_RegisterLocalizationResource("C:\\", "res"));
        EXPECT_EQ("CreateRegKey failed", kit::LastMessage());
    }
    const kit::ImportHook set("RegSetValueExA", &RegSetValueExA, 0, ERROR_DISK_FULL);
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, TARVO_RegisterLocalizationResource("C:\\", "res"));
    EXPECT_EQ("SetRegistryValue failed", kit::LastMessage());
}

} // namespace
