#pragma once

namespace tarvo {

/** Each traces its call, the tests their answer too. Their paths are never NULL. */

/** @return non-zero if the path exists; ifUnknown if the system cannot tell, as for a folder that may not be read. */
int IsPathExist(const char* path, int ifUnknown);

/** @return non-zero for an existing file. */
int IsPathFile(const char* path);

/** @return non-zero for an existing directory. */
int IsPathDirectory(const char* path);

/**
 * Rewrites a path in place, never longer: runs of backslashes become one, "\.." goes with the component before it,
 * "\." goes, and so does a backslash at the end. The first two characters (a drive, the start of a UNC path or of an
 * NT prefix) are never looked at. NULL is left alone. Takes time in proportion to the length.
 */
void NormalizePath(char* path);

} // namespace tarvo
