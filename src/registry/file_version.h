#pragma once

#include <windows.h>

#include "base/path.h"

namespace tarvo {

/** A file's version as its resource states it: two words, compared as numbers. */
struct FileVersion {
    DWORD ms; // major, minor
    DWORD ls; // build, revision
};

/** @return whether the file has a version resource that could be read (GetFileVersionInfo); else version stays. */
BOOL GetFileVersion(const char* path, DWORD* versionMs, DWORD* versionLs);

/** @return -1, 0 or 1 as the first version is lower, equal or higher. */
int CompareVersions(DWORD ms1, DWORD ls1, DWORD ms2, DWORD ls2);

/**
 * A copy of a library in a list to be sorted. The first member is what the
 * comparator takes; the rest remembers the version once it was read.
 */
struct LibraryCopy {
    const char* path;
    bool versionRead;
    BOOL hasVersion;
    FileVersion version;
};

/**
 * A sort comparator over two LibraryCopy: the newer file first, files without a version last. What the next restart
 * will put in a copy's place counts instead of the copy.
 */
int CompareDLLVersions(const void* first, const void* second);

} // namespace tarvo
