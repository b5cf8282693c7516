#pragma once

#include "uninstall/log_file.h"

inline constexpr char kProductKey[] = "Software\\Norrin Vale\\Velmora";

/** Begins and ends without any key of the product family, and records what is created. */
class ProductKeyTest : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        RemoveKeys();
        LibraryTest::SetUp();
        log_ = Record();
    }

    void TearDown() override
    {
        LibraryTest::TearDown();
        RemoveKeys();
    }

    static void RemoveKeys()
    {
        kit::RemoveKeyTree(kProductKey, kit::View::kOwn);
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, "Software\\Norrin Vale"); // only if it is empty
    }

    std::vector<std::string> RecordedEntries() const { return SectionLines(log_, "Registry entries"); }

    /** Replays what was recorded of the registry. */
    void Uninstall() const
    {
        EXPECT_EQ(0U, TARVO_StopUninstallLogging());
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(log_.c_str()));
        EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_REGISTRY));
        EXPECT_EQ(0U, TARVO_CloseRollBackLog());
    }

    std::string log_;
};
