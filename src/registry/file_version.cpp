#include "registry/file_version.h"

#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

void TraceRead(TraceStream& stream, const char* path, const DWORD* versionMs, const DWORD* versionLs)
{
    stream.Add(path).Add(static_cast<const void*>(versionMs)).Add(static_cast<const void*>(versionLs)).Open();
}

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

/**
 * Reads a copy's version at the first comparison. Later ones show in the log
 * as the first did, but the file is not opened again: a sort of n copies
 * compares each many times.
 */
BOOL VersionOf(LibraryCopy& copy)
{
    PathText file;
    FindEffectiveFile(copy.path, file);
    if (!copy.versionRead) {
        copy.versionRead = true;
        copy.hasVersion = GetFileVersion(file.Get(), &copy.version.ms, &copy.version.ls);
        return copy.hasVersion;
    }
    TraceStream stream("GetFileVersion");
    TraceRead(stream, file.Get(), &copy.version.ms, &copy.version.ls);
    return copy.hasVersion;
}

} // namespace

BOOL GetFileVersion(const char* path, DWORD* versionMs, DWORD* versionLs)
{
    if (!path || !versionMs || !versionLs)
        return FALSE;
    TraceStream stream("GetFileVersion");
    TraceRead(stream, path, versionMs, versionLs);
    return ReadFixedVersion(path, versionMs, versionLs);
}

int CompareVersions(DWORD ms1, DWORD ls1, DWORD ms2, DWORD ls2)
{
    TraceStream stream("CompareVersions");
    stream.Add(ms1).Add(ls1).Add(ms2).Add(ls2).Open();
    if (ms1 != ms2)
        return ms1 < ms2 ? -1 : 1;
    return (ls1 > ls2) - (ls1 < ls2);
}

int CompareDLLVersions(const void* first, const void* second)
{
    FunctionScope scope("CompareDLLVersions", 2);
    // The sort hands out its elements as constant; what they remember is not part of the order.
    LibraryCopy& copy1 = *const_cast<LibraryCopy*>(static_cast<const LibraryCopy*>(first));
    LibraryCopy& copy2 = *const_cast<LibraryCopy*>(static_cast<const LibraryCopy*>(second));
    TracePrint(kInfo, 3, "Path1 = [%s]\n", copy1.path);
    TracePrint(kInfo, 3, "Path2 = [%s]\n", copy2.path);
    const BOOL hasVersion1 = VersionOf(copy1);
    const BOOL hasVersion2 = VersionOf(copy2);
    if (!hasVersion1) {
        TracePrint(kInfo, 2, "%s", "No version for Path1, returning +1\n");
        return 1;
    }
    if (!hasVersion2) {
        TracePrint(kInfo, 2, "%s", "No version for Path2, returning -1\n");
        return -1;
    }
    const int order = CompareVersions(copy1.version.ms, copy1.version.ls, copy2.version.ms, copy2.version.ls);
    TracePrint(kInfo, 2, "CompareVersions returned [%d]\n", order);
    return -order;
}

} // namespace tarvo
