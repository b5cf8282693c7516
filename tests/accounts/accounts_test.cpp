// What the network management functions are handed, and how each of their answers is reported. They are stood in for:
// Wine answers most of them without doing anything.

#include "kit/kit.h"

#include <lm.h>

#include <memory>

namespace {

std::string Text(const wchar_t* text)
{
    if (!text)
        return "NULL";
    std::string narrow;
    for (; *text; ++text)
        narrow += static_cast<char>(*text);
    return narrow;
}

/** Takes every network call down as one line and answers all with one status. */
class Network {
public:
    Network()
    {
        controller_.Answer([this](const wchar_t* server, const wchar_t* domain, BYTE** buffer) {
            Note({"GetDCName", Text(server), Text(domain)});
            if (controllerStatus)
                return controllerStatus;
            void* name = nullptr;
            NetApiBufferAllocate(32, &name);
            wcscpy(static_cast<wchar_t*>(name), L"\\\\PDC");
            *buffer = static_cast<BYTE*>(name);
            return NET_API_STATUS{NERR_Success};
        });
        userAdd_.Answer([this](const wchar_t* server, DWORD level, BYTE* data, DWORD*) {
            const USER_INFO_1& info = *reinterpret_cast<USER_INFO_1*>(data);
            return Note({"UserAdd", Text(server), Number(level), Text(info.usri1_name), Text(info.usri1_password),
                         Number(info.usri1_password_age), Number(info.usri1_priv), Text(info.usri1_home_dir),
                         Text(info.usri1_comment), Number(info.usri1_flags), Text(info.usri1_script_path)});
        });
        userDel_.Answer([this](const wchar_t* server, const wchar_t* user) {
            return Note({"UserDel", Text(server), Text(user)});
        });
        groupAdd_.Answer([this](const wchar_t* server, DWORD level, BYTE* data, DWORD*) {
            const LOCALGROUP_INFO_1& info = *reinterpret_cast<LOCALGROUP_INFO_1*>(data);
            return Note({"GroupAdd", Text(server), Number(level), Text(info.lgrpi1_name), Text(info.lgrpi1_comment)});
        });
        groupDel_.Answer([this](const wchar_t* server, const wchar_t* group) {
            return Note({"GroupDel", Text(server), Text(group)});
        });
        addMembers_.Answer([this](const wchar_t* server, const wchar_t* group, DWORD level, BYTE* data, DWORD count) {
            return Note({"AddMembers", Text(server), Text(group), Number(level), Number(count),
                         Text(reinterpret_cast<LOCALGROUP_MEMBERS_INFO_3*>(data)->lgrmi3_domainandname)});
        });
        shareAdd_.Answer([this](wchar_t* server, DWORD level, BYTE* data, DWORD*) {
            const SHARE_INFO_2& info = *reinterpret_cast<SHARE_INFO_2*>(data);
            return Note({"ShareAdd", Text(server), Number(level), Text(info.shi2_netname), Number(info.shi2_type),
                         Text(info.shi2_remark), Number(info.shi2_permissions), Number(info.shi2_max_uses),
                         Number(info.shi2_current_uses), Text(info.shi2_path), Text(info.shi2_passwd)});
        });
    }

    /** @return whether each name of a controller was freed, and nothing else. */
    bool FreesNames() const { return release_.Calls() == (controllerStatus ? 0 : controller_.Calls()); }

    std::vector<std::string> calls;
    NET_API_STATUS status = NERR_Success;
    NET_API_STATUS controllerStatus = NERR_Success;

private:
    static std::string Number(DWORD number)
    {
        char digits[16];
        snprintf(digits, sizeof digits, "%lx", number);
        return digits;
    }

    NET_API_STATUS Note(std::initializer_list<std::string> fields)
    {
        std::string& call = calls.emplace_back();
        for (const std::string& field : fields)
            call += call.empty() ? field : ", " + field;
        return status;
    }

