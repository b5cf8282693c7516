#include "registry/file_version.h"

#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constinit const VersionCache* versionCache = nullptr;

/** Reads the fixed version information; a resource shorter than it claims to be counts as none. */
BOOL ReadFixedVersion(const char* path, DWORD* versionMs, DWORD* versionLs)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    if (size == 0)
        return FALSE;
    HeapArray<unsigned char> block;
    if (!block.Allocate(size) || !GetFileVersionInfoA(path, 0, size, block.Get()))
        return FALSE;
    void* fixed = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(block.Get(), "\\", &fixed, &length) || length < sizeof(VS_FIXEDFILEINFO))
        return FALSE;
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(fixed);
    *versionMs = info->dwFileVersionMS;
    *versionLs = info->dwFileVersionLS;
    return TRUE;
}

/** Settles which file will be there after the next restart. */
void FindEffectiveFile(const char* path, PathText& file)
{
    if (TARVO_FindSourceInPFOs(path, file.Buffer(), PathText::kSize) != ERROR_SUCCESS || file.Empty())
        file.SetCut(path);
}

/** @return whether the file has a version resource that could be read (GetFileVersionInfo); else version stays. */
BOOL GetFileVersion(const char* path, DWORD* versionMs, DWORD* versionLs)
{
    if (!path || !versionMs || !versionLs)
        return FALSE;
    TraceStream stream("GetFileVersion");
    stream.Add(path).Add(static_cast<const void*>(versionMs)).Add(static_cast<const void*>(versionLs)).Open();
    return ReadFixedVersion(path, versionMs, versionLs);
}

/** @return -1, 0 or 1 as the first version is lower, equal or higher. */
int CompareVersions(DWORD ms1, DWORD ls1, DWORD ms2, DWORD ls2)
{
    TraceStream stream("CompareVersions");
    stream.Add(ms1).Add(ls1).Add(ms2).Add(ls2).Open();
    if (ms1 != ms2)
        return ms1 < ms2 ? -1 : 1;
    return (ls1 > ls2) - (ls1 < ls2);
}

BOOL VersionOf(const char* path, FileVersion& version)
{
    PathText file;
    FindEffectiveFile(path, file);
    VersionCache::Version* const known = versionCache ? versionCache->Find(path) : nullptr;
    if (known && known->read) {
        version = known->words;
        return known->isThere;
    }
    const BOOL isThere = GetFileVersion(file.Get(), &version.ms, &version.ls);
    if (known)
        *known = {path, true, isThere, version};
    return isThere;
}

const char* PathAt(const void* element)
{
    return *static_cast<const char* const*>(element);
}

} // namespace

int CompareDLLVersions(const void* first, const void* second)
{
    FunctionScope scope("CompareDLLVersions", 2);
    TracePrint(kInfo, 3, "Path1 = [%s]\n", PathAt(first));
    TracePrint(kInfo, 3, "Path2 = [%s]\n", PathAt(second));
    FileVersion version1 = {};
    FileVersion version2 = {};
    const BOOL hasVersion1 = VersionOf(PathAt(first), version1);
    const BOOL hasVersion2 = VersionOf(PathAt(second), version2);
    if (!hasVersion1) {
        TracePrint(kInfo, 2, "%s", "No version for Path1, returning +1\n");
        return 1;
    }
    if (!hasVersion2) {
        TracePrint(kInfo, 2, "%s", "No version for Path2, returning -1\n");
        return -1;
    }
    const int order = CompareVersions(version1.ms, version1.ls, version2.ms, version2.ls);
    TracePrint(kInfo, 2, "CompareVersions returned [%d]\n", order);
    return -order;
}

VersionCache::VersionCache(size_t paths)
{
    while (count_ < 2 * paths)
        count_ *= 2;
    static_cast<void>(slots_.AllocateZeroed(count_));
    versionCache = this;
}

VersionCache::~VersionCache()
{
    versionCache = nullptr;
}

VersionCache::Version* VersionCache::Find(const char* path) const
{
    if (!slots_)
        return nullptr;
    size_t slot = reinterpret_cast<uintptr_t>(path) * 2654435761U >> 8;
    while (slots_[slot &= count_ - 1].path && slots_[slot].path != path)
        ++slot;
    return &slots_[slot];
}

} // namespace tarvo
