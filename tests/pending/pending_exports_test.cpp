// The pending list as callers see it; what lies in the system's value is the judge.

#include "kit/kit.h"

#include <algorithm>

namespace {

using kit::PendingValue;
using Pairs = PendingValue::Pairs;
using PendingExports = kit::LibraryTest;

struct PendingCase {
    const char* fact;
    Pairs before;
    const char* source;
    const char* target;
    Pairs after;
};

const Pairs::value_type kFirst = {R"(\??\C:\T\a)", R"(!\??\C:\P\a)"};
const Pairs::value_type kSecond = {R"(\??\C:\T\a)", ""};
const Pairs::value_type kThird = {R"(\??\C:\T\b)", R"(!\??\C:\P\a)"};
const Pairs kThree = {kFirst, kSecond, kThird};
const Pairs kEqual = {{R"(\??\C:\a)", ""}, {R"(\??\C:\b)", ""}, {R"(\??\C:\a)", ""}};
const Pairs kNeighbours = {{R"(\??\C:\T\ab)", ""}, {R"(\??\C:\T\)", ""}};
const Pairs kNotReplacing = {{R"(\??\C:\T\b)", R"(\??\C:\P\a)"}};
const Pairs kBracket = {{"\\??\\C:\\[", ""}}; // as far from a brace as a letter is from its capital
const Pairs kAt = {{"\\??\\C:\\@", ""}};
const Pairs kTheirs = {{R"(\??\D:\x)", R"(\??\D:\y)"}};

const PendingCase kScheduling[] = {
    {"local paths", {}, R"(C:\T\a)", R"(C:\P\A)", {{R"(\??\C:\T\a)", R"(!\??\C:\P\A)"}}},
    {"UNC paths", {}, R"(\\srv\a\b)", R"(\\srv\a\c)", {{R"(\??\UNC\srv\a\b)", R"(!\??\UNC\srv\a\c)"}}},
    {"one leading backslash makes no UNC path", {}, R"(\one\x)", R"(\two\x)", {{R"(\??\one\x)", R"(!\??\two\x)"}}},
    {"no target means deletion", {}, R"(C:\x.tmp)", nullptr, {{R"(\??\C:\x.tmp)", ""}}},
    {"an empty target too", {}, R"(C:\x.tmp)", "", {{R"(\??\C:\x.tmp)", ""}}},
    {"normalised", {}, R"(C:\a\\b\..\c\.\d\)", R"(C:\x\.\y\..\z\)", {{R"(\??\C:\a\c\d)", R"(!\??\C:\x\z)"}}},
    {"an equal pair is added again", {kFirst}, R"(C:\T\a)", R"(C:\P\a)", {kFirst, kFirst}},
    {"pairs of others keep their place", kTheirs, R"(C:\T\a)", R"(C:\P\a)", {kTheirs[0], kFirst}},
    {"a folder of others loses its backslash", {{R"(\??\C:\d\)", ""}}, R"(C:\T\a)", "", {{R"(\??\C:\d)", ""}, kSecond}},
};

const PendingCase kRemoving[] = {
    {"by target: every rename onto it", kThree, nullptr, R"(C:\P\a)", {kSecond}},
    {"by source: renames and deletions of it", kThree, R"(C:\T\a)", nullptr, {kThird}},
    {"by both", kThree, R"(C:\T\a)", R"(C:\P\a)", {kSecond, kThird}},
    {"NUL: deletions of the source alone", kThree, R"(C:\T\a)", "NUL", {kFirst, kThird}},
    {"nul: the same", kThree, R"(C:\T\a)", "nul", {kFirst, kThird}},
    {"NULL and NUL: every deletion", kThree, nullptr, "NUL", {kFirst, kThird}},
    {"NULL and NULL: everything, of others too", kThree, nullptr, nullptr, {}},
    {"whatever its case, and normalised", kThree, R"(c:\x\..\t\\.\A\)", nullptr, {kThird}},
    {"UNC", {{R"(\??\UNC\s\x)", R"(!\??\UNC\s\y)"}, {R"(\??\s\x)", ""}}, R"(\\s\x)", R"(\\S\Y)", {{R"(\??\s\x)", ""}}},
    {"every one of equal pairs goes", kEqual, R"(C:\a)", nullptr, {kEqual[1]}},
    {"longer and shorter neighbours stay", kNeighbours, R"(C:\T\a)", nullptr, kNeighbours},
    {"signs have no case", kBracket, "C:\\{", nullptr, kBracket},
    {"nor has another", kAt, "C:\\`", nullptr, kAt},
    {"a source is no target", kThree, nullptr, R"(C:\T\b)", kThree},
    {"nor a target a source", kThree, R"(C:\P\a)", nullptr, kThree},
    {"a target that does not replace is another one", kNotReplacing, nullptr, R"(C:\P\a)", kNotReplacing},
};

void Check(const PendingCase& row, decltype(&TARVO_RenameAfterReboot) call)
{
    SCOPED_TRACE(row.fact);
    PendingValue::Write(row.before);
    TARVO_ReceivePFOsInfo(); // a look-up that found nothing has kept the list
    EXPECT_EQ(0U, call(row.source, row.target));
    EXPECT_EQ(row.after, PendingValue::Read());
}

TEST_F(PendingExports, SchedulingAddsThePair)
{
    for (const PendingCase& row : kScheduling)
        Check(row, &TARVO_RenameAfterReboot);
}

TEST_F(PendingExports, RemovingTakesWhatMatches)
{
    for (const PendingCase& row : kRemoving)
        Check(row, &TARVO_RemovePendingFileOperation);
    const PendingCase western = {"beyond ASCII", {{"\\??\\C:\\\xC4\x8C", ""}}, "C:\\\xE4\x9C", nullptr, {}};
    if (GetACP() == 1252)
        Check(western, &TARVO_RemovePendingFileOperation);
}

TEST_F(PendingExports, RemovingTheLastPairLeavesAnEmptyList)
{
    PendingValue::Write(kThree);
    EXPECT_EQ(0U, TARVO_RemovePendingFileOperation(nullptr, nullptr));
    EXPECT_TRUE((PendingValue::Raw{REG_MULTI_SZ, {L'\0'}}) == PendingValue::ReadRaw()) << "the value itself stays";
}

const struct FindCase {
    const char* fact;
    Pairs value;
    const char* destination;
    DWORD code;
    const char* source; // what the caller's buffer holds afterwards
} kFinding[] = {
    {"nothing pending", {}, R"(C:\P\a)", 2, ""},
    {"a rename onto it", {{R"(\??\C:\T\a)", R"(!\??\C:\P\a)"}}, R"(C:\P\a)", 0, R"(C:\T\a)"},
    {"by case and normalisation", {{R"(\??\C:\T\a)", R"(!\??\C:\P\a)"}}, R"(c:\x\..\p\\A\)", 0, R"(C:\T\a)"},
    {"a rename onto its neighbour", {{R"(\??\C:\T\a)", R"(!\??\C:\P\a)"}}, R"(C:\P\ab)", 2, ""},
    {"a deletion of it", {{R"(\??\C:\P\a)", ""}}, R"(C:\P\a)", 0, ""},
    {"it is moved away", {{R"(\??\C:\P\a)", R"(!\??\C:\q)"}}, R"(C:\P\a)", 2, ""},
    {"the newest of two renames", kThree, R"(C:\P\a)", 0, R"(C:\T\b)"},
    {"a deletion after the rename", {{R"(\??\C:\T\a)", R"(!\??\C:\a)"}, {R"(\??\C:\a)", ""}}, R"(C:\a)", 0, ""},
    {"a rename after the deletion", {{R"(\??\C:\a)", ""}, {R"(\??\C:\T)", R"(!\??\C:\a)"}}, R"(C:\a)", 0, R"(C:\T)"},
    {"moved away after the rename", {{R"(\??\C:\T)", R"(!\??\C:\a)"}, {R"(\??\C:\a)", "!x"}}, R"(C:\a)", 2, ""},
    {"a rename onto itself moves it away", {{R"(\??\C:\a)", R"(!\??\C:\a)"}}, R"(C:\a)", 2, ""},
    {"a UNC source", {{R"(\??\UNC\s\x\y)", R"(!\??\UNC\s\z)"}}, R"(\\s\z)", 0, R"(\\s\x\y)"},
    {"a UNC source in lower case", {{R"(\??\unc\s\x)", R"(!\??\C:\a)"}}, R"(C:\a)", 0, R"(\\s\x)"},
    {"a source in no stored form", {{R"(*1\??\C:\x)", R"(!\??\C:\a)"}}, R"(C:\a)", 0, R"(*1\??\C:\x)"},
    {"a source shorter than any path", {{R"(\??\)", R"(!\??\C:\a)"}}, R"(C:\a)", 0, ""},
    {"a source that is barely long enough", {{R"(\??\x)", R"(!\??\C:\a)"}}, R"(C:\a)", 0, "x"},
};

TEST_F(PendingExports, FindingTellsWhatComesThere)
{
    for (const FindCase& row : kFinding) {
        SCOPED_TRACE(row.fact);
        PendingValue::Write(row.value);
        TARVO_ReceivePFOsInfo();
        char source[MAX_PATH] = "unset";
        EXPECT_TRUE(kit::Gives(row.code, TARVO_FindSourceInPFOs(row.destination, source, sizeof source)));
        EXPECT_STREQ(row.source, source);
        EXPECT_EQ(row.value, PendingValue::Read());
    }
}

TEST_F(PendingExports, FoundSourceStaysInsideTheBuffer)
{
    constexpr struct SizeCase {
        size_t length; // of the plain source
        DWORD size;
        DWORD code;
        size_t written; // characters
    } kSizes[] = {
        {20, 0, 122, 0},    {20, 259, 122, 0},  {20, 260, 0, 20},
        {259, 260, 0, 259}, {260, 260, 0, 259}, {900, 1000, 0, 259},
    };
    constexpr std::pair<const char*, const char*> kPrefixes[] = {
        {R"(\??\C:\)", R"(C:\)"}, {R"(\??\UNC\)", R"(\\)"}, {R"(C:\)", R"(C:\)"}};
    for (const auto& [stored, plain] : kPrefixes) {
        for (const SizeCase& row : kSizes) {
            const std::string rest(row.length - strlen(plain), 'x');
            PendingValue::Write({{stored + rest, R"(!\??\C:\a)"}});
            TARVO_ReceivePFOsInfo();
            std::string buffer(1100, '#');
            std::string expected = buffer;
            if (row.code == 0)
                expected.replace(0, row.written + 1, (plain + rest).substr(0, row.written) + '\0');
            EXPECT_EQ(row.code, TARVO_FindSourceInPFOs("C:\\a", buffer.data(), row.size)) << row.length;
            EXPECT_EQ(expected, buffer) << stored << row.length << " into " << row.size;
        }
    }
}

TEST_F(PendingExports, MissingArgumentsAreRefusedBeforeAnyWork)
{
    kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA);
    char source[MAX_PATH] = "unset";
    EXPECT_TRUE(kit::Gives(87, TARVO_RenameAfterReboot(nullptr, "C:\\b")));
    EXPECT_EQ(87U, TARVO_RenameAfterReboot("", "C:\\b"));
    EXPECT_EQ(87U, TARVO_FindSourceInPFOs(nullptr, source, sizeof source));
    EXPECT_EQ(87U, TARVO_FindSourceInPFOs("C:\\a", nullptr, MAX_PATH));
    EXPECT_TRUE(kit::Gives(122, TARVO_FindSourceInPFOs("C:\\a", source, 259)));
    EXPECT_STREQ("unset", source);
    EXPECT_EQ(0, open.Calls());
}

