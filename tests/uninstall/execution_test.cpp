// The uninstall run over a service that really runs.

#include "services/test_service.h"

namespace {

using UninstallExecution = kit::LibraryTest;

TEST_F(UninstallExecution, RunningServiceIsStoppedAndRemoved)
{
    TestService service("TarvoStep");
    service.Install("plain");
    service.Start();
    const std::string log = Scratch().Make("uninstall.log", "[Services]\r\nTarvoStep=1\r\n");
    EXPECT_EQ(0U, TARVO_OpenRollBackLog(log.c_str()));
    EXPECT_EQ(0U, TARVO_PerformUnInstall(TARVO_UNINSTALL_SERVICES));
    EXPECT_EQ("start 1 ", service.Recorded());
    EXPECT_TRUE(service.IsGone());
}

} // namespace
