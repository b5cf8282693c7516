// A real service of the system's manager, from its first start until it is gone.

#include "services/test_service.h"

namespace {

using ServiceLife = kit::LibraryTest;

TEST_F(ServiceLife, IsStartedOnceControlledStoppedOnceAndTakenAway)
{
    TestService service("KOBA"); // the agent's own orders go to it as well
    service.Install("slow");
    DWORD exitCode = 9;
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    ASSERT_TRUE(service.Reaches(SERVICE_START_PENDING)) << service.State();
    EXPECT_EQ(0U, TARVO_StartService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_StartKOBA());
    EXPECT_EQ(DWORD{SERVICE_RUNNING}, service.State());
    for (const DWORD control : {128, 255})
        EXPECT_EQ(0U, TARVO_SendUserControl(nullptr, service.Name(), control));
    EXPECT_EQ(0U, TARVO_StopService(nullptr, service.Name()));
    EXPECT_EQ(0U, TARVO_WaitForServiceState(nullptr, service.Name(), SERVICE_STOPPED, 10000, &exitCode));
    EXPECT_EQ(77U, exitCode);
    EXPECT_EQ(0U, TARVO_StopKOBA());
    EXPECT_EQ("start 128 255 1 ", service.Recorded());
    EXPECT_EQ(0U, TARVO_StartKOBA());
    EXPECT_EQ(0U, TARVO_RemoveService(nullptr, service.Name()));
    EXPECT_TRUE(service.IsGone());
    EXPECT_EQ("start 128 255 1 start 1 ", service.Recorded());
}

} // namespace
