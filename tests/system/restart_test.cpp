// Restarting the machine. None of these tests reaches the system's own call.

#include "kit/kit.h"

namespace {

class Restart : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        shutdown_.emplace("InitiateSystemShutdownA", &InitiateSystemShutdownA);
        shutdown_->Answer([this](char* machine, char* message, DWORD timeout, BOOL force, BOOL restart) {
            EXPECT_TRUE(!machine && !message && timeout == 0 && restart == TRUE);
            forced_ = force;
            return TRUE;
        });
        adjust_.emplace("AdjustTokenPrivileges", &AdjustTokenPrivileges);
        adjust_->Answer([this](HANDLE token, BOOL none, TOKEN_PRIVILEGES* privileges, DWORD size,
                               TOKEN_PRIVILEGES* previous, DWORD* needed) {
            EXPECT_TRUE(token && !none && size == 0 && !previous && !needed);
            EXPECT_EQ(1U, privileges->PrivilegeCount);
            EXPECT_EQ(DWORD{SE_PRIVILEGE_ENABLED}, privileges->Privileges[0].Attributes);
            LUID shutdown = {};
            LookupPrivilegeValueA(nullptr, "SeShutdownPrivilege", &shutdown);
            EXPECT_EQ(shutdown.LowPart, privileges->Privileges[0].Luid.LowPart);
            return TRUE;
        });
    }

    int forced_ = -1;
    std::optional<kit::ImportHook<decltype(&InitiateSystemShutdownA)>> shutdown_;
    std::optional<kit::ImportHook<decltype(&AdjustTokenPrivileges)>> adjust_;
};

TEST_F(Restart, ModeDecidesWhetherProgramsAreForced)
{
    kit::ImportHook open("OpenProcessToken", &OpenProcessToken);
    open.Answer([&](HANDLE process, DWORD access, HANDLE* token) {
        EXPECT_EQ(DWORD{TOKEN_ADJUST_PRIVILEGES}, access);
        return open.Original()(process, access, token);
    });
    const kit::TraceLog log(Scratch().Path("trace.log"));
    for (const int mode : {1, 2}) {
        EXPECT_EQ(0U, TARVO_Reboot(mode));
        EXPECT_EQ(mode == 2, forced_);
        EXPECT_TRUE(log.HasEach({"mode=[" + std::to_string(mode) + "]",
                                 "Initiating SystemShutdown, forced=[" + std::to_string(mode - 1) + "]..."}));
    }
    for (const int mode : {0, 3, -1})
        EXPECT_TRUE(kit::Gives(87, TARVO_Reboot(mode)));
    EXPECT_EQ(2, open.Calls());
    EXPECT_EQ(2, shutdown_->Calls());
}

TEST_F(Restart, EachFailingStepGivesItsCode)
{
    {
        const kit::ImportHook open("OpenProcessToken", &OpenProcessToken, ERROR_PRIVILEGE_NOT_HELD, FALSE);
        EXPECT_TRUE(kit::Gives(ERROR_PRIVILEGE_NOT_HELD, TARVO_Reboot(1)));
        EXPECT_EQ(0, adjust_->Calls());
    }
    shutdown_->FailAll(ERROR_PRIVILEGE_NOT_HELD, FALSE);
    EXPECT_TRUE(kit::Gives(ERROR_PRIVILEGE_NOT_HELD, TARVO_Reboot(1)));
    adjust_->FailAll(ERROR_PRIVILEGE_NOT_HELD, FALSE);
    EXPECT_TRUE(kit::Gives(ERROR_PRIVILEGE_NOT_HELD, TARVO_Reboot(1)));
    EXPECT_EQ(1, shutdown_->Calls());
}

} // namespace
