// Sources of the Application event log, read back byte for byte.

#include "kit/kit.h"

namespace {

using kit::RegistryValue;

constexpr char kLogKey[] = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
constexpr char kSource[] = "TarvoTestSource";

class EventSources : public kit::LibraryTest {
protected:
    void TearDown() override
    {
        kit::RemoveKeyTree(SourceKey(), kit::View::kOwn);
        LibraryTest::TearDown();
    }

    static std::string SourceKey() { return std::string(kLogKey) + "\\" + kSource; }

    using Values = std::vector<std::optional<RegistryValue>>;
    static Values Found()
    {
        Values found;
        for (const char* name : {"EventMessageFile", "TypesSupported", "CategoryMessageFile", "CategoryCount"})
            found.push_back(kit::ReadValue(SourceKey(), name));
        return found;
    }
};

TEST_F(EventSources, ValuesAreThoseGiven)
{
    const RegistryValue first = RegistryValue::Text("%SystemRoot%\\first.dll", REG_EXPAND_SZ);
    const RegistryValue second = RegistryValue::Text("C:\\second.dll", REG_EXPAND_SZ);
    const kit::TraceLog log(Scratch().Path("trace.log"));
    EXPECT_EQ(0U, TARVO_AddEventSource(kSource, "%SystemRoot%\\first.dll", 7, 0));
    EXPECT_EQ((Values{first, RegistryValue::Dword(7), std::nullopt, std::nullopt}), Found());
    EXPECT_EQ(0U, TARVO_AddEventSource(kSource, "C:\\second.dll", 31, 3));
    EXPECT_EQ((Values{second, RegistryValue::Dword(31), second, RegistryValue::Dword(3)}), Found());
    EXPECT_EQ(0U, TARVO_AddEventSource(kSource, "%SystemRoot%\\first.dll", 1, 0));
    EXPECT_EQ((Values{first, RegistryValue::Dword(1), second, RegistryValue::Dword(3)}), Found());
    EXPECT_TRUE(log.Contains("Application=[TarvoTestSource], Path=[C:\\second.dll], Types=[31], Category=[3]"));
    EXPECT_EQ(0U, TARVO_DeleteEventSource(kSource));
    EXPECT_FALSE(kit::KeyExists(SourceKey()));
    EXPECT_TRUE(kit::Gives(2, TARVO_DeleteEventSource(kSource)));
}

TEST_F(EventSources, FirstFailureEndsTheWriting)
{
    for (int failing = 1; failing <= 4; ++failing) {
        SCOPED_TRACE(failing);
        kit::RemoveKeyTree(SourceKey(), kit::View::kOwn);
        kit::ImportHook set("RegSetValueExA", &RegSetValueExA);
        set.FailNth(failing, 0, ERROR_DISK_FULL);
        EXPECT_TRUE(kit::Gives(ERROR_DISK_FULL, TARVO_AddEventSource(kSource, "x", 7, 2)));
        EXPECT_EQ(failing, set.Calls());
    }
    const kit::ImportHook create("RegCreateKeyA", &RegCreateKeyA, 0, ERROR_ACCESS_DENIED);
    EXPECT_EQ(5U, TARVO_AddEventSource(kSource, "x", 7, 2));
}

TEST_F(EventSources, NamesThatWouldHitTheLogItselfAreRefused)
{
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(87U, TARVO_AddEventSource(name, "x", 7, 0));
        EXPECT_EQ(87U, TARVO_DeleteEventSource(name));
    }
    EXPECT_EQ(87U, TARVO_AddEventSource(kSource, nullptr, 7, 0));
    const std::string longName(2048, 'x');
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, TARVO_AddEventSource(longName.c_str(), "x", 7, 0));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, TARVO_DeleteEventSource(longName.c_str()));
    EXPECT_TRUE(kit::KeyExists(kLogKey));
    EXPECT_FALSE(kit::KeyExists(SourceKey()));
}

} // namespace
