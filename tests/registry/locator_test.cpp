// What locators name at their limits.

#include "uninstall/log_file.h"

namespace {

using Locators = kit::LibraryTest;

TEST_F(Locators, NamesEndWithin2047BytesAndDataGoesOn)
{
    const std::string log = Record();
    const std::string beginning = Key().Locator("k") + "\\\\";
    const std::string fits(2046 - beginning.size(), 'n'); // the bar is byte 2047
    const std::string data = std::string(5000, 'd') + std::string("\0e\0", 3);
    const auto write = [](const std::string& locator) {
        return TARVO_CreateRegistryEntryEx(locator.c_str(), REG_MULTI_SZ, FALSE, TRUE);
    };
    EXPECT_EQ(0U, write(beginning + fits + "|" + data));
    EXPECT_EQ((kit::RegistryValue{REG_MULTI_SZ, data + '\0'}), kit::ReadValue(Key().Path("k"), fits));
    EXPECT_EQ(beginning + fits + "=1", LogLines(log).back()) << "recorded whole";
    EXPECT_EQ(87U, write(beginning + fits + "n|" + data));
    EXPECT_EQ(std::nullopt, kit::ReadValue(Key().Path("k"), fits + "n"));
}

} // namespace
