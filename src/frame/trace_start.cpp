// The three ways to start the trace log.

#include <windows.h>

#include <shlobj.h>

#include "base/path.h"
#include "frame/library_entry.h"
#include "frame/trace.h"
#include "frame/version.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr LONGLONG kMaxLogSize = 10LL * 1024 * 1024;
constexpr char kLogFolder[] = "Velmora\\Logs\\Setup\\";

void WriteBanner()
{
    TracePrint(kAllSeverities, 0, "%s", "\n******************************\n");
    TracePrint(kAllSeverities, 0, "%s version %d.%d.%d\n", kLibraryName, kVersionMajor, kVersionMinor, kVersionBuild);
}

/** Opens for reading, others may read too, as the test for a file that is there. */
UniqueFile OpenToLook(const char* path)
{
    return UniqueFile(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
}

void DeleteIfTooLarge(const char* log)
{
    LARGE_INTEGER size = {};
    const bool tooLarge = GetFileSizeEx(OpenToLook(log).Get(), &size) && size.QuadPart > kMaxLogSize;
    if (tooLarge)
        DeleteFileA(log);
}

void GetWindowsLog(PathText& log)
{
    PathText windows;
    const UINT length = GetWindowsDirectoryA(windows.Buffer(), PathText::kSize);
    if (length >= PathText::kSize)
        windows.Clear();
    static_cast<void>(JoinPath(log, windows.Get(), kLibraryBaseName, "log"));
}

/** Where the run-time start writes: the folder ("" for none) and the file in it. */
struct LogPlace {
    PathText folder;
    PathText file;
};

/** @return false if the path does not fit. A path that names a folder gets the file tarvo.log. */
bool TakeGivenPlace(const char* path, LogPlace& place)
{
    const PathParts parts = SplitPath(path);
    const std::string_view file = FilePart(parts);
    return place.folder.Set(FolderPart(parts)) && place.file.Set(file.empty() ? "tarvo.log" : file);
}

bool TakeCommonPlace(LogPlace& place)
{
    PathText common;
    if (SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, common.Buffer()) == S_OK)
        static_cast<void>(JoinPath(place.folder, common.Get(), kLogFolder)); // too long counts as none
    return place.file.Set("tarvo.log");
}

void StartInWindowsFolder()
{
    PathText log;
    PathText hostFolder;
    PathText config;
    GetWindowsLog(log);
    GetHostFolder(hostFolder);
    static_cast<void>(JoinPath(config, hostFolder.Get(), kLibraryBaseName, "cfg"));
    DeleteIfTooLarge(log.Get());
    OpenTraceOutput(log.Get(), "a+");
    if (!OpenTraceConfig(config.Get()))
        SetTraceOptions(kAllSeverities, 255, true, false);
    WriteBanner();
}

constinit bool started = false;

} // namespace
} // namespace tarvo

using namespace tarvo;

void __cdecl TARVO_StartDebugLogging2(void)
{
    if (started)
        return;
    started = true;
    StartInWindowsFolder();
}

void __cdecl TARVO_StartDebugLogging(void)
{
    if (!IsLoadedInSetup())
        TARVO_StartDebugLogging2();
}

void __cdecl TARVO_StartDebugLoggingRunTime(const char* path, DWORD overwrite)
{
    LogPlace place;
    PathText log;
    const bool placed = IsEmpty(path) ? TakeCommonPlace(place) : TakeGivenPlace(path, place);
    if (!placed || !JoinPath(log, place.folder.Get(), place.file.Get()))
        return CloseTraceOutput(); // as for a file that cannot be opened
    if (!place.folder.Empty())
        TARVO_CreateDirectory(place.folder.Get());
    OpenTraceOutput(log.Get(), overwrite ? "w" : "a+");
    SetTraceOptions(kAllSeverities, 255, true, false);
    WriteBanner();
}
