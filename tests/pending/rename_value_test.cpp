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

TEST_F(PendingRenameValue, PairsOfOthersComeBackBitForBit)
{
    // A change of letter case, a lost character or another order would show.
    const std::wstring kPairs[] = {
        Units(L"\\??\\C:\\\x65E5\x672C\0!\\??\\C:\\\x30C6.dll\0"),       // in no Western code page
        Units(L"\\??\\C:\\\x0100\x2260\0\0"),                            // look like A and = to a code page
        Units(L"\\??\\C:\\\x65E5\\.\\..\\\\x\\\0!\\??\\C:\\\x65E5\\\0"), // as it was, closing backslash and all
        Units(L"\\??\\C:\\\xD83D\0!\\??\\C:\\\xDE00\xD83D\0"),           // surrogates in no order
        Units(L"\\??\\C:\\\x00E9\x20AC\x0081\0!\\??\\C:\\\x00FC\0"),     // within code page 1252
        Units(L"*1\\??\\C:\\marked\0*2\\??\\C:\\x\0"),
        Units(L"*1\\??\\C:\\\x65E5\0*\0"),
        Units(L"x\0y\0"),
        Units(L"\\??\\C:\\b\0\0\\??\\C:\\a\0\0\\??\\C:\\b\0\0"),           // order and repetition
        Units(L"\\??\\C:\\?\0\0\\??\\C:\\\x65E5\0\0\\??\\C:\\\x672C\0\0"), // alike once the code page has them
    };
    for (const bool traced : {false, true}) { // an untraced merge takes a shorter way
        if (traced)
            kit::TraceLog(Scratch().Path("trace.log"));
        for (const std::wstring& pairs : kPairs) {
            SCOPED_TRACE(testing::PrintToString(pairs));
            PendingValue::WriteRaw(pairs + L'\0');
            EXPECT_EQ(0U, AddOurs());
            EXPECT_EQ(pairs + Units(kOurs), ValueUnits());
            EXPECT_EQ(0U, TARVO_RemovePendingFileOperation("C:\\ours", nullptr));
            EXPECT_EQ(pairs + L'\0', ValueUnits());
        }
    }
}

struct MergeCase {
    const char* fact;
    Pairs received;
    DWORD (*change)();
    Pairs meanwhile; // what others have left there when the change is written
    Pairs after;
};

// clang-format off
const MergeCase kMerging[] = {
    {"pairs added meanwhile stay, behind ours", {}, AddOurs,
     {{R"(\??\D:\x)", R"(!\??\D:\y)"}, {R"(\??\D:\z)", ""}},
     {{R"(\??\C:\ours)", ""}, {R"(\??\D:\x)", R"(!\??\D:\y)"}, {R"(\??\D:\z)", ""}}},
    {"a removed pair goes though the value holds it", {{R"(\??\C:\x)", ""}, {R"(\??\C:\y)", ""}},
     [] { return TARVO_RemovePendingFileOperation("C:\\x", nullptr); },
     {{R"(\??\C:\x)", ""}, {R"(\??\C:\y)", ""}, {R"(\??\D:\z)", ""}},
     {{R"(\??\C:\y)", ""}, {R"(\??\D:\z)", ""}}},
    {"what both hold is written once", {}, AddOurs,
     {{R"(\??\D:\z)", ""}, {R"(\??\c:\OURS)", ""}},
     {{R"(\??\C:\ours)", ""}, {R"(\??\D:\z)", ""}}},
    {"half of a pair is not the pair", {}, AddOurs,
     {{R"(\??\C:\ours)", R"(!\??\D:\y)"}},
     {{R"(\??\C:\ours)", ""}, {R"(\??\C:\ours)", R"(!\??\D:\y)"}}},
    {"a value that was emptied holds what was received", {{R"(\??\D:\z)", ""}}, AddOurs,
     {},
     {{R"(\??\D:\z)", ""}, {R"(\??\C:\ours)", ""}}},
    {"everything removed, and another pair added", {{R"(\??\C:\x)", ""}},
     [] { return TARVO_RemovePendingFileOperation(nullptr, nullptr); },
     {{R"(\??\C:\x)", ""}, {R"(\??\D:\z)", ""}},
     {{R"(\??\D:\z)", ""}}},
};
// clang-format on

TEST_F(PendingRenameValue, WritingMergesWhatOthersLeftMeanwhile)
{
    TARVO_SetPFOsImmediateFlush(0);
    for (const bool traced : {false, true}) {
        if (traced)
            kit::TraceLog(Scratch().Path("trace.log"));
        for (const MergeCase& row : kMerging) {
            SCOPED_TRACE(row.fact);
            PendingValue::Write(row.received);
            EXPECT_EQ(0U, row.change());
            PendingValue::Write(row.meanwhile);
            EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
            EXPECT_EQ(row.after, PendingValue::Read());
        }
    }
}

