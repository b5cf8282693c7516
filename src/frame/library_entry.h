#pragma once

#include <windows.h>

namespace tarvo {

/** What the library lets go of at unload, in this order. The log closes between the dialog and the pending list. */
enum class ReleaseStage { kSecurityPolicies, kCurrentSid, kProgressDialog, kPendingList, kUninstallLog, kCount };

/**
 * Has a subsystem's process-wide state released at unload. Called when the
 * state comes into being; naming it again changes nothing.
 * @param release  Runs under the loader lock: frees memory, handles and windows, no more.
 */
void ReleaseAtUnload(ReleaseStage stage, void (*release)());

/** The library's own module, for its resources. */
HINSTANCE LibraryInstance();

/** Whether the host program has declared itself a setup (TARVO_LoadedInSetup). */
bool IsLoadedInSetup();

} // namespace tarvo
