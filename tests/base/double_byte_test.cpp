// Texts in a code page with double-byte characters, whose second bytes may be a backslash or a letter.

#include "kit/double_byte.h"
#include "registry/product_key.h"

namespace {

/** The code page that the library takes for the system's is 932; bytes are stored as they are. */
class DoubleByte : public ProductKeyTest {
protected:
    void SetUp() override
    {
        ProductKeyTest::SetUp();
        Reload();
        japanese_.emplace();
        map_.emplace("LCMapStringA", &LCMapStringA);
        map_->Answer([](LCID locale, DWORD mapping, const char* text, int length, char* mapped, int size) {
            wchar_t wide[100];
            wchar_t wideMapped[100];
            const int count = MultiByteToWideChar(932, 0, text, length, wide, 100);
            LCMapStringW(locale, mapping, wide, count, wideMapped, 100);
            return WideCharToMultiByte(932, 0, wideMapped, count, mapped, size, nullptr, nullptr);
        });
        kit::PendingValue::Write({});
    }

    std::optional<kit::DoubleByteCodePage> japanese_;
    std::optional<kit::ImportHook<decltype(&LCMapStringA)>> map_;
};

TEST_F(DoubleByte, SecondBytesAreNoSeparators)
{
    const std::pair<const char*, const char*> kNormalised[] = {
        {"C:\\\x95\\", "C:\\\x95\\"},                 // ends in a second byte
        {"C:\\\x95\\\\", "C:\\\x95\\"},               // and in a separator behind it
        {"C:\\a\x95\\\\..\\b", "C:\\b"},              // the whole component goes
        {"C:\\\x95\\\x95\\.x", "C:\\\x95\\\x95\\.x"}, // no double backslash, no reference
        {"C:\\\x95\\.", "C:\\\x95\\."},               // a name that ends in a dot
        {"C:\\\x95\\..", "C:\\\x95\\.."},
        {"C:\\x\\\x95\\\\.\\y", "C:\\x\\\x95\\\\y"},
        {"C:\\a\x95", "C:\\a\x95"}, // half a character at the end
    };
    for (const auto& [path, stored] : kNormalised) {
        kit::PendingValue::Write({});
        EXPECT_EQ(0U, TARVO_RenameAfterReboot(path, nullptr));
        EXPECT_EQ((kit::PendingValue::Pairs{{std::string("\\??\\") + stored, ""}}), kit::PendingValue::Read());
    }
    EXPECT_EQ(0U, TARVO_RegisterLocalizationResource("C:\\\x83\\", "res"));
    EXPECT_EQ(kit::RegistryValue::Text("C:\\\x83\\\\res"),
              kit::ReadValue(std::string(kProductKey) + "\\Localization", "res"));
    EXPECT_EQ(0U, TARVO_RegisterDelayLoadLibrary("C:\\x\x83\\x.dll"));
    EXPECT_TRUE(kit::ReadValue(std::string(kProductKey) + "\\Delay Loading", "x\x83\\x.dll"));
}

TEST_F(DoubleByte, CharactersHaveCaseAsAWhole)
{
    // Pending, looked for, and whether they are the same: letters in second place, wide letters, half characters.
    const struct {
        const char* pending;
        const char* lookedFor;
        bool same;
    } kCases[] = {
        {"C:\\\x83\x61", "C:\\\x83\x41", false}, {"C:\\\x83\x41X", "C:\\\x83\x41x", true},
        {"C:\\\x82\x60", "C:\\\x82\x81", true},  {"C:\\\x83", "C:\\\x83", true},
        {"C:\\\x83", "C:\\\x83\x41", false},
    };
    for (const auto& row : kCases) {
        EXPECT_EQ(0U, TARVO_RenameAfterReboot(row.pending, nullptr));
        EXPECT_EQ(0U, TARVO_RemovePendingFileOperation(row.lookedFor, nullptr));
        EXPECT_EQ(row.same, kit::PendingValue::Read().empty()) << row.pending;
        EXPECT_EQ(0U, TARVO_RemovePendingFileOperation(nullptr, nullptr));
    }
}

} // namespace
