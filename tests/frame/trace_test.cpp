// What the log costs, and others at the open log.

#include "kit/kit.h"

namespace {

using Trace = kit::LibraryTest;

TEST_F(Trace, OthersMayWriteAndDeleteTheLog)
{
    const kit::TraceLog log(Scratch().Path("log"));
    const HANDLE other =
        CreateFileA(log.Path().c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, other) << GetLastError();
    CloseHandle(other);
    TARVO_SetLanguage(); // goes into a file without a name
}

TEST_F(Trace, NothingIsFormattedWithoutALog)
{
    static int formatted;
    formatted = 0;
    using Format = int(__cdecl*)(char*, size_t, const char*, va_list);
    const Format count = [](char* buffer, size_t size, const char* format, va_list arguments) {
        return ++formatted, _vsnprintf(buffer, size, format, arguments);
    };
    const kit::ImportPatch patch(kit::HookedModule(), "_vsnprintf", reinterpret_cast<void*>(count));
    char text[100];
    const auto callAll = [&] {
        TARVO_SetLanguage();
        TARVO_GetTarvoDllInstance();
        TARVO_GetLastErrorMessage(text, sizeof text);
        TARVO_CreateDirectory(Scratch().Path("made").c_str());
    };
    callAll();
    EXPECT_EQ(0, formatted);
    const kit::TraceLog log(Scratch().Path("log"));
    callAll();
    EXPECT_LT(9, formatted);
}

} // namespace
