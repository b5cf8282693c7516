// Writing a registry value named by a locator.

#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kValues = 1000;
constexpr char kData[] = "C:\\Program Files\\Product";

void WritePlain(const std::string& subkey, const std::string& name)
{
    HKEY key = nullptr;
    Require(RegCreateKeyExA(HKEY_CURRENT_USER, subkey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) == 0,
            "RegCreateKeyEx");
    Require(RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(kData), sizeof kData) == 0,
            "RegSetValueEx");
    RegCloseKey(key);
}

} // namespace

void MeasureRegistry(Report& report)
{
    const Library library;
    const ScratchKey scratch;
    const std::string subkey = scratch.Subkey("Product\\Settings");
    std::vector<std::string> names;
    std::vector<std::string> locators;
    for (int index = 0; index < kValues; ++index) {
        names.push_back(Format("Value %03d", index));
        locators.push_back("HKEY_CURRENT_USER\\" + subkey + "\\\\" + names.back() + "|" + kData);
    }
    const auto writeEntries = [&] {
        for (const std::string& locator : locators)
            Require(library.CreateRegistryEntry(locator.c_str(), REG_SZ, FALSE) == 0, "TARVO_CreateRegistryEntry");
    };
    const auto writePlain = [&] {
        for (const std::string& name : names)
            WritePlain(subkey, name);
    };
    report.Compare("1000 x TARVO_CreateRegistryEntry, four-level key, no record",
                   "RegCreateKeyExA, RegSetValueExA, RegCloseKey", 1.4, {writeEntries}, {writePlain});
}

} // namespace bench
