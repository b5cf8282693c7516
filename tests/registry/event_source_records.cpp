// Sources of the Application event log, against their records.

#include "kit/kit.h"

namespace {

using kit::Stage;

constexpr char kLogKey[] = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
constexpr char kName[] = "TarvoTestSource";

/** Each run of a case begins and ends without the source, and tells what it is in between. */
class EventSourceRecords : public kit::BehaviorTest {
protected:
    void Case(const std::string& title, const Ways& ways, void (*body)(Stage&))
    {
        BehaviorTest::Case(title, ways, [body, key = std::string(kLogKey) + "\\" + kName](Stage& stage) {
            kit::RemoveKeyTree(key, kit::View::kOwn);
            body(stage);
            for (const char* name : {"EventMessageFile", "TypesSupported", "CategoryMessageFile", "CategoryCount"})
                stage.TellValue(key, name);
            kit::RemoveKeyTree(key, kit::View::kOwn);
        });
    }
};

TEST_F(EventSourceRecords, EventSources)
{
    Open("registry/event_sources");
    Case("a source with categories is added", {},
         [](Stage& stage) { stage.Call(&TARVO_AddEventSource, kName, "%SystemRoot%\\x.dll", DWORD{7}, DWORD{2}); });
    Case("added again without categories it keeps the old ones", {.failures = false}, [](Stage& stage) {
        TARVO_AddEventSource(kName, "C:\\first.dll", 31, 3);
        stage.Call(&TARVO_AddEventSource, kName, "C:\\second.dll", DWORD{0xFFFFFFFF}, DWORD{0});
    });
    Case("a source is deleted, and deleted again", {}, [](Stage& stage) {
        TARVO_AddEventSource(kName, "C:\\first.dll", 7, 0);
        for (int time = 0; time < 2; ++time)
            stage.Call(&TARVO_DeleteEventSource, kName);
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
