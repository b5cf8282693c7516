// Shared folders.

#include <windows.h>

#include <lm.h>

#include "accounts/network_status.h"
#include "base/text.h"
#include "base/wide_text.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr DWORD kSharePermissions =
    ACCESS_READ | ACCESS_WRITE | ACCESS_CREATE | ACCESS_EXEC | ACCESS_DELETE | ACCESS_ATRIB;
constexpr DWORD kUnlimitedUses = 0xFFFFFFFF;

DWORD AddShare(wchar_t* machine, wchar_t* path, wchar_t* share, wchar_t* comment)
{
    SHARE_INFO_2 info = {};
    info.shi2_netname = share;
    info.shi2_type = STYPE_DISKTREE;
    info.shi2_remark = comment;
    info.shi2_permissions = kSharePermissions;
    info.shi2_max_uses = kUnlimitedUses;
    info.shi2_path = path;
    DWORD wrongParameter = 0;
    return NetShareAdd(machine, 2, reinterpret_cast<BYTE*>(&info), &wrongParameter);
}

DWORD CreateSharedFolderA(const char* machine, const char* path, const char* share, const char* comment)
{
    FunctionScope scope("CreateSharedFolderA", 2);
    const WideArguments wide({machine, path, share, comment});
    return wide.Converted() ? AddShare(wide[0], wide[1], wide[2], wide[3]) : ERROR_NOT_ENOUGH_MEMORY;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_CreateSharedFolder(const char* machine, const char* path, const char* share, const char* comment)
{
    FunctionScope scope("TARVO_CreateSharedFolder", 0);
    TracePrint(kInfo, 1, "Machine=[%s], Path=[%s], Share=[%s], Comment=[%s]\n", ShownMachine(machine), Shown(path),
               Shown(share), Shown(comment));
    return EndNetworkCall(scope, CreateSharedFolderA(machine, path, share, comment));
}
