#pragma once

#include <windows.h>

#include "base/memory.h"

namespace tarvo {

/** A SID in memory of the library; an empty owner holds none. */
using UniqueSid = HeapArray<BYTE>;

/** A SID of one or two sub-authorities. */
struct WellKnownSid {
    SID_IDENTIFIER_AUTHORITY authority;
    BYTE count;
    DWORD subAuthorities[2];
};

inline constexpr WellKnownSid kEveryone = {SECURITY_WORLD_SID_AUTHORITY, 1, {SECURITY_WORLD_RID}};
inline constexpr WellKnownSid kCreatorOwner = {SECURITY_CREATOR_SID_AUTHORITY, 1, {SECURITY_CREATOR_OWNER_RID}};
inline constexpr WellKnownSid kLocalSystem = {SECURITY_NT_AUTHORITY, 1, {SECURITY_LOCAL_SYSTEM_RID}};

/*
 * All of these leave sid empty when they fail. Codes beyond those named are
 * the platform's, or ERROR_NOT_ENOUGH_MEMORY.
 */

DWORD BuildSid(const WellKnownSid& wellKnown, UniqueSid& sid);

/** Makes the SID of a principal that is the same everywhere. @return 0; ERROR_NOT_SUPPORTED, there is none for rid */
DWORD LookupLocalGroupSidFromRid(DWORD rid, UniqueSid& sid);

/**
 * Makes the SID of a relative identifier.
 * @param domain  NULL: the principals that are the same everywhere, or those of this machine's own accounts.
 * @return 0; ERROR_NOT_SUPPORTED, there is none for rid (in a domain only 500 to 543 are looked for);
 *         ERROR_ACCESS_DENIED, no domain controller answers or none tells its domain's SID
 */
DWORD LookupSidFromRid(const char* domain, DWORD rid, UniqueSid& sid);

/** Finds the SID of an account name (LookupAccountName). @return 0; ERROR_NONE_MAPPED, no such account */
DWORD GetAccountSid(const char* account, UniqueSid& sid);

/**
 * Copies the SID of the account that runs this process, as it was at the first call.
 * @return 0, also, with sid then empty, if the process token names no valid SID
 */
DWORD GetCurrentSID(UniqueSid& sid);

} // namespace tarvo
