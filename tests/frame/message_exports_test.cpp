// The text of the last failure, and the exports that only make texts.

#include "kit/kit.h"

namespace {

using Messages = kit::LibraryTest;

TEST_F(Messages, LastFailureOutlivesSuccessButNotTheNextFailure)
{
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, TARVO_OpenRollBackLog(Scratch().Path("none").c_str()));
    EXPECT_EQ(0U, TARVO_GetString(1, nullptr, 0));
    EXPECT_EQ(kit::SystemText(ERROR_FILE_NOT_FOUND), kit::LastMessage());
    EXPECT_EQ(std::string::npos, kit::LastMessage().find_first_of("\r\n"));
    EXPECT_EQ(1U, TARVO_SetLanguage());
    EXPECT_EQ(kit::SystemText(ERROR_INVALID_FUNCTION), kit::LastMessage());
    EXPECT_EQ(DWORD(-2), TARVO_CloseRollBackLog());
    EXPECT_EQ("Rollback is not opened", kit::LastMessage());
}

TEST_F(Messages, TextOfTheSystemIsAskedForOnOneLine)
{
    kit::ImportHook format("FormatMessageA", &FormatMessageA);
    format.Answer(
        [&](DWORD flags, const void* source, DWORD code, DWORD language, char* buffer, DWORD size, va_list* arguments) {
            EXPECT_EQ(0x13FFU, flags);
            EXPECT_EQ(1U, code);
            EXPECT_EQ(0U, language);
            return format.Original()(flags, source, code, language, buffer, size, arguments);
        });
    TARVO_SetLanguage();
    EXPECT_EQ(1, format.Calls());
    format.FailAll(ERROR_NOT_ENOUGH_MEMORY, 0);
    TARVO_SetLanguage();
    EXPECT_EQ("Unspecified error", kit::LastMessage());
}

TEST_F(Messages, TextOf2000BytesIsCutTo1023)
{
    kit::ImportHook format("FormatMessageA", &FormatMessageA);
    format.Answer([](DWORD, const void*, DWORD, DWORD, char* buffer, DWORD, va_list*) {
        auto* const text = static_cast<char*>(LocalAlloc(LPTR, 2001));
        memset(text, 'm', 2000);
        memcpy(buffer, &text, sizeof text);
        return DWORD{2000};
    });
    TARVO_SetLanguage();
    char buffer[5000];
    TARVO_GetLastErrorMessage(buffer, sizeof buffer);
    EXPECT_EQ(std::string(1023, 'm'), buffer);
}

TEST_F(Messages, TextsFitTheCallersBuffer)
{
    TARVO_SetLanguage();
    const std::pair<std::string, void (*)(char*, int)> kExports[] = {
        {kit::SystemText(1), [](char* buffer, int size) { TARVO_GetLastErrorMessage(buffer, size); }},
        {"<Insert error string here, code = -5>",
         [](char* buffer, int size) { EXPECT_EQ(0U, TARVO_GetString(-5, buffer, size)); }},
    };
    for (const auto& [whole, call] : kExports) {
        for (const size_t size : {size_t{1}, size_t{2}, whole.size(), whole.size() + 1, size_t{1024}}) {
            std::string buffer(1100, '\x7F');
            call(buffer.data(), static_cast<int>(size));
            EXPECT_EQ(whole.substr(0, size - 1), buffer.c_str());
            EXPECT_EQ(std::string::npos, buffer.find_first_not_of('\x7F', size)) << size;
        }
    }
    char untouched[] = "abc";
    for (const int size : {0, -1})
        EXPECT_EQ(0U, TARVO_GetString(5, untouched, size));
    EXPECT_EQ(0U, TARVO_GetString(5, nullptr, 10));
    EXPECT_STREQ("abc", untouched);
}

} // namespace
