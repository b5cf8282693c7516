#pragma once

#include <windows.h>

#include "base/path.h"

namespace tarvo {

/** A file's version as its resource states it: two words, compared as numbers. */
struct FileVersion {
    DWORD ms; // major, minor
    DWORD ls; // build, revision
};

/**
 * A sort comparator over two pointers to paths: the newer file first, files without a version last. What the next
 * restart will put in a path's place counts instead of what lies there.
 */
int CompareDLLVersions(const void* first, const void* second);

/**
 * While one lives, the comparator reads no version twice: a sort of n paths compares each many times. It tells paths
 * by where their texts lie. One at a time.
 */
class VersionCache {
public:
    /** @param paths  How many will be compared. Without memory nothing is remembered. */
    explicit VersionCache(size_t paths);
    ~VersionCache();
    VersionCache(const VersionCache&) = delete;
    VersionCache& operator=(const VersionCache&) = delete;

    struct Version {
        const char* path;
        bool read;
        BOOL isThere;
        FileVersion words;
    };

    /** @return what is remembered of a path, or to be filled; NULL without memory */
    Version* Find(const char* path) const;

private:
    HeapArray<Version> slots_; // a power of two, half of them free
    size_t count_ = 2;
};

} // namespace tarvo
