// NormalizePath under a code page in which a trail byte may equal a backslash.

#include <gtest/gtest.h>

#include <string>

#include "files/path_utils.h"
#include "kit/import_hook.h"

namespace {

TEST(PathUtilsDoubleByte, TrailBytesAreNoSeparators)
{
    // Lead bytes as code page 932 has them, whatever the machine's own code page: the product asks once.
    kit::ImportHook info("GetCPInfo", &GetCPInfo, GetModuleHandleA(nullptr));
    info.Answer([&](UINT, CPINFO* page) { return info.Original()(932, page); });
    const std::pair<const char*, const char*> kCases[] = {
        {"C:\\\x95\\", "C:\\\x95\\"},                 // ends in a trail byte
        {"C:\\\x95\\\\", "C:\\\x95\\"},               // and in a separator behind it
        {"C:\\a\x95\\\\..\\b", "C:\\b"},              // the whole component goes
        {"C:\\\x95\\\x95\\.x", "C:\\\x95\\\x95\\.x"}, // no double backslash, no reference
        {"C:\\\x95\\.", "C:\\\x95\\."},               // a name that ends in a dot
        {"C:\\\x95\\..", "C:\\\x95\\.."},
        {"C:\\x\\\x95\\\\.\\y", "C:\\x\\\x95\\\\y"},
        {"\x95\\\x95\\\\\\a", "\x95\\\x95\\\\a"}, // the first two characters are four bytes
        {"C:\\a\x95", "C:\\a\x95"},               // half a character at the end
    };
    for (const auto& [path, expected] : kCases) {
        std::string text = path;
        tarvo::NormalizePath(text.data());
        EXPECT_STREQ(expected, text.c_str()) << testing::PrintToString(path);
    }
}

} // namespace
