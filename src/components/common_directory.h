#pragma once

namespace tarvo {

/**
 * The directory that the product's components share, as the registry names it: the management agent's
 * "InstallationDirectory", or "Common" below the product's "InstallationRootDirectory". Once found it is kept for the
 * life of the process; until then each call looks again.
 * @return the directory, at most 259 characters, or ""
 */
const char* GetCommonDirectory();

} // namespace tarvo
