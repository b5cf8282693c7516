#pragma once

namespace tarvo {

/** Takes every deferred operation on a path, as target or as source, off the list: a change made now shall last. */
void ClearPendingEntries(const char* path);

} // namespace tarvo
