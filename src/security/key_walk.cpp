// ProcessAllRegKeys.

#include "base/handle.h"
#include "base/text.h"
#include "frame/trace.h"
#include "security/tree_walkers.h"

namespace tarvo {
namespace {

constexpr size_t kMaxBytesPerUnit = 4; // that a wide character has in any code page

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
        width_ = kMaxBytesPerUnit * longest + 1; // the system counts wide characters
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

class KeyWalk {
public:
    KeyWalk(HKEY mainKey, KeyCallback callback, void* context)
        : mainKey_(mainKey), callback_(callback), context_(context)
    {
    }

    DWORD Run(const char* subkey) { return Visit(subkey, {mainKey_, subkey, 0}); }

private:
    /** Where a key is opened: by a name in the key above, whose path need not be looked up again, or by its path. */
    struct Place {
        HKEY above;
        const char* name;
        DWORD options;
    };

    // Calls itself for each level, of which the registry has 512 at most.
    DWORD Visit(const char* subkey, const Place& place)
    {
        TraceStream stream("ProcessAllRegKeys");
        stream.Add(static_cast<const void*>(mainKey_)).Add(subkey).Add(reinterpret_cast<const void*>(callback_));
        stream.Add(context_).Open();
        if (!mainKey_ || !callback_ || IsEmpty(subkey))
            return ERROR_INVALID_PARAMETER;
        if (const DWORD code = callback_(mainKey_, subkey, context_))
            return code;
        return VisitSubkeys(subkey, place);
    }

    DWORD VisitSubkeys(const char* subkey, const Place& place)
    {
        UniqueRegistryKey key;
        if (const LSTATUS code = RegOpenKeyExA(place.above, place.name, place.options, KEY_READ, key.Put()))
            return static_cast<DWORD>(code);
        SubkeyNames names;
        if (const DWORD code = names.Read(key.Get()))
            return code;
        HeapText stem;
        if (names.Count() != 0 && !stem.Join(subkey, "\\"))
            return ERROR_NOT_ENOUGH_MEMORY;
        for (DWORD index = 0; index < names.Count(); ++index) {
            HeapText child;
            if (*names.At(index) && child.Join(stem.Get(), names.At(index)))
                Visit(child.Get(), {key.Get(), names.At(index), REG_OPTION_OPEN_LINK});
        }
        return ERROR_SUCCESS;
    }

    HKEY mainKey_;
    KeyCallback callback_;
    void* context_;
};

} // namespace

DWORD ProcessAllRegKeys(HKEY mainKey, const char* subkey, KeyCallback callback, void* context)
{
    return KeyWalk(mainKey, callback, context).Run(subkey);
}

} // namespace tarvo
