// The lists of installed copies of shared libraries, newest first: one REG_MULTI_SZ value for each library name.

#include <cstdlib>
#include <cstring>

#include "base/multibyte.h"
#include "base/multistring.h"
#include "base/path.h"
#include "frame/scope.h"
#include "registry/deletion.h"
#include "registry/file_version.h"
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
    PathText valueName;
};

/** @return 0; ERROR_FILENAME_EXCED_RANGE: a cut path would name another file */
DWORD TakeCopy(const char* path, CalledCopy& copy)
{
    if (!copy.path.Set(path))
        return ERROR_FILENAME_EXCED_RANGE;
    LowerInPlace(copy.path.Buffer());
    const PathParts parts = SplitPath(copy.path.Get());
    return copy.valueName.Set(FilePart(parts)) ? ERROR_SUCCESS : ERROR_FILENAME_EXCED_RANGE;
}

DWORD QuerySize(const RegistryKey& key, const char* valueName, DWORD& size)
{
    size = 0;
    return static_cast<DWORD>(RegQueryValueExA(key.Handle(), valueName, nullptr, nullptr, nullptr, &size));
}

/** Others write these values too: only a list that ends as one, and has nothing behind its end, is taken for one. */
bool IsTextList(const char* data, DWORD size, DWORD type)
{
    if (type != REG_MULTI_SZ || size == 0 || data[size - 1] != '\0' || (size > 1 && data[size - 2] != '\0'))
        return false;
    size_t end = MultiStringSize(data);
    while (end < size && data[end] == '\0')
        ++end;
    return end >= size;
}

/**
 * Reads the list of copies.
 * @return 0; ERROR_INVALID_DATA, the value is no text list; ERROR_NOT_ENOUGH_MEMORY; or the registry's code
 */