TEST_F(PendingExports, EachChangeIsOneWriteWhileFlushIsOn)
{
    PendingValue::Write({});
    kit::ImportHook set("RegSetValueExW", &RegSetValueExW);
    TARVO_RenameAfterReboot("C:\\a", "C:\\b");
    EXPECT_EQ(1, set.Calls());
    TARVO_RemovePendingFileOperation("C:\\x", nullptr);
    TARVO_UpdatePFOsInfo();
    EXPECT_EQ(1, set.Calls()) << "nothing changed";
    TARVO_RemovePendingFileOperation("C:\\a", nullptr);
    EXPECT_EQ(2, set.Calls());
}

TEST_F(PendingExports, ReceivingWritesWaitingChangesFirst)
{
    PendingValue::Write({});
    TARVO_SetPFOsImmediateFlush(0);
    TARVO_RenameAfterReboot("C:\\a", nullptr);
    EXPECT_EQ(0U, TARVO_ReceivePFOsInfo());
    EXPECT_EQ((Pairs{{R"(\??\C:\a)", ""}}), PendingValue::Read());
    TARVO_RenameAfterReboot("C:\\b", nullptr);
    TARVO_SetPFOsImmediateFlush(2);
    EXPECT_EQ(0U, TARVO_RemovePendingFileOperation("C:\\x", nullptr)) << "any number but 0 switches it on";
    EXPECT_EQ((Pairs{{R"(\??\C:\a)", ""}, {R"(\??\C:\b)", ""}}), PendingValue::Read());
}

