// The pending list as callers see it; what lies in the system's value is the judge.

#include "kit/kit.h"

#include <algorithm>

namespace {

using kit::PendingValue;
using Pairs = PendingValue::Pairs;
using PendingExports = kit::LibraryTest;

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
