// The lists of installed copies of shared libraries, newest first: one REG_MULTI_SZ value for each library name.

#include <cstring>

#include "base/multibyte.h"
#include "base/path.h"
#include "frame/scope.h"
#include "registry/deletion.h"
#include "registry/library_list.h"
#include "registry/product_keys.h"
#include "registry/registry_key.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;
constexpr char kEmptyPath[] = "Path parameter is empty.";

/** The copy that a call is about. */
struct CalledCopy {
    PathText path; // in lower case
    BoundedText<256> valueName;
    WideText wideName;
};

/** @return 0; ERROR_FILENAME_EXCED_RANGE: a cut path would name another file; ERROR_NOT_ENOUGH_MEMORY */
DWORD TakeCopy(const char* path, CalledCopy& copy)
{
    if (!copy.path.Set(path))
        return ERROR_FILENAME_EXCED_RANGE;
    LowerInPlace(copy.path.Buffer());
    if (!copy.valueName.Set(FilePart(SplitPath(copy.path.Get()))))
        return ERROR_FILENAME_EXCED_RANGE;
    return copy.wideName.FromAnsi(copy.valueName.Get()) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD QuerySize(const RegistryKey& key, const CalledCopy& copy, DWORD& size)
{
    size = 0;
    return static_cast<DWORD>(RegQueryValueExW(key.Handle(), copy.wideName.Get(), nullptr, nullptr, nullptr, &size));
}

DWORD ReadList(const RegistryKey& key, const CalledCopy& copy, DWORD size, LibraryList& list)
{
    TracePrint(kInfo, 1, "%s", "Reading value.\n");
    if (const DWORD code = list.Read(key.Handle(), copy.wideName.Get(), size))
        return code;
    TracePrint(kInfo, 1, "First string of Data = [%s].\n", list.First());
    return ERROR_SUCCESS;
}

DWORD WriteFirst(const RegistryKey& key, const CalledCopy& copy)
{
    TracePrint(kInfo, 1, "%s", "Such library is yet not registered.\n");
    LibraryList list;
    if (!list.PutFirst(copy.path.Get()))
        return ERROR_NOT_ENOUGH_MEMORY;
    TracePrint(kInfo, 0, "Setting value [%s].\n", copy.valueName.Get());
    return list.Write(key.Handle(), copy.wideName.Get());
}

void Sort(LibraryList& list)
{
    TracePrint(kInfo, 1, "Calling qsort(%u, %d, %d, 'CompareDLLVersions')...\n",
               reinterpret_cast<unsigned>(list.Place()), static_cast<int>(list.Count()),
               static_cast<int>(sizeof list.First()));
    list.Sort();
    TracePrint(kInfo, 1, "First string after sorting = [%s]\n", list.First());
}

DWORD WriteList(const RegistryKey& key, const CalledCopy& copy, const LibraryList& list)
{
    TracePrint(kInfo, 1, "Setting value to [%s].\n", list.First());
    return list.Write(key.Handle(), copy.wideName.Get());
}

DWORD AddCopy(const RegistryKey& key, const CalledCopy& copy)
{
    DWORD size = 0;
    if (QuerySize(key, copy, size) != ERROR_SUCCESS)
        return WriteFirst(key, copy);
    TracePrint(kInfo, 0, "%s", "Such library is already registered.\n");
    LibraryList list;
    if (const DWORD code = ReadList(key, copy, size, list))
        return code;
    TracePrint(kInfo, 0, "Total strings in Value + 1 = [%d].\n", static_cast<int>(list.Count() + 1));
    list.Remove(copy.path.Get());
    if (!list.PutFirst(copy.path.Get()))
        return ERROR_NOT_ENOUGH_MEMORY;
    TracePrint(kInfo, 1, "Final count after merging = [%d]\n", static_cast<int>(list.Count()));
    Sort(list);
    return WriteList(key, copy, list);
}

DWORD RemoveFromList(const RegistryKey& key, const CalledCopy& copy, LibraryList& list)
{
    TracePrint(kInfo, 1, "Total strings in Value = [%d].\n", static_cast<int>(list.Count()));
    list.Remove(copy.path.Get());
    if (list.Count() != 0)
        return WriteList(key, copy, list);
    TracePrint(kInfo, 1, "No data left, deleting value [%s].\n", copy.valueName.Get());
    return static_cast<DWORD>(RegDeleteValueA(key.Handle(), copy.valueName.Get()));
}

void AssumeNotRegistered(const char* call, DWORD code)
{
    TracePrint(kInfo, 1, "%s failed with code: [%d]. Assume library is not registered.\n", call,
               static_cast<int>(code));
}

/** Takes the copy off its list. @param found  Receives whether the library has a list. */
DWORD RemoveCopy(const RegistryKey& key, const CalledCopy& copy, bool& found)
{
    DWORD size = 0;
    const DWORD queried = QuerySize(key, copy, size);
    found = queried == ERROR_SUCCESS;
    if (!found) {
        AssumeNotRegistered("RegQueryValueEx", queried);
        return ERROR_SUCCESS;
    }
    TracePrint(kInfo, 1, "%s", "Such library is registered.\n");
    LibraryList list;
    if (const DWORD code = ReadList(key, copy, size, list))
        return code;
    return RemoveFromList(key, copy, list);
}

/** Deletes the key of the lists when nothing is left in it. Closes it. */
void DeleteKeyIfEmpty(RegistryKey& key)
{
    const bool holdsSomething = SubkeyOrValueUnderKeyExist(key.Handle());
    key.Close();
    if (holdsSomething)
        return;
    TracePrint(kInfo, 1, "%s", "Deleting 'Delay Loading' key as it is empty...\n");
    const LSTATUS code = RegDeleteKeyA(HKEY_LOCAL_MACHINE, kDelayLoadingKey);
    if (code != ERROR_SUCCESS)
        TracePrint(kWarning, 1, "RegDeleteKey failed (%s) with error=[%d]\n", kDelayLoadingKey, static_cast<int>(code));
}

Ending Register(const CalledCopy& copy)
{
    if (const DWORD code = CreateProductKey(kDelayLoadingKey))
        return {code, "CreateRegKey failed"};
    RegistryKey key;
    if (const DWORD code = key.Open(HKEY_LOCAL_MACHINE, kDelayLoadingKey, kReadWrite))
        return {code, "RegOpenKeyEx failed"};
    TracePrint(kInfo, 1, "%s", "Key is opened.\n");
    return {AddCopy(key, copy)};
}

DWORD Unregister(const CalledCopy& copy)
{
    RegistryKey key;
    if (const DWORD code = key.Open(HKEY_LOCAL_MACHINE, kDelayLoadingKey, kReadWrite)) {
        AssumeNotRegistered("RegOpenKeyEx", code);
        return ERROR_SUCCESS;
    }
    TracePrint(kInfo, 1, "%s", "Key is opened.\n");
    bool found = false;
    const DWORD code = RemoveCopy(key, copy, found);
    if (found)
        DeleteKeyIfEmpty(key);
    return code;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_RegisterDelayLoadLibrary(const char* path)
{
    FunctionScope scope("TARVO_RegisterDelayLoadLibrary", 0);
    if (IsEmpty(path))
        return scope.Error(kEmptyPath, ERROR_INVALID_PARAMETER);
    TracePrint(kInfo, 1, "pchDLLPath = [%s]\n", path);
    CalledCopy copy;
    if (const DWORD code = TakeCopy(path, copy))
        return scope.Error(code);
    TracePrint(kInfo, 3, "lowDLLPath = [%s]\n", copy.path.Get());
    TracePrint(kInfo, 3, "CountOfbytes = [%d]\n", static_cast<int>(strlen(copy.path.Get()) + 1));
    return scope.End(Register(copy));
}

DWORD __cdecl TARVO_UnRegisterDelayLoadLibrary(const char* path)
{
    FunctionScope scope("TARVO_UnRegisterDelayLoadLibrary", 0);
    TracePrint(kInfo, 1, "pchDLLPath = [%s]\n", Shown(path));
    if (IsEmpty(path))
        return scope.Error(kEmptyPath, ERROR_INVALID_PARAMETER);
    CalledCopy copy;
    if (const DWORD code = TakeCopy(path, copy))
        return scope.Error(code);
    return scope.End(Unregister(copy));
}