    kit::ImportHook<decltype(&NetGetDCName)> controller_{"NetGetDCName", &NetGetDCName};
    kit::ImportHook<decltype(&NetUserAdd)> userAdd_{"NetUserAdd", &NetUserAdd};
    kit::ImportHook<decltype(&NetUserDel)> userDel_{"NetUserDel", &NetUserDel};
    kit::ImportHook<decltype(&NetLocalGroupAdd)> groupAdd_{"NetLocalGroupAdd", &NetLocalGroupAdd};
    kit::ImportHook<decltype(&NetLocalGroupDel)> groupDel_{"NetLocalGroupDel", &NetLocalGroupDel};
    kit::ImportHook<decltype(&NetLocalGroupAddMembers)> addMembers_{"NetLocalGroupAddMembers",
                                                                    &NetLocalGroupAddMembers};
    kit::ImportHook<decltype(&NetShareAdd)> shareAdd_{"NetShareAdd", &NetShareAdd};
    kit::ImportHook<decltype(&NetApiBufferFree)> release_{"NetApiBufferFree", &NetApiBufferFree};
};

using Accounts = kit::LibraryTest;
using Calls = std::vector<std::string>;

const struct NetworkCase {
    DWORD (*call)();
    Calls calls;
    const char* line; // of the log
} kCases[] = {
    {[] { return TARVO_CreateAccount(nullptr, "bob", "secret\xE9", 1, 0x200); },
     {"UserAdd, NULL, 1, bob, secret\xE9, 0, 1, NULL, NULL, 201, NULL"},
     "Domain=[null], User=[bob], Password=[******], Privilege=[0x1], AccountType=[0x200]"},
    {[] { return TARVO_CreateAccount("DOM", "bob", nullptr, 0xFFFFFFFF, 0); },
     {"GetDCName, NULL, DOM", "UserAdd, \\\\PDC, 1, bob, NULL, 0, ffffffff, NULL, NULL, 1, NULL"},
     "Domain=[DOM], User=[bob], Password=[<null>], Privilege=[0xFFFFFFFF], AccountType=[0x0]"},
    {[] { return TARVO_CreateAccount("", nullptr, "", 2, 1); },
     {"GetDCName, NULL, ", "UserAdd, \\\\PDC, 1, NULL, , 0, 2, NULL, NULL, 1, NULL"},
     "Domain=[], User=[null], Password=[******], Privilege=[0x2], AccountType=[0x1]"},
    {[] { return TARVO_DeleteAccount(nullptr, "bob"); }, {"UserDel, NULL, bob"}, "Domain=[null], User=[bob]"},
    {[] { return TARVO_DeleteAccount("DOM", "bob"); },
     {"GetDCName, NULL, DOM", "UserDel, \\\\PDC, bob"},
     "Domain=[DOM], User=[bob]"},
    {[] { return TARVO_CreateLocalGroup("\\\\M", "ops", "who operates"); },
     {"GroupAdd, \\\\M, 1, ops, who operates"},
     "Machine=[\\\\M], Group=[ops], Comment=[who operates]"},
    {[] { return TARVO_CreateLocalGroup(nullptr, nullptr, nullptr); },
     {"GroupAdd, NULL, 1, NULL, NULL"},
     "Machine=[<Local Machine>], Group=[null], Comment=[null]"},
    {[] { return TARVO_DeleteLocalGroup(nullptr, "ops"); },
     {"GroupDel, NULL, ops"},
     "Machine=[<Local Machine>], Group=[ops]"},
    {[] { return TARVO_AddUserToLocalGroup("DOM\\bob", "\\\\M", "ops"); },
     {"AddMembers, \\\\M, ops, 3, 1, DOM\\bob"},
     "Account=[DOM\\bob], Machine=[\\\\M], Group=[ops]"},
    {[] { return TARVO_CreateSharedFolder(nullptr, "C:\\data", "data$", nullptr); },
     {"ShareAdd, NULL, 2, data$, 0, NULL, 3f, ffffffff, 0, C:\\data, NULL"},
     "Machine=[<Local Machine>], Path=[C:\\data], Share=[data$], Comment=[null]"},
};

TEST_F(Accounts, FieldsThatAreHandedOver)
{
    kit::TraceLog log(Scratch().Path("trace.log"));
    for (const NetworkCase& row : kCases) {
        SCOPED_TRACE(row.line);
        Network network;
        log.Clear();
        EXPECT_EQ(0U, row.call());
        EXPECT_EQ(row.calls, network.calls);
        EXPECT_TRUE(network.FreesNames());
        EXPECT_TRUE(log.Contains(row.line));
        EXPECT_FALSE(log.Contains("secret"));
    }
}

TEST_F(Accounts, StatusesAndTheirTexts)
{
    struct {
        DWORD status;
        std::string text;
    } const kStatuses[] = {
        {ERROR_ACCESS_DENIED, kit::SystemText(ERROR_ACCESS_DENIED)},
        {ERROR_MEMBER_IN_ALIAS, kit::SystemText(ERROR_MEMBER_IN_ALIAS)},
        {2099, kit::SystemText(2099)},
        {2100, "Unspecified error"},
        {2116, "The device or directory does not exist"},
        {2117, "The operation is invalid for a redirected resource. The specified device name is assigned to a shared "
               "resource."},
        {2118, "The sharename is already in use on this server"},
        {2220, "The local group specified by the groupname parameter does not exist"},
        {2221, "The user name could not be found"},
        {2222, "Unspecified error"},
        {2223, "The group already exists"},
        {2224, "The user account already exists"},
        {2226, "The operation is allowed only on the primary domain controller of the domain"},
        {2245, "The password is shorter than required"},
        {2351, "The computer name is invalid"},
        {2453, "Could not find the domain controller for the domain"},
        {0xFFFFFFFE, "Unspecified error"},
    };
    for (const NetworkCase& row : kCases) {
        Network network;
        for (const auto& [status, text] : kStatuses) {
            network.status = status;
            EXPECT_EQ(status, row.call()) << row.line;
            EXPECT_EQ(text, kit::LastMessage()) << row.line << status;
        }
        EXPECT_TRUE(network.FreesNames());
    }
}

TEST_F(Accounts, WithoutAControllerNothingElseIsCalled)
{
    Network network;
    network.controllerStatus = NERR_DCNotFound;
    EXPECT_EQ(DWORD{NERR_DCNotFound}, TARVO_CreateAccount("DOM", "bob", "x", 1, 0));
    EXPECT_EQ("Could not find the domain controller for the domain", kit::LastMessage());
    network.controllerStatus = ERROR_BAD_NETPATH;
    EXPECT_TRUE(kit::Gives(ERROR_BAD_NETPATH, TARVO_DeleteAccount("DOM", "bob")));
    EXPECT_EQ(Calls(2, "GetDCName, NULL, DOM"), network.calls);
    EXPECT_TRUE(network.FreesNames());
}

TEST_F(Accounts, WithoutMemoryNothingIsCalled)
{
    for (const NetworkCase& row : kCases) {
        Network network;
        WithEachAllocationFailing([&] {
            network.calls.clear();
            const DWORD code = row.call();
            if (!Heap().FailureHappened()) {
                EXPECT_EQ(0U, code);
                return;
            }
            const bool isShare = std::string(row.line).find("Share=") != std::string::npos;
            EXPECT_EQ(isShare ? DWORD{ERROR_NOT_ENOUGH_MEMORY} : 0xFFFFFFFF, code) << row.line;
            EXPECT_EQ(isShare ? kit::SystemText(ERROR_NOT_ENOUGH_MEMORY) : "Unspecified error", kit::LastMessage());
            EXPECT_TRUE(network.calls.empty());
        });
    }
}

TEST_F(Accounts, UnimplementedExportsSaySo)
{
    for (const auto call : {&TARVO_DlgCreateAccount, &TARVO_DeleteShare, &TARVO_DlgCreateSharedFolder,
                            &TARVO_SetPermissions, &TARVO_DlgSetPermissions}) {
        TARVO_SetFileSecurity(nullptr, nullptr, 0, 0, 0); // another text
        EXPECT_EQ(DWORD{ERROR_INVALID_FUNCTION}, call());
        EXPECT_EQ("Function unimplemented", kit::LastMessage());
    }
}

} // namespace
