// The two converters between a code page and UTF-8.

#include <cstring>

#include "kit/kit.h"

namespace {

using Converters = kit::LibraryTest;

constexpr DWORD kWestern = 1252;
constexpr DWORD kJapanese = 932;
constexpr int kUntouched = 4711;

const struct ConversionRow {
    const char* fact;
    bool toUtf8;
    DWORD codePage;
    const char* source;
    std::string_view result;
} kConversions[] = {
    {"nothing stays nothing", true, kWestern, "", ""},
    {"ASCII stays as it is", true, kWestern, "a=1", "a=1"},
    {"two and three bytes", true, kWestern, "\xE4\x80", "\xC3\xA4\xE2\x82\xAC"},
    {"a double-byte character whose trail byte is a backslash", true, kJapanese, "\x83\x5C\\", "\xE3\x82\xBD\\"},
    {"UTF-8 is a code page too", true, CP_UTF8, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
    {"a stray byte of UTF-8 becomes the replacement character", true, CP_UTF8, "a\xFFz", "a\xEF\xBF\xBDz"},
    {"back to the code page", false, kWestern, "\xC3\xA4\xE2\x82\xAC", "\xE4\x80"},
    {"back to double bytes", false, kJapanese, "\xE3\x82\xBD\\", "\x83\x5C\\"},
    {"a character outside the code page", false, kWestern, "a\xE3\x82\xBDz", "a?z"},
    {"a surrogate pair outside the code page", false, kWestern, "a\xF0\x9F\x98\x80z", "a??z"},
    {"a surrogate pair", false, CP_UTF8, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
};

DWORD Convert(const ConversionRow& row, char* destination, int* size)
{
    return row.toUtf8 ? TARVO_MultiByteToUtf8(row.source, row.codePage, destination, size)
                      : TARVO_Utf8ToMultiByte(row.source, destination, row.codePage, size);
}

TEST_F(Converters, TextAndSizes)
{
    AllowOpenHandles(); // the system keeps a code page's table open from its first use on
    for (const ConversionRow& row : kConversions) {
        SCOPED_TRACE(row.fact);
        const int required = static_cast<int>(row.result.size()) + 1;
        int size = kUntouched;
        EXPECT_EQ(0U, Convert(row, nullptr, &size));
        EXPECT_EQ(required, size);
        for (const int room : {required - 1, 0, -1}) {
            char buffer[64] = "untouched";
            size = room;
            EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, Convert(row, buffer, &size)) << room;
            EXPECT_EQ(room, size);
            EXPECT_STREQ("untouched", buffer);
        }
        for (const int room : {required, required + 1}) {
            std::string buffer(64, '~');
            size = room;
            EXPECT_EQ(0U, Convert(row, buffer.data(), &size)) << room;
            EXPECT_EQ(room, size) << "the size given stays";
            EXPECT_EQ(std::string(row.result) + '\0' + std::string(64 - static_cast<size_t>(required), '~'), buffer);
        }
    }
}

TEST_F(Converters, EachFailingConversionGivesItsCode)
{
    for (const int failing : {1, 2}) {
        SCOPED_TRACE(failing);
        char buffer[10];
        int size = sizeof buffer;
        {
            kit::ImportHook hook("MultiByteToWideChar", &MultiByteToWideChar);
            hook.FailNth(failing, ERROR_NO_UNICODE_TRANSLATION, 0);
            EXPECT_EQ(DWORD{ERROR_NO_UNICODE_TRANSLATION}, TARVO_MultiByteToUtf8("a", kWestern, buffer, &size));
        }
        kit::ImportHook hook("WideCharToMultiByte", &WideCharToMultiByte);
        hook.FailNth(failing, ERROR_NO_UNICODE_TRANSLATION, 0);
        EXPECT_EQ(DWORD{ERROR_NO_UNICODE_TRANSLATION}, TARVO_Utf8ToMultiByte("a", buffer, kWestern, &size));
    }
}

TEST_F(Converters, MemoryRunsOut)
{
    int failures = 0;
    WithEachAllocationFailing([&] {
        char buffer[10] = "untouched";
        int size = sizeof buffer;
        const DWORD code = TARVO_MultiByteToUtf8("a", kWestern, buffer, &size);
        failures += Heap().FailureHappened();
        EXPECT_EQ(Heap().FailureHappened() ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0U, code);
        EXPECT_STREQ(Heap().FailureHappened() ? "untouched" : "a", buffer);
    });
    EXPECT_EQ(1, failures);
    EXPECT_EQ(kit::SystemText(ERROR_NOT_ENOUGH_MEMORY), kit::LastMessage());
}

} // namespace
