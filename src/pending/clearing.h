#pragma once

namespace tarvo {

/**
 * Takes every rename onto a path off the list, as TARVO_RemovePendingFileOperation does. The source copies that were
 * staged for them go too.
 * @param spared  A file that stays all the same; or NULL.
 */
void ClearRenamesOnto(const char* path, const char* spared);

/** Takes every operation on a path, as target or as source, off the list: a change made now shall last. */
void ClearPendingEntries(const char* path, const char* spared);

} // namespace tarvo
