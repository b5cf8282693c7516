#pragma once

#include "uninstall/log_file.h"

inline constexpr char kProductKey[] = "Software\\Norrin Vale\\Velmora";
inline constexpr char kListsKey[] = "SOFTWARE\\Norrin Vale\\Velmora\\Delay Loading";

/** Begins and ends without any key of the product family. */
struct NoProductKeys {
    NoProductKeys() { Remove(); }
    ~NoProductKeys() { Remove(); }
    static void Remove()
    {
        kit::RemoveKeyTree(kProductKey, kit::View::kOwn);
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, "Software\\Norrin Vale"); // only if it is empty
    }
};

/** A test that begins and ends so, and records what is created. */
class ProductKeyTest : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_ = Record();
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

    NoProductKeys none_;
    std::string log_;
};

/** @return the texts as a value of the registry has them. */
inline kit::RegistryValue TextList(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts)
        list += text + '\0';
    return {REG_MULTI_SZ, list + '\0'};
}