TEST_F(PendingExports, WaitingChangesAreLostAtUnload)
{
    PendingValue::Write({});
    TARVO_SetPFOsImmediateFlush(0);
    TARVO_RenameAfterReboot("C:\\a", nullptr);
    Reload();
    EXPECT_EQ(Pairs{}, PendingValue::Read());
    EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\b", nullptr));
    EXPECT_EQ((Pairs{{R"(\??\C:\b)", ""}}), PendingValue::Read()) << "flush is on again";
}

TEST_F(PendingExports, ThereIsRoomFor5120)
{
    PendingValue::Write({});
    TARVO_SetPFOsImmediateFlush(0);
    for (int number = 0; number < 5120; ++number)
        ASSERT_EQ(0U, TARVO_RenameAfterReboot(("C:\\" + std::to_string(number)).c_str(), "C:\\b")) << number;
    EXPECT_TRUE(kit::Gives(8, TARVO_RenameAfterReboot("C:\\late", nullptr)));
    EXPECT_EQ(0U, TARVO_RemovePendingFileOperation("C:\\7", nullptr));
    EXPECT_EQ(8U, TARVO_RenameAfterReboot("C:\\late", nullptr)) << "a removed pair keeps its place";
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ(0U, TARVO_RenameAfterReboot("C:\\last", nullptr));
    EXPECT_EQ(8U, TARVO_RenameAfterReboot("C:\\late", nullptr));
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    const Pairs pairs = PendingValue::Read();
    ASSERT_EQ(5120U, pairs.size());
    EXPECT_EQ(R"(\??\C:\0)", pairs.front().first);
    EXPECT_EQ(R"(\??\C:\8)", pairs[7].first);
    EXPECT_EQ(R"(\??\C:\last)", pairs.back().first);
}

