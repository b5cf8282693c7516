// Starting, stopping, controlling and asking about services, against their records.

#include "services/test_service.h"

namespace {

using ServiceRecords = kit::BehaviorTest;

TEST_F(ServiceRecords, Control)
{
    Open("services/control");
    Case("a service that is there is asked about", [](kit::Stage& stage) {
        TestService service("TarvoControl");
        service.Install("plain");
        stage.Call(&TARVO_GetServiceStatus, nullptr, service.Name(), stage.Number("interactive"), stage.Number("state"));
    });
    Case("a missing service is started", [](kit::Stage& stage) {
        stage.Call(&TARVO_StartService, nullptr, "TarvoMissing");
    });
}

} // namespace
