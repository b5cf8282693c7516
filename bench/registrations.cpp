// One more copy of a library on a long list, which is sorted by the versions of all of them.

#include <windows.h>

#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kCopies = 200;
constexpr char kListsKey[] = "SOFTWARE\\Norrin Vale\\Velmora\\Delay Loading";
constexpr char kListName[] = "copy.dll";

/** Copies of the DLL and of a system library, and so of two versions. */
std::vector<std::string> MakeCopies(const ScratchFolder& folder)
{
    char systemFolder[MAX_PATH] = {};
    GetSystemDirectoryA(systemFolder, sizeof systemFolder);
    const std::string sources[] = {Library::Path(), systemFolder + std::string("\\version.dll")};
    std::vector<std::string> copies;
    for (int index = 0; index < kCopies; ++index) {
        const std::string place = folder.Path(Format("%03d", index));
        CreateDirectoryA(place.c_str(), nullptr);
        copies.push_back(place + "\\copy.dll");
        Require(CopyFileA(sources[index % 2].c_str(), copies.back().c_str(), FALSE), "CopyFile");
    }
    return copies;
}

/** The list as all but the last copy have left it. */
void RegisterOthers(const Library& library, const std::vector<std::string>& copies)
{
    HKEY key = nullptr;
    Require(library.RegisterDelayLoadLibrary(copies[0].c_str()) == 0, "TARVO_RegisterDelayLoadLibrary");
    Require(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kListsKey, 0, KEY_WRITE, &key) == 0, "RegOpenKeyEx");
    std::string list;
    for (const int first : {0, 1}) { // the copies of one version, then those of the other
        for (size_t index = static_cast<size_t>(first); index + 1 < copies.size(); index += 2)
            list.append(copies[index]).push_back('\0');
    }
    list.push_back('\0');
    Require(RegSetValueExA(key, kListName, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list.data()),
                           static_cast<DWORD>(list.size())) == 0,
            "RegSetValueEx");
    RegCloseKey(key);
}

DWORD ReadVersion(const std::string& path)
{
    DWORD ignored = 0;
    std::vector<BYTE> block(GetFileVersionInfoSizeA(path.c_str(), &ignored));
    Require(GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()), "GetFileVersionInfo");
    VS_FIXEDFILEINFO* version = nullptr;
    UINT size = 0;
    Require(VerQueryValueA(block.data(), "\\", reinterpret_cast<void**>(&version), &size), "VerQueryValue");
    return version->dwFileVersionMS;
}

} // namespace

void MeasureRegistrations(Report& report)
{
    const ScratchFolder folder;
    const Library library;
    const std::vector<std::string> copies = MakeCopies(folder);
    const auto registerLast = [&] {
        Require(library.RegisterDelayLoadLibrary(copies.back().c_str()) == 0, "TARVO_RegisterDelayLoadLibrary");
    };
    const auto readAll = [&] {
        for (const std::string& copy : copies)
            Require(ReadVersion(copy) != 0, "finding a version");
    };
    report.Compare("TARVO_RegisterDelayLoadLibrary, the 200th copy",
                   "reading 200 versions: GetFileVersionInfoSizeA, GetFileVersionInfoA, VerQueryValueA", 1.5,
                   {registerLast, [&] { RegisterOthers(library, copies); }}, {readAll});
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kListsKey);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, kListsKey);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Norrin Vale\\Velmora");
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Norrin Vale"); // each only if nothing else is in it
}

} // namespace bench
