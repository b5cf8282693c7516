// Sources of the Application event log, against their records.

#include "kit/kit.h"

namespace {

using kit::Stage;
using RegistryRecords = kit::BehaviorTest;

constexpr char kLogKey[] = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
constexpr char kName[] = "TarvoTestSource";

/** Begins and ends without the source of these tests. */
class NoSource {
public:
    NoSource() { kit::RemoveKeyTree(Key(), kit::View::kOwn); }
    ~NoSource() { kit::RemoveKeyTree(Key(), kit::View::kOwn); }
    NoSource(const NoSource&) = delete;
    NoSource& operator=(const NoSource&) = delete;

    static std::string Key() { return std::string(kLogKey) + "\\" + kName; }

    static void Tell(Stage& stage)
    {
        for (const char* name : {"EventMessageFile", "TypesSupported", "CategoryMessageFile", "CategoryCount"})
            stage.TellValue(Key(), name);
    }
};

TEST_F(RegistryRecords, EventSources)
{
    Open("registry/event_sources");
    Case("a source with categories is added", [](Stage& stage) {
        const NoSource none;
        stage.Call(&TARVO_AddEventSource, kName, "%SystemRoot%\\x.dll", DWORD{7}, DWORD{2});
        NoSource::Tell(stage);
    });
    Case("added again without categories it keeps the old ones", {.failures = false}, [](Stage& stage) {
        const NoSource none;
        TARVO_AddEventSource(kName, "C:\\first.dll", 31, 3);
        stage.Call(&TARVO_AddEventSource, kName, "C:\\second.dll", DWORD{0xFFFFFFFF}, DWORD{0});
        NoSource::Tell(stage);
    });
    Case("a source is deleted, and deleted again", [](Stage& stage) {
        const NoSource none;
        TARVO_AddEventSource(kName, "C:\\first.dll", 7, 0);
        for (int time = 0; time < 2; ++time)
            stage.Call(&TARVO_DeleteEventSource, kName);
        NoSource::Tell(stage);
    });
    Case("names that would hit the log itself are refused", {.allocations = false}, [](Stage& stage) {
        const std::string tooLong(2048 - sizeof kLogKey, 'x');
        stage.HideText(tooLong, "<too long>");
        for (const char* name : {static_cast<const char*>(nullptr), "", tooLong.c_str()}) {
            stage.Call(&TARVO_AddEventSource, name, "x", DWORD{7}, DWORD{1});
            stage.Call(&TARVO_DeleteEventSource, name);
        }
        stage.Call(&TARVO_AddEventSource, kName, nullptr, DWORD{7}, DWORD{1});
    });
}

} // namespace