DWORD ReadList(const RegistryKey& key, const char* valueName, DWORD size, HeapText& list)
{
    if (!list.Allocate(size + 1))
        return ERROR_NOT_ENOUGH_MEMORY;
    list[0] = '\0';
    TracePrint(kInfo, 1, "%s", "Reading value.\n");
    DWORD type = REG_NONE;
    const LSTATUS code =
        RegQueryValueExA(key.Handle(), valueName, nullptr, &type, reinterpret_cast<BYTE*>(list.Get()), &size);
    if (code != ERROR_SUCCESS)
        return static_cast<DWORD>(code);
    return IsTextList(list.Get(), size, type) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

DWORD WriteList(const RegistryKey& key, const char* valueName, const char* list)
{
    return static_cast<DWORD>(RegSetValueExA(key.Handle(), valueName, 0, REG_MULTI_SZ,
                                             reinterpret_cast<const BYTE*>(list),
                                             static_cast<DWORD>(MultiStringSize(list))));
}

/** A new list, built text by text in a block that holds them all. */
class ListBuilder {
public:
    [[nodiscard]] bool Reserve(size_t bytes) { return list_.AllocateZeroed(bytes + 1); }

    void Add(const char* text)
    {
        const size_t size = strlen(text) + 1;
        memcpy(list_.Get() + used_, text, size);
        used_ += size;
    }

    const char* Get() const { return list_.Get(); }
    bool Empty() const { return used_ == 0; }

private:
    HeapText list_;
    size_t used_ = 0;
};

DWORD WriteFirst(const RegistryKey& key, const CalledCopy& copy)
{
    TracePrint(kInfo, 1, "%s", "Such library is yet not registered.\n");
    ListBuilder list;
    if (!list.Reserve(strlen(copy.path.Get()) + 1))
        return ERROR_NOT_ENOUGH_MEMORY;
    list.Add(copy.path.Get());
    TracePrint(kInfo, 0, "Setting value [%s].\n", copy.valueName.Get());
    return WriteList(key, copy.valueName.Get(), list.Get());
}

/** Puts the called copy in front of the others. @return the number of copies in the array */
size_t MergeCopies(const CalledCopy& copy, const char* list, LibraryCopy* copies)
{
    size_t count = 0;
    copies[count++].path = copy.path.Get();
    for (; *list; list = NextString(list)) {
        if (!EqualNoCase(list, copy.path.Get()))
            copies[count++].path = list;
    }
    return count;
}

void SortCopies(LibraryCopy* copies, size_t count)
{
    TracePrint(kInfo, 1, "Calling qsort(%u, %d, %d, 'CompareDLLVersions')...\n", reinterpret_cast<unsigned>(copies),
               static_cast<int>(count), static_cast<int>(sizeof copies->path));
    qsort(copies, count, sizeof *copies, CompareDLLVersions);
    TracePrint(kInfo, 1, "First string after sorting = [%s]\n", copies[0].path);
}

DWORD WriteSorted(const RegistryKey& key, const CalledCopy& copy, const char* oldList)
{
    TracePrint(kInfo, 1, "First string of Data = [%s].\n", oldList);
    const size_t room = MultiStringCount(oldList) + 1;
    TracePrint(kInfo, 0, "Total strings in Value + 1 = [%d].\n", static_cast<int>(room));
    HeapArray<LibraryCopy> copies;
    ListBuilder list;
    if (!copies.AllocateZeroed(room) || !list.Reserve(MultiStringSize(oldList) + strlen(copy.path.Get()) + 1))
        return ERROR_NOT_ENOUGH_MEMORY;
    const size_t count = MergeCopies(copy, oldList, copies.Get());
    TracePrint(kInfo, 1, "Final count after merging = [%d]\n", static_cast<int>(count));
    SortCopies(copies.Get(), count);
    for (size_t index = 0; index < count; ++index)
        list.Add(copies[index].path);
    TracePrint(kInfo, 1, "Setting value to [%s].\n", list.Get());
    return WriteList(key, copy.valueName.Get(), list.Get());
}

DWORD AddCopy(const RegistryKey& key, const CalledCopy& copy)
{
    DWORD size = 0;
    if (QuerySize(key, copy.valueName.Get(), size) != ERROR_SUCCESS)
        return WriteFirst(key, copy);
    TracePrint(kInfo, 0, "%s", "Such library is already registered.\n");
    HeapText list;
    if (const DWORD code = ReadList(key, copy.valueName.Get(), size, list))
        return code;
    return WriteSorted(key, copy, list.Get());
}

DWORD WriteWithout(const RegistryKey& key, const CalledCopy& copy, const char* oldList)
{
    TracePrint(kInfo, 1, "First string of Data = [%s].\n", oldList);
    TracePrint(kInfo, 1, "Total strings in Value = [%d].\n", static_cast<int>(MultiStringCount(oldList)));
    ListBuilder list;
    if (!list.Reserve(MultiStringSize(oldList)))
        return ERROR_NOT_ENOUGH_MEMORY;
    for (; *oldList; oldList = NextString(oldList)) {
        if (!EqualNoCase(oldList, copy.path.Get()))
            list.Add(oldList);
    }
    if (!list.Empty()) {
        TracePrint(kInfo, 1, "Setting value to [%s].\n", list.Get());
        return WriteList(key, copy.valueName.Get(), list.Get());
    }
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
    const DWORD queried = QuerySize(key, copy.valueName.Get(), size);
    found = queried == ERROR_SUCCESS;
    if (!found) {
        AssumeNotRegistered("RegQueryValueEx", queried);
        return ERROR_SUCCESS;
    }
    TracePrint(kInfo, 1, "%s", "Such library is registered.\n");
    HeapText list;
    if (const DWORD code = ReadList(key, copy.valueName.Get(), size, list))
        return code;
    return WriteWithout(key, copy, list.Get());
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

DWORD EndRegistration(FunctionScope& scope, const CalledCopy& copy)
{
    if (const DWORD code = CreateProductKey(kDelayLoadingKey))
        return scope.Error("CreateRegKey failed", code);
    RegistryKey key;
    if (const DWORD code = key.Open(HKEY_LOCAL_MACHINE, kDelayLoadingKey, kReadWrite))
        return scope.Error("RegOpenKeyEx failed", code);
    TracePrint(kInfo, 1, "%s", "Key is opened.\n");
    const DWORD code = AddCopy(key, copy);
    key.Close();
    return scope.End(code);
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
    return EndRegistration(scope, copy);
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
