#include "pending/stored_path.h"

#include <cstring>

#include "base/multibyte.h"
#include "base/path.h"
#include "files/file_identity.h"
#include "files/path_utils.h"

namespace tarvo {
namespace {

constexpr char kNative[] = "System32";
constexpr char kRedirected[] = "SysWOW64"; // as long

bool HasDrive(const char* path)
{
    return path[0] && !IsLeadByte(path[0]) && path[1] == ':';
}

bool IsUnc(const char* path)
{
    return path[0] == '\\' && path[1] == '\\';
}

void DropFront(char* text, size_t count)
{
    memmove(text, text + count, strlen(text + count) + 1);
}

void TurnSlashes(char* path)
{
    while ((path = strchr(path, '/')) != nullptr) // which no character has as its second byte
        *path = '\\';
}

void DropLongPathPrefix(char* path)
{
    constexpr char kLocal[] = "\\\\?\\";
    constexpr char kUnc[] = "\\\\?\\UNC\\";
    if (StartsWithNoCase(path, kUnc)) {
        DropFront(path, strlen(kUnc) - 2);
        path[0] = '\\';
    } else if (StartsWithNoCase(path, kLocal) && HasDrive(path + strlen(kLocal))) {
        DropFront(path, strlen(kLocal));
    }
}

/** Devices, which have no folder, stay as they are. */
DWORD MakeFull(HeapText& path)
{
    PathText full;
    if (!MakeFullPath(path.Get(), full))
        return ERROR_FILENAME_EXCED_RANGE;
    if (StartsWithNoCase(full.Get(), "\\\\.\\"))
        return ERROR_SUCCESS;
    return path.Copy(full.Get()) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

/** @return whether a path names the folder, or something below it. */
bool LiesIn(const char* path, std::string_view folder)
{
    return StartsWithNoCase(path, folder) && (path[folder.size()] == '\\' || !path[folder.size()]);
}

/** @param below  What follows System32. */
bool StaysNative(const char* below)
{
    if (!*below)
        return false;
    for (const char* folder : {"catroot", "catroot2", "driverstore", "drivers\\etc", "logfiles", "spool"}) {
        if (LiesIn(below + 1, folder))
            return true;
    }
    return false;
}

/** Tells whether this process sees another folder in the system folder's place: on a 64-bit Windows, unless told not
 * to.
 */
bool IsRedirected(const char* system, std::string_view windows)
{
    PathText other;
    FileIdentity identities[2];
    return JoinPath(other, windows, kRedirected) && Identify(system, identities[0]) &&
           Identify(other.Get(), identities[1]) && identities[0] == identities[1];
}

/** Names the folder that a path below System32 means in this process. @return whether it is another one. */
bool NameSystemFolder(char* path)
{
    constexpr char kAlias[] = "Sysnative";
    PathText system;
    const UINT length = GetSystemDirectoryA(system.Buffer(), PathText::kSize);
    const std::string_view windows = FolderPart(SplitPath(length < PathText::kSize ? system.Get() : ""));
    if (windows.empty() || !StartsWithNoCase(path, windows))
        return false;
    char* const below = path + windows.size();
    const bool native = LiesIn(below, kNative) && !StaysNative(below + strlen(kNative));
    const bool alias = LiesIn(below, kAlias);
    if ((!native && !alias) || !IsRedirected(system.Get(), windows))
        return false;
    if (alias)
        DropFront(below, strlen(kAlias) - strlen(kNative));
    memcpy(below, alias ? kNative : kRedirected, strlen(kNative));
    return true;
}

/** Parent references go before the prefix comes, so that they take away no drive. */
DWORD Resolve(HeapText& path)
{
    HeapText normal;
    if (!normal.Copy(path.Get()))
        return ERROR_NOT_ENOUGH_MEMORY;
    NormalizePath(normal.Get());
    if (NameSystemFolder(normal.Get()) || strstr(path.Get(), "\\.."))
        path = static_cast<HeapText&&>(normal);
    return ERROR_SUCCESS;
}

DWORD MakePlain(const char* given, HeapText& path)
{
    if (!path.Copy(given))
        return ERROR_NOT_ENOUGH_MEMORY;
    TurnSlashes(path.Get());
    DropLongPathPrefix(path.Get());
    if (IsUnc(path.Get()))
        return ERROR_SUCCESS;
    if (!HasDrive(path.Get()) || path[2] != '\\') {
        if (const DWORD code = MakeFull(path))
            return code;
    }
    return HasDrive(path.Get()) ? Resolve(path) : ERROR_SUCCESS;
}

} // namespace

DWORD FormatPath(const char* plain, const StoredForm& form, HeapText& stored)
{
    if (IsEmpty(plain))
        return !plain || stored.Copy("") ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
    HeapText path;
    if (const DWORD code = MakePlain(plain, path))
        return code;
    const bool unc = IsUnc(path.Get());
    const bool made = stored.Join(unc ? form.unc : form.local, unc ? path.Get() + 2 : path.Get());
    return made ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

bool UnFormatPath(const char* stored, const StoredForm& form, char* plain)
{
    if (!plain)
        return true;
    PathText path;
    bool known = true;
    if (!stored || strlen(stored) < form.minLength) {
        path.Clear();
    } else if (StartsWithNoCase(stored, form.unc)) {
        path.Format("\\\\%s", stored + strlen(form.unc));
    } else if (StartsWithNoCase(stored, form.local)) {
        path.SetCut(stored + strlen(form.local));
    } else {
        path.SetCut(stored);
        known = false;
    }
    CopyCut(plain, MAX_PATH, path.Get());
    return known;
}

} // namespace tarvo