TEST_F(PendingExports, ValueOfMorePairsIsRefusedAndStays)
{
    const Pairs pairs(5121, {R"(\??\C:\a)", ""});
    PendingValue::Write(pairs);
    char source[MAX_PATH];
    EXPECT_EQ(8U, TARVO_RenameAfterReboot("C:\\x", nullptr));
    EXPECT_EQ(8U, TARVO_RemovePendingFileOperation(nullptr, nullptr));
    EXPECT_EQ(8U, TARVO_FindSourceInPFOs("C:\\a", source, sizeof source));
    EXPECT_EQ(0U, TARVO_UpdatePFOsInfo());
    EXPECT_EQ(pairs, PendingValue::Read());
    PendingValue::Write({});
    EXPECT_EQ(2U, TARVO_FindSourceInPFOs("C:\\a", source, sizeof source)) << "nothing of it was kept";
}

TEST_F(PendingExports, TraceTellsTheStory)
{
    PendingValue::Write({{R"(\??\C:\gone)", ""}, {R"(\??\C:\from)", R"(!\??\C:\to)"}});
    const kit::TraceLog log(Scratch().Path("trace.log"));
    TARVO_RenameAfterReboot(nullptr, nullptr);
    TARVO_RemovePendingFileOperation(nullptr, "C:\\none");
    char buffer[MAX_PATH];
    for (const char* path : {"C:\\to", "C:\\from", "C:\\gone", "C:\\x"})
        TARVO_FindSourceInPFOs(path, buffer, sizeof buffer);
    TARVO_ReceivePFOsInfo();
    TARVO_RemovePendingFileOperation("C:\\gone", "NUL");
    TARVO_SetPFOsImmediateFlush(5);
    TARVO_UpdatePFOsInfo();
    const std::vector<std::string> messages = log.Messages();
    auto at = messages.begin();
    for (const char* line : {"From [null] to [null]",
                             "Source: [null], destination: [C:\\none]",
                             "Source=[null], Target=[C:\\none], formatted=[0]",
                             "Entry does not exist.",
                             "Info is up to date - nothing to do.",
                             "Destination: [C:\\to], dwSize: [260]",
                             "As destination found at index [1]",
                             "Return unformatted source: [C:\\from]",
                             "As source found at index [1]",
                             "Found move-file record where pchDestination is a source.",
                             "As source found at index [0]",
                             "Found deletion record.",
                             "Not found.",
                             "Info is received, updating info...",
                             "Info is up to date - nothing to do.",
                             "{ PendingFileInfo::ReleaseInfo",
                             R"(Source=[\??\C:\gone], Target=[], formatted=[1])",
                             "Function PendingFileInfo::AddEntry OK.",
                             "Function PendingFileInfoNT::ReceiveInfo OK.",
                             "Function TARVO_ReceivePFOsInfo OK.",
                             "Source: [C:\\gone], destination: [NUL]",
                             "{ PendingFileInfo::RemoveEntries",
                             R"(Formatted entry: [\??\C:\gone], [].)",
                             "Entry to remove found at index: [0]",
                             "Function PendingFileInfo::RemoveEntries OK.",
                             "Entry(ies) was successfully deleted.",
                             "{ TARVO_UpdatePFOsInfo",
                             "{ PendingFileInfo::isEntryExist",
                             "Function TARVO_UpdatePFOsInfo OK.",
                             "{ TARVO_SetPFOsImmediateFlush",
                             "Set flag to [5]",
                             "} TARVO_SetPFOsImmediateFlush",
                             "Info is not received - nothing to do."}) {
        at = std::find(at, messages.end(), line);
        ASSERT_NE(messages.end(), at) << "missing, or out of order: " << line << "\n"
                                      << testing::PrintToString(messages);
    }
}

} // namespace
