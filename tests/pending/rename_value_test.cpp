// What others put into the value, and what the registry or the memory refuses.

#include "kit/kit.h"

#include <cstring>

namespace {

using kit::PendingValue;
using Pairs = PendingValue::Pairs;
using PendingRenameValue = kit::LibraryTest;

constexpr wchar_t kOurs[] = L"\\??\\C:\\ours\0\0\0"; // the pair that the tests add, and the end of the list

DWORD AddOurs()
{
    return TARVO_RenameAfterReboot("C:\\ours", nullptr);
}

template <size_t Size> std::wstring Units(const wchar_t (&text)[Size])
{
    return {text, Size - 1};
}

/** Everything the value holds, as UTF-16. */
std::wstring ValueUnits()
{
    return PendingValue::ReadRaw().value_or(PendingValue::Raw{0, L"no value"}).units;
}

TEST_F(PendingRenameValue, ValueThatOthersFilledBetweenTwoFlushesIsFull)
{
    Pairs full(5120, {R"(\??\D:\x)", ""});
    EXPECT_EQ(0U, AddOurs());
    PendingValue::Write(full);
    EXPECT_EQ(8U, AddOurs());
    EXPECT_EQ(full, PendingValue::Read());
    full.pop_back();
    PendingValue::Write(full);
    EXPECT_EQ(0U, TARVO_ReceivePFOsInfo());
    EXPECT_EQ(0U, AddOurs());
    full.emplace_back(R"(\??\C:\ours)", "");
    EXPECT_EQ(full, PendingValue::Read());
    PendingValue::Write({});
    EXPECT_EQ(0U, AddOurs()) << "what filled the list is gone";
    EXPECT_EQ((Pairs{{R"(\??\C:\ours)", ""}}), PendingValue::Read());
}

TEST_F(PendingRenameValue, NothingIsReadBehindTheData)
{
    struct ByteCase {
        const char* fact;
        std::string_view bytes;
        Pairs pairs;
    };
    using namespace std::string_view_literals;
    const ByteCase kCases[] = {
        {"no closing zero", "s\0\0\0t\0\0\0"sv, {{"s", "t"}}},
        {"no zero behind the target", "s\0\0\0t\0"sv, {{"s", "t"}}},
        {"no zero behind the source", "s\0"sv, {{"s", ""}}},
        {"half a character at the end", "s\0\0\0t\0u"sv, {{"s", "t"}}},
        {"half a character is nothing", "s"sv, {}},
        {"half of the closing zero", "s\0\0\0t\0\0\0\0"sv, {{"s", "t"}}},
    };
    for (const ByteCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        PendingValue::Write({});
        // Sizes and reads are answered as by a Windows that adds no closing zero.
        kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
        query.Answer([&](auto, auto, auto, DWORD* type, BYTE* data, DWORD* size) -> LSTATUS {
            const DWORD room = std::exchange(*size, static_cast<DWORD>(row.bytes.size()));
            if (type)
                *type = REG_MULTI_SZ;
            if (data && room < row.bytes.size())
                return ERROR_MORE_DATA;
            if (data)
                memcpy(data, row.bytes.data(), row.bytes.size());
            return ERROR_SUCCESS;
        });
        EXPECT_EQ(0U, AddOurs());
        Pairs expected = row.pairs;
        expected.emplace_back(R"(\??\C:\ours)", "");
        EXPECT_EQ(expected, PendingValue::Read());
    }
}

TEST_F(PendingRenameValue, AMegabyteIsCarriedThrough)
{
    // One name of half a million characters that the code page lacks, and one that it holds.
    const std::wstring pairs = L"\\??\\C:\\" + std::wstring(250000, L'\x65E5') + Units(L"\0\0\\??\\C:\\") +
                               std::wstring(250000, L'x') + Units(L"\0\0");
    PendingValue::WriteRaw(pairs + L'\0');
    EXPECT_EQ(0U, AddOurs());
    EXPECT_TRUE(pairs + Units(kOurs) == ValueUnits());
    char source[MAX_PATH];
    EXPECT_EQ(2U, TARVO_FindSourceInPFOs("C:\\x", source, sizeof source));
}

TEST_F(PendingRenameValue, ValueThatGrowsWhileReadIsAskedForAgain)
{
    PendingValue::Write({{R"(\??\D:\a)", ""}});
    kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
    query.Answer([&](HKEY key, auto name, auto reserved, DWORD* type, BYTE* data, DWORD* size) {
        const LSTATUS code = query.Original()(key, name, reserved, type, data, size);
        if (query.Calls() == 1)
            PendingValue::Write({{R"(\??\D:\a)", ""}, {R"(\??\D:\b)", R"(!\??\D:\c)"}});
        return code;
    });
    EXPECT_EQ(0U, AddOurs());
    EXPECT_EQ((Pairs{{R"(\??\D:\a)", ""}, {R"(\??\D:\b)", R"(!\??\D:\c)"}, {R"(\??\C:\ours)", ""}}),
              PendingValue::Read());
}

TEST_F(PendingRenameValue, ValueThatGrowsEachTimeIsGivenUp)
{
    kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
    query.Answer([](auto, auto, auto, auto, BYTE* buffer, DWORD* size) -> LSTATUS {
        *size = 10;
        return buffer ? ERROR_MORE_DATA : ERROR_SUCCESS;
    });
    EXPECT_TRUE(kit::Gives(ERROR_MORE_DATA, AddOurs()));
    EXPECT_LE(query.Calls(), 20);
}

TEST_F(PendingRenameValue, KeyThatDoesNotOpenIsReportedByEachExport)
{
    const Pairs before = {{R"(\??\D:\a)", ""}};
    PendingValue::Write(before);
    kit::TraceLog log(Scratch().Path("trace.log"));
    const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
    char source[MAX_PATH] = "unset";
    const std::pair<const char*, DWORD (*)(char*)> kExports[] = {
        {"TARVO_RenameAfterReboot", [](char*) { return AddOurs(); }},
        {"TARVO_RemovePendingFileOperation", [](char*) { return TARVO_RemovePendingFileOperation(nullptr, nullptr); }},
        {"TARVO_FindSourceInPFOs", [](char* buffer) { return TARVO_FindSourceInPFOs("C:\\a", buffer, MAX_PATH); }},
        {"TARVO_ReceivePFOsInfo", [](char*) { return TARVO_ReceivePFOsInfo(); }},
    };
    for (const auto& [name, call] : kExports) {
        TARVO_SetLanguage(); // another text in between
        log.Clear();
        EXPECT_TRUE(kit::Gives(5, call(source))) << name;
        EXPECT_EQ(1U, log.Count("error: [5] (")) << "the inner step reports nothing itself";
        EXPECT_TRUE(log.HasEach({std::string("Function ") + name + " error: [5] (" + kit::SystemText(5) + ")",
                                 "RegOpenKeyEx failed to open [SYSTEM\\CurrentControlSet\\Control\\Session Manager], "
                                 "error code: [5]."}));
    }
    EXPECT_STREQ("", source);
    EXPECT_EQ(before, PendingValue::Read());
}

TEST_F(PendingRenameValue, WithoutMemoryNothingIsLost)
{
    struct SweepCase {
        const char* fact;
        bool traced;
        bool again; // after an addition to another value
        DWORD (*call)();
        std::wstring after;
    };
    const std::wstring before = Units(L"\\??\\C:\\\x65E5\0!\\??\\C:\\\x672C\0\\??\\C:\\x\0\0\0");
    const std::wstring added = Units(L"\\??\\C:\\\x65E5\0!\\??\\C:\\\x672C\0\\??\\C:\\x\0\0") + Units(kOurs);
    const SweepCase kCases[] = {
        {"adding", false, false, AddOurs, added},
        {"adding, traced", true, false, AddOurs, added},
        {"adding again", false, true, AddOurs, added},
        {"removing", false, false, [] { return TARVO_RemovePendingFileOperation("C:\\x", nullptr); },
         Units(L"\\??\\C:\\\x65E5\0!\\??\\C:\\\x672C\0\0")},
        {"receiving", false, false, [] { return TARVO_ReceivePFOsInfo(); }, before},
    };
    for (const SweepCase& row : kCases) {
        bool failed = true;
        unsigned n = 0;
        while (failed && ++n < 200) {
            SCOPED_TRACE(std::string(row.fact) + ", failing allocation " + std::to_string(n));
            Reload(); // fails if the run before kept a block
            if (row.traced)
                kit::TraceLog(Scratch().Path("trace.log"));
            if (row.again) {
                PendingValue::Write({});
                EXPECT_EQ(0U, AddOurs());
            }
            PendingValue::WriteRaw(before);
            Heap().FailAllocation(n);
            const DWORD code = row.call();
            failed = Heap().FailureHappened();
            Heap().FailAllocation(0);
            EXPECT_TRUE(code == 0 || code == 8) << code;
            const std::wstring after = ValueUnits();
            EXPECT_TRUE(after == before || (code == 0 && after == row.after)) << testing::PrintToString(after);
            if (!failed) {
                EXPECT_EQ(0U, code);
                EXPECT_EQ(row.after, after);
            }
        }
        EXPECT_GT(n, 5U);
        EXPECT_LT(n, 200U);
    }
}

} // namespace
