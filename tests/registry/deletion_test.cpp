// What the writers recorded, removed again by TARVO_PerformUnInstall.

#include "kit/kit.h"

namespace {

using RegistryDeletion = kit::LibraryTest;

TEST_F(RegistryDeletion, RemovesWhatTheWritersRecorded)
{
    const std::string log = Record();
    for (const BOOL virtualized : {TRUE, FALSE}) {
        for (const char* rest : {R"(\a\b\\name|x)", R"(\a\b\\|x)", R"(\a\b\\na=me|x)", R"(\a\c/d\\x\y|z)"})
            EXPECT_EQ(0U, TARVO_CreateRegistryEntryEx((Key().Locator() + rest).c_str(), REG_SZ, FALSE, virtualized));
    }
    EXPECT_EQ(0U, TARVO_StopUninstallLogging());
    EXPECT_EQ(0U, TARVO_OpenRollBackLog(log.c_str()));
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_REGISTRY));
    EXPECT_FALSE(kit::KeyExists(Key().Path("a"), kit::View::kOwn));
    EXPECT_FALSE(kit::KeyExists(Key().Path("a"), kit::View::k64));
    EXPECT_TRUE(kit::KeyExists(Key().Path(), kit::View::kOwn)) << "was there before";
}

} // namespace