TEST_F(PendingRenameValue, EachFlushStartsFromTheValueAsItIs)
{
    const Pairs::value_type ours = {R"(\??\C:\ours)", ""};
    const Pairs::value_type theirs = {R"(\??\D:\x)", R"(!\??\D:\y)"};
    // What is there at the second flush; the first left ours.
    for (const Pairs& between : {Pairs{ours}, {ours, theirs}, {theirs, ours}, {}, {{R"(\??\D:\ours)", ""}}}) {
        PendingValue::Write({});
        EXPECT_EQ(0U, AddOurs());
        PendingValue::Write(between);
        EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\b", nullptr));
        Pairs after = between;
        after.emplace_back(R"(\??\C:\b)", "");
        EXPECT_EQ(after, PendingValue::Read());
    }
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

TEST_F(PendingRenameValue, NamesTheCodePageLacksAreMergedToo)
{
    PendingValue::WriteRaw(Units(L"\\??\\C:\\\x65E5\0\0\0"));
    TARVO_SetPFOsImmediateFlush(0);
    AddOurs();
    PendingValue::WriteRaw(Units(L"\\??\\C:\\\x672C\0\0\\??\\C:\\\x65E5\0\0\0"));
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ(Units(L"\\??\\C:\\\x65E5\0\0\\??\\C:\\ours\0\0\\??\\C:\\\x672C\0\0\0"), ValueUnits());
}

const struct MalformedCase {
    const char* fact;
    DWORD type;
    std::wstring units;
    DWORD code;
    std::wstring after; // once our pair was added
} kMalformed[] = {
    {"no data at all", REG_MULTI_SZ, L"", 0, Units(kOurs)},
    {"no data of a foreign type", REG_BINARY, L"", 0, Units(kOurs)},
    {"only the end of the list", REG_MULTI_SZ, Units(L"\0"), 0, Units(kOurs)},
    {"many ends", REG_MULTI_SZ, Units(L"\0\0\0\0"), 0, Units(kOurs)},
    {"a source without a target is a deletion", REG_MULTI_SZ, Units(L"a\0b\0c\0\0"), 0,
     Units(L"a\0b\0c\0\0") + Units(kOurs)},
    {"one text", REG_SZ, Units(L"a\0"), 0, Units(L"a\0\0") + Units(kOurs)},
    {"one text to be expanded", REG_EXPAND_SZ, Units(L"%windir%\\a\0"), 0, Units(L"%windir%\\a\0\0") + Units(kOurs)},
    {"nothing counts behind the end", REG_MULTI_SZ, Units(L"a\0b\0\0\x65E5\0x\0"), 0, Units(L"a\0b\0") + Units(kOurs)},
    {"bytes that are no text", REG_BINARY, Units(L"a\0b\0\0"), ERROR_INVALID_DATA, Units(L"a\0b\0\0")},
    {"a number", REG_DWORD, Units(L"ab"), ERROR_INVALID_DATA, Units(L"ab")},
};

TEST_F(PendingRenameValue, MalformedValuesAreReadAsFarAsTheyGo)
{
    for (const MalformedCase& row : kMalformed) {
        SCOPED_TRACE(row.fact);
        PendingValue::WriteRaw(row.units, row.type);
        EXPECT_TRUE(kit::Gives(row.code, AddOurs()));
        EXPECT_EQ(row.after, ValueUnits());
        EXPECT_EQ(row.code ? row.type : DWORD{REG_MULTI_SZ}, PendingValue::ReadRaw()->type);
    }
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

TEST_F(PendingRenameValue, ReadThatFailsLeavesTheValue)
{
    const Pairs before = {{R"(\??\D:\a)", ""}};
    PendingValue::Write(before);
    // Of the size and of the data; a value that grows each time must come to an end too.
    for (const auto& [sizeCode, dataCode] :
         {std::pair(0L, ERROR_IO_DEVICE), {ERROR_IO_DEVICE, 0}, {0, ERROR_MORE_DATA}}) {
        kit::ImportHook query("RegQueryValueExW", &RegQueryValueExW);
        query.Answer(
            [size = sizeCode, data = dataCode](auto, auto, auto, auto, BYTE* buffer, DWORD* needed) -> LSTATUS {
                *needed = 10;
                return buffer ? data : size;
            });
        EXPECT_TRUE(kit::Gives(static_cast<DWORD>(sizeCode + dataCode), AddOurs()));
        EXPECT_LE(query.Calls(), 20);
    }
    EXPECT_EQ(before, PendingValue::Read());
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

TEST_F(PendingRenameValue, FailedWriteIsTriedAgain)
{
    const Pairs before = {{R"(\??\D:\a)", ""}};
    PendingValue::Write(before);
    {
        kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA);
        open.FailNth(2, 0, ERROR_ACCESS_DENIED); // the first is for reading
        EXPECT_EQ(5U, AddOurs());
    }
    {
        const kit::ImportHook set("RegSetValueExW", &RegSetValueExW, 0, ERROR_REGISTRY_IO_FAILED);
        EXPECT_TRUE(kit::Gives(ERROR_REGISTRY_IO_FAILED, TARVO_UpdatePFOsInfo()));
        EXPECT_EQ(DWORD{ERROR_REGISTRY_IO_FAILED}, TARVO_RenameAfterReboot("C:\\b", nullptr));
    }
    EXPECT_EQ(before, PendingValue::Read());
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ((Pairs{{R"(\??\D:\a)", ""}, {R"(\??\C:\ours)", ""}, {R"(\??\C:\b)", ""}}), PendingValue::Read());
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
