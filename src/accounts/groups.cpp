// Local groups and their members.

#include <windows.h>

#include <lm.h>

#include "accounts/network_status.h"
#include "base/text.h"
#include "base/wide_text.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

DWORD AddGroup(const wchar_t* machine, wchar_t* group, wchar_t* comment)
{
    LOCALGROUP_INFO_1 info = {};
    info.lgrpi1_name = group;
    info.lgrpi1_comment = comment;
    DWORD wrongParameter = 0;
    return NetLocalGroupAdd(machine, 1, reinterpret_cast<BYTE*>(&info), &wrongParameter);
}

DWORD AddMember(wchar_t* account, const wchar_t* machine, const wchar_t* group)
{
    LOCALGROUP_MEMBERS_INFO_3 member = {};
    member.lgrmi3_domainandname = account;
    return NetLocalGroupAddMembers(machine, group, 3, reinterpret_cast<BYTE*>(&member), 1);
}

DWORD CreateLocalGroupA(const char* machine, const char* group, const char* comment)
{
    FunctionScope scope("CreateLocalGroupA", 2);
    const WideArguments wide({machine, group, comment});
    return wide.Converted() ? AddGroup(wide[0], wide[1], wide[2]) : TARVO_ERROR_FAILED;
}

DWORD DeleteLocalGroupA(const char* machine, const char* group)
{
    FunctionScope scope("DeleteLocalGroupA", 2);
    const WideArguments wide({machine, group});
    return wide.Converted() ? NetLocalGroupDel(wide[0], wide[1]) : TARVO_ERROR_FAILED;
}

DWORD AddUserToLocalGroupA(const char* account, const char* machine, const char* group)
{
    FunctionScope scope("AddUserToLocalGroupA", 2);
    const WideArguments wide({account, machine, group});
    return wide.Converted() ? AddMember(wide[0], wide[1], wide[2]) : TARVO_ERROR_FAILED;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_CreateLocalGroup(const char* machine, const char* group, const char* comment)
{
    FunctionScope scope("TARVO_CreateLocalGroup", 0);
    TracePrint(kInfo, 1, "Machine=[%s], Group=[%s], Comment=[%s]\n", ShownMachine(machine), Shown(group),
               Shown(comment));
    return EndNetworkCall(scope, CreateLocalGroupA(machine, group, comment));
}

DWORD __cdecl TARVO_DeleteLocalGroup(const char* machine, const char* group)
{
    FunctionScope scope("TARVO_DeleteLocalGroup", 0);
    TracePrint(kInfo, 1, "Machine=[%s], Group=[%s]\n", ShownMachine(machine), Shown(group));
    return EndNetworkCall(scope, DeleteLocalGroupA(machine, group));
}

DWORD __cdecl TARVO_AddUserToLocalGroup(const char* account, const char* machine, const char* group)
{
    FunctionScope scope("TARVO_AddUserToLocalGroup", 0);
    TracePrint(kInfo, 1, "Account=[%s], Machine=[%s], Group=[%s]\n", Shown(account), ShownMachine(machine),
               Shown(group));
    return EndNetworkCall(scope, AddUserToLocalGroupA(account, machine, group));
}
