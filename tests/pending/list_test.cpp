// What no export shows of the list's classes.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/multibyte.h"
#include "pending/list_nt.h"

namespace {

using namespace tarvo;

/** A list without a store. */
class PlainList final : public PendingFileInfo {
public:
    DWORD FormatEntry(PendingFileEntry& entry, const char* source, const char* target) override
    {
        return entry.SetEntry(source, target);
    }
    DWORD UnFormatEntry(const PendingFileEntry&, char*, char*) override { return 0; }
    DWORD ReceiveInfo() override { return SetReceived(), 0; }
    DWORD UpdateInfo() override { return 0; }
};

class PendingList : public testing::Test {
protected:
    void Add(const char* source, const char* target) { EXPECT_EQ(0U, list_->AddEntry(source, target, kStored)); }

    std::unique_ptr<PlainList> list_ = std::make_unique<PlainList>(); // too large for a stack
};

TEST_F(PendingList, NewestMatchIsFound)
{
    Add("a", "t");
    Add("b", "t");
    Add("a", "");
    struct Query {
        const char* source;
        const char* target;
        DWORD index;
    };
    constexpr Query kQueries[] = {
        {nullptr, "t", 1}, {"a", nullptr, 2},   {"a", "t", 0},           {"a", "", 2},
        {nullptr, "", 2},  {"b", "", kNoEntry}, {"", nullptr, kNoEntry}, {nullptr, nullptr, kNoEntry},
    };
    for (const Query& row : kQueries)
        EXPECT_EQ(row.index, list_->dwFindEntry(row.source, row.target, kStored))
            << testing::PrintToString(row.source) << ", " << testing::PrintToString(row.target);
    EXPECT_TRUE(list_->isEntryExist(nullptr, nullptr, kStored));
}

TEST_F(PendingList, OnlyChangesOfWhatWasReceivedCount)
{
    Add("a", "");
    EXPECT_FALSE(list_->InfoReceived());
    EXPECT_TRUE(list_->UpToDate());
    list_->ReceiveInfo();
    EXPECT_FALSE(list_->RemoveEntries("b", nullptr, kStored));
    EXPECT_TRUE(list_->UpToDate());
    EXPECT_TRUE(list_->RemoveEntries("a", nullptr, kStored));
    EXPECT_FALSE(list_->UpToDate());
    list_->ReleaseInfo();
    EXPECT_TRUE(list_->UpToDate());
    EXPECT_FALSE(list_->InfoReceived());
}

TEST_F(PendingList, LookUpTouchesFewEntries)
{
    // Renames as a setup makes them: many files, few folders, numbers in a row.
    auto chains = std::make_unique<PendingChains>();
    int longest = 0;
    for (int slot = 0; slot < PendingChains::kMaxSlots; ++slot) {
        const std::string path = "\\??\\C:\\Program Files\\Vendor\\bin" + std::to_string(slot % 7) + "\\module" +
                                 std::to_string(slot) + ".dll";
        chains->Add(slot, HashNoCase(path.c_str()));
        longest = std::max(longest, chains->Length(HashNoCase(path.c_str())));
    }
    EXPECT_LE(longest, 12);
}

TEST(PendingEntry, TextsAreNormalisedCopiesAndNullIsAnyText)
{
    PendingFileEntry entry;
    PendingFileEntry query;
    EXPECT_EQ(0U, entry.SetEntry("\\??\\C:\\a\\..\\b\\", ""));
    EXPECT_STREQ("\\??\\C:\\b", entry.Source());
    EXPECT_EQ(0U, query.SetEntry(nullptr, nullptr));
    EXPECT_TRUE(PendingFileEntry::Matches(query, entry));
    EXPECT_TRUE(PendingFileEntry::Matches(entry, query)) << "in either of the two";
    EXPECT_EQ(0U, query.SetEntry("\\??\\c:\\B", nullptr));
    EXPECT_TRUE(PendingFileEntry::Matches(query, entry));
    EXPECT_EQ(0U, query.SetEntry("\\??\\c:\\B", "x"));
    EXPECT_FALSE(PendingFileEntry::Matches(query, entry));
}

struct PlainCase {
    const char* fact;
    const char* source; // as stored
    const char* target;
    DWORD code;
    const char* plainSource;
    const char* plainTarget;
};

const PlainCase kPlainForms[] = {
    {"local", R"(\??\C:\a)", R"(!\??\C:\b)", 0, R"(C:\a)", R"(C:\b)"},
    {"UNC, whatever its case", R"(\??\UNC\s\x)", R"(!\??\unc\s\y)", 0, R"(\\s\x)", R"(\\s\y)"},
    {"deletion", R"(\??\C:\a)", "", 0, R"(C:\a)", ""},
    {"source in no stored form", R"(C:\ab)", R"(!\??\C:\b)", 0xFFFFFFFF, R"(C:\ab)", "unset"},
    {"target that does not replace", R"(\??\C:\a)", R"(\??\C:\b)", 0xFFFFFFFF, R"(C:\a)", R"(\??\C:\b)"},
    {"target too short for a path", R"(\??\C:\a)", R"(xxxxx)", 0, R"(C:\a)", ""},
    {"source too short for a path", R"(xxxx)", R"(!\??\C:\b)", 0, "", R"(C:\b)"},
};

} // namespace
