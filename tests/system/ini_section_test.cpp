// TARVO_ReadIniFileSection in another code page.

#include "kit/double_byte.h"
#include "kit/kit.h"

namespace {

using IniSection = kit::LibraryTest;

TEST_F(IniSection, TrailByteEndsNoHeader)
{
    const kit::DoubleByteCodePage japanese;
    const std::string file = Scratch().Make("read.ini", "[\x83]\na\n[\x83]]\nb\n[s]\nc\n");
    for (const auto& [section, line] : {std::pair("\x83]", "b"), {"s", "c"}}) {
        char buffer[4] = {};
        DWORD size = sizeof buffer;
        EXPECT_EQ(0U, TARVO_ReadIniFileSection(file.c_str(), section, buffer, &size));
        EXPECT_STREQ(line, buffer);
    }
}

} // namespace
