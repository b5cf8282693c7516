// ProcessAllRegKeys.

#include "base/text.h"
#include "frame/trace.h"
#include "registry/registry_key.h"
#include "security/tree_walkers.h"

namespace tarvo {
namespace {

/** The names of a key's subkeys as they were at one moment. */
class SubkeyNames {
public:
    DWORD Read(HKEY key)
    {
        DWORD longest = 0;
        const LSTATUS code = RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &count_, &longest, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr);
        if (code != ERROR_SUCCESS || count_ == 0)
            return static_cast<DWORD>(code);
        // The system counts wide characters, each of which may take two bytes.
        width_ = 2 * longest + 1;
        if (count_ > static_cast<size_t>(INTPTR_MAX) / width_ || !names_.AllocateZeroed(count_ * width_))
            return ERROR_NOT_ENOUGH_MEMORY;
        for (DWORD index = 0; index < count_; ++index)
            ReadName(key, index);
        return ERROR_SUCCESS;
    }

    DWORD Count() const { return count_; }

    /** @return a name; "" if the system did not hand it out. */
    const char* At(DWORD index) const { return names_.Get() + index * width_; }

private:
    void ReadName(HKEY key, DWORD index)
    {
        char* const name = names_.Get() + index * width_;
        DWORD room = static_cast<DWORD>(width_);
        if (RegEnumKeyExA(key, index, name, &room, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            *name = '\0';
    }

    HeapArray<char> names_;
    DWORD count_ = 0;
    size_t width_ = 0; // bytes of each name
};

/** A main key and what each of its keys is called back with. */
struct KeyWalk {
    HKEY mainKey;
    KeyCallback callback;
    void* context;
};

/** Where the walk opens a key: by a name in the key above, whose path need not be looked up again, or by its path. */
struct KeyPlace {
    HKEY above;
    const char* name;
};

DWORD VisitSubkeys(const KeyWalk& walk, const char* subkey, const KeyPlace& place);

// Calls itself for each level, of which the registry has 512 at most.
DWORD VisitKey(const KeyWalk& walk, const char* subkey, const KeyPlace& place)
{
    TraceStream stream("ProcessAllRegKeys");
    stream.Add(static_cast<const void*>(walk.mainKey)).Add(subkey).Add(reinterpret_cast<const void*>(walk.callback));
    stream.Add(walk.context).Open();
    if (!walk.mainKey || !walk.callback || IsEmpty(subkey))
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = walk.callback(walk.mainKey, subkey, walk.context))
        return code;
    return VisitSubkeys(walk, subkey, place);
}

DWORD VisitSubkeys(const KeyWalk& walk, const char* subkey, const KeyPlace& place)
{
    RegistryKey key;
    if (const DWORD code = key.Open(place.above, place.name, KEY_READ))
        return code;
    SubkeyNames names;
    if (const DWORD code = names.Read(key.Handle()))
        return code;
    HeapText stem;
    if (names.Count() != 0 && !stem.Join(subkey, "\\"))
        return ERROR_NOT_ENOUGH_MEMORY;
    for (DWORD index = 0; index < names.Count(); ++index) {
        HeapText child;
        if (*names.At(index) && child.Join(stem.Get(), names.At(index)))
            VisitKey(walk, child.Get(), {key.Handle(), names.At(index)});
    }
    return ERROR_SUCCESS;
}

} // namespace

DWORD ProcessAllRegKeys(HKEY mainKey, const char* subkey, KeyCallback callback, void* context)
{
    return VisitKey({mainKey, callback, context}, subkey, {mainKey, subkey});
}

} // namespace tarvo
