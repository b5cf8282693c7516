#pragma once

#include <windows.h>

#include "base/memory.h"

namespace tarvo {

/** An access-control list in memory of the library. */
class UniqueAcl : public HeapArray<BYTE> {
public:
    PACL Acl() const { return reinterpret_cast<PACL>(Get()); }
};

/** Who gets which access to an object. */
struct Grant {
    PSID sid;
    DWORD mask;
    BOOL replace;    // the object's entries go, all of them
    bool thisObject; // an entry for the object itself
    bool inherit;    // an entry that only its children inherit
};

/**
 * Makes a list with a grant's entries. Without replacing, those of the old list stay in their order, but for the
 * principal's own allowing and denying ones; the new ones stand in front of the first allowing or inherited entry,
 * behind the explicit denials.
 * @param dacl  Receives the list; none after a failure.
 * @param old   May be NULL. The principal's entries are taken out of it.
 * @return 0; ERROR_INVALID_PARAMETER, no SID or no entry asked for; ERROR_INVALID_ACL, an old entry reaches beyond
 *         its list; ERROR_ALLOTTED_SPACE_EXCEEDED, more than the 64 KB that a list can have;
 *         ERROR_NOT_ENOUGH_MEMORY; or the platform's code
 */
DWORD GenerateNewDacl(UniqueAcl& dacl, PACL old, const Grant& grant);

} // namespace tarvo
