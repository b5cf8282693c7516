#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/multibyte.h"
#include "pending/list_nt.h"

namespace {

using namespace tarvo;

TEST(PendingList, LookUpTouchesFewEntries)
{
    // Renames as a setup makes them: many files, few folders, numbers in a row.
    auto chains = std::make_unique<PendingChains>();
    int longest = 0;
    for (int slot = 0; slot < PendingChains::kMaxSlots; ++slot) {
        const std::string folder = "\\??\\C:\\Program Files\\Vendor\\bin" + std::to_string(slot % 7);
        const auto hash = HashNoCase((folder + "\\module" + std::to_string(slot) + ".dll").c_str());
        chains->Add(hash);
        longest = std::max(longest, chains->Length(hash));
    }
    EXPECT_LE(longest, 12);
}

} // namespace
