// Which SID a principal gets.

#include "security/sid.h"

#include <gtest/gtest.h>

#include <lm.h>
#include <sddl.h>

#include <string>

namespace {

using namespace tarvo;

std::string Text(PSID sid)
{
    char* text = nullptr;
    if (!sid || !ConvertSidToStringSidA(sid, &text))
        return "none";
    std::string result = text;
    LocalFree(text);
    return result;
}

std::string MachineSid()
{
    USER_MODALS_INFO_2* modals = nullptr;
    EXPECT_EQ(0U, NetUserModalsGet(nullptr, 2, reinterpret_cast<BYTE**>(&modals)));
    const std::string text = Text(modals->usrmod2_domain_id);
    NetApiBufferFree(modals);
    return text;
}

struct RidCase {
    const char* domain;
    DWORD rid;
    DWORD code;
    std::string sid;
};

TEST(Sid, RelativeIdentifiers)
{
    const std::string machine = MachineSid();
    const RidCase kCases[] = {
        {nullptr, 0, 0, "S-1-1-0"},
        {nullptr, 1, 0, "S-1-5-1"},
        {nullptr, 18, 0, "S-1-5-18"},
        {nullptr, 32, 0, "S-1-5-32"},
        {nullptr, 33, ERROR_NOT_SUPPORTED, "none"},
        {nullptr, 499, ERROR_NOT_SUPPORTED, "none"},
        {nullptr, 500, 0, machine + "-500"},
        {nullptr, 543, 0, machine + "-543"},
        {nullptr, 544, 0, "S-1-5-32-544"},
        {nullptr, 999, 0, "S-1-5-32-999"},
        {nullptr, 1000, ERROR_NOT_SUPPORTED, "none"},
        {nullptr, 0xFFFFFFFF, ERROR_NOT_SUPPORTED, "none"},
        {"NOSUCHDOMAIN", 0, ERROR_NOT_SUPPORTED, "none"},
        {"NOSUCHDOMAIN", 18, ERROR_NOT_SUPPORTED, "none"},
        {"NOSUCHDOMAIN", 544, ERROR_NOT_SUPPORTED, "none"},
        {"NOSUCHDOMAIN", 500, ERROR_ACCESS_DENIED, "none"},
    };
    for (const RidCase& row : kCases) {
        UniqueSid sid;
        ASSERT_TRUE(sid.AllocateZeroed(1)); // what a failing call takes away
        EXPECT_EQ(row.code, LookupSidFromRid(row.domain, row.rid, sid)) << row.rid;
        EXPECT_EQ(row.sid, Text(sid.Get())) << row.rid;
    }
}

TEST(Sid, AliasesAreDomainRelative)
{
    struct {
        DWORD rid;
        bool principal, relative, alias;
    } const kCases[] = {{0, false, false, false},   {1, true, false, false},    {32, true, false, false},
                        {33, false, false, false},  {499, false, false, false}, {500, false, true, false},
                        {543, false, true, false},  {544, false, true, true},   {999, false, true, true},
                        {1000, false, false, false}};
    for (const auto& row : kCases) {
        EXPECT_EQ(row.principal, IsNTAuthorityPrincipalRid(row.rid)) << row.rid;
        EXPECT_EQ(row.relative, IsDomainRelativeRid(row.rid)) << row.rid;
        EXPECT_EQ(row.alias, IsDomainRelativeAliasRid(row.rid)) << row.rid;
    }
}

TEST(Sid, CurrentAccountIsCopiedEachTime)
{
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    alignas(TOKEN_USER) BYTE user[256];
    DWORD size = 0;
    ASSERT_TRUE(GetTokenInformation(token, TokenUser, user, sizeof user, &size));
    CloseHandle(token);
    UniqueSid first;
    UniqueSid second;
    EXPECT_EQ(0U, GetCurrentSID(first));
    EXPECT_EQ(0U, GetCurrentSID(second));
    EXPECT_NE(first.Get(), second.Get());
    EXPECT_EQ(Text(reinterpret_cast<TOKEN_USER*>(user)->User.Sid), Text(first.Get()));
    EXPECT_EQ(Text(first.Get()), Text(second.Get()));
}

TEST(Sid, AccountsByName)
{
    UniqueSid sid;
    EXPECT_EQ(0U, GetAccountSid("Everyone", sid));
    EXPECT_EQ("S-1-1-0", Text(sid.Get()));
    EXPECT_EQ(DWORD{ERROR_NONE_MAPPED}, GetAccountSid("no such account", sid));
    EXPECT_FALSE(sid);
}

} // namespace
