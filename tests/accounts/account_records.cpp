// Accounts, groups and shares, against their record. The network is stood in for: it must not make any.

#include <lm.h>

#include "kit/kit.h"

namespace {

using AccountRecords = kit::BehaviorTest;
using kit::Stage;

/** Answers every call of the network with one status. */
struct Network {
    explicit Network(NET_API_STATUS given = NERR_Success) : status(given)
    {
        controller.Answer([](const wchar_t*, const wchar_t*, BYTE** buffer) {
            NetApiBufferAllocate(32, reinterpret_cast<void**>(buffer));
            wcscpy(reinterpret_cast<wchar_t*>(*buffer), L"\\\\PDC");
            return NET_API_STATUS{NERR_Success};
        });
    }

    NET_API_STATUS status;
    kit::ImportHook<decltype(&NetGetDCName)> controller{"NetGetDCName", &NetGetDCName};
    kit::ImportHook<decltype(&NetUserAdd)> userAdd{"NetUserAdd", &NetUserAdd, 0, status};
    kit::ImportHook<decltype(&NetUserDel)> userDel{"NetUserDel", &NetUserDel, 0, status};
    kit::ImportHook<decltype(&NetLocalGroupAdd)> groupAdd{"NetLocalGroupAdd", &NetLocalGroupAdd, 0, status};
    kit::ImportHook<decltype(&NetLocalGroupDel)> groupDel{"NetLocalGroupDel", &NetLocalGroupDel, 0, status};
    kit::ImportHook<decltype(&NetLocalGroupAddMembers)> members{"NetLocalGroupAddMembers", &NetLocalGroupAddMembers, 0,
                                                                status};
    kit::ImportHook<decltype(&NetShareAdd)> shareAdd{"NetShareAdd", &NetShareAdd, 0, status};
};

TEST_F(AccountRecords, Accounts)
{
    Open("accounts/accounts");
    const Ways existing = {.code = NERR_UserExists};
    const Ways noController = {.code = NERR_DCNotFound};
    const auto one = [&](const char* title, const Ways& ways, auto... call) {
        Case(title, ways, [=](Stage& stage) {
            const Network network;
            stage.Call(call...);
        });
    };
    one("an account is made", existing, &TARVO_CreateAccount, nullptr, "bob",
        "s\xE9"
        "cret",
        1, 0x200);
    one("an account is made in a domain", noController, &TARVO_CreateAccount, "DOM", "bob", nullptr, 0xFFFFFFFF, 0);
    one("an account is deleted", existing, &TARVO_DeleteAccount, nullptr, "bob");
    one("an account is deleted from a domain", {}, &TARVO_DeleteAccount, "DOM", "bob");
    one("a group is made", existing, &TARVO_CreateLocalGroup, "\\\\M", "ops", "who operates");
    one("a group is deleted", existing, &TARVO_DeleteLocalGroup, nullptr, "ops");
    one("a group gets a member", existing, &TARVO_AddUserToLocalGroup, "DOM\\bob", "\\\\M", "ops");
    one("a folder is shared", existing, &TARVO_CreateSharedFolder, "\\\\M", "C:\\data", "data$", "what is shared");

    const Ways once = {.failures = false, .allocations = false};
    Case("nothing given is nothing handed over", once, [](Stage& stage) {
        const Network network;
        stage.Call(&TARVO_CreateAccount, "", nullptr, "", 2, 1);
        stage.Call(&TARVO_DeleteAccount, nullptr, nullptr);
        stage.Call(&TARVO_CreateLocalGroup, nullptr, nullptr, nullptr);
        stage.Call(&TARVO_DeleteLocalGroup, "\\\\M", nullptr);
        stage.Call(&TARVO_AddUserToLocalGroup, nullptr, nullptr, nullptr);
        stage.Call(&TARVO_CreateSharedFolder, nullptr, nullptr, nullptr, nullptr);
    });
    Case("statuses have their texts", once, [](Stage& stage) {
        for (const DWORD status : {1378UL, 2100UL, 2116UL}) {
            const Network network(status);
            stage.Call(&TARVO_DeleteLocalGroup, nullptr, "ops");
        }
        for (const DWORD status : {2099UL, 2117UL, 2118UL, 2220UL, 2221UL, 2222UL, 2223UL, 2224UL, 2226UL, 2245UL,
                                   2351UL, 2453UL, 0xFFFFFFFEUL}) {
            const Network network(status);
            const DWORD code = TARVO_DeleteLocalGroup(nullptr, "ops");
            stage.Tell(std::to_string(code),
                       kit::LastMessage() == kit::SystemText(code) ? "<text>" : kit::LastMessage());
        }
    });
    Case("what is not implemented says so", once, [](Stage& stage) {
        for (const auto function : {&TARVO_DlgCreateAccount, &TARVO_DeleteShare, &TARVO_DlgCreateSharedFolder,
                                    &TARVO_SetPermissions, &TARVO_DlgSetPermissions})
            stage.Call(function);
    });
}

} // namespace
