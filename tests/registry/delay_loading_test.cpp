// Long lists of library copies keep their order.

#include "registry/product_key.h"

namespace {

using DelayLoadLists = kit::LibraryTest;

TEST_F(DelayLoadLists, TwoHundredCopiesKeepTheirOrder)
{
    const NoProductKeys none;
    std::vector<std::string> sorted;
    for (const std::string version : {"5.0.0.0", "4.99.0.0", "1.2.3.10", "1.2.3.9"}) {
        for (int copy = 0; copy < 50; ++copy) {
            CreateDirectoryA(Scratch().Path(version + "-" + std::to_string(copy)).c_str(), nullptr);
            sorted.push_back(Scratch().Path(version + "-" + std::to_string(copy) + "\\shared.dll"));
            CopyFileA((kit::ProgramFolder() + "\\sample-" + version + ".dll").c_str(), sorted.back().c_str(), FALSE);
        }
    }
    std::vector<std::string> given = sorted;
    given.erase(given.begin() + 60);
    std::reverse(given.begin(), given.end());
    kit::WriteValue(kListsKey, "shared.dll", TextList(given));
    EXPECT_EQ(0U, TARVO_RegisterDelayLoadLibrary(sorted[60].c_str()));
    const std::string list = kit::ReadValue(kListsKey, "shared.dll")->bytes;
    std::vector<std::string> stored;
    for (const char* text = list.c_str(); *text; text += strlen(text) + 1)
        stored.emplace_back(text);
    ASSERT_EQ(sorted.size(), stored.size());
    for (size_t at = 0; at < stored.size(); ++at) {
        const std::string version = sorted[at].substr(0, sorted[at].rfind('-'));
        EXPECT_EQ(0, lstrcmpiA(version.c_str(), stored[at].substr(0, version.size()).c_str())) << at;
    }
}

} // namespace
