#pragma once

#include <windows.h>

#include <shlobj.h>

#include "base/com_object.h"

namespace tarvo {

/** An item list of the shell, which its own allocator frees. */
class ItemList {
public:
    ItemList() = default;
    /** @param allocator  Frees the list, and must outlive it; else it is asked for then. */
    explicit ItemList(IMalloc* allocator) : allocator_(allocator) {}
    ~ItemList()
    {
        UniqueCom<IMalloc> own;
        if (list_ && !allocator_ && SHGetMalloc(own.Put()) == S_OK)
            allocator_ = own.Get();
        if (list_ && allocator_)
            allocator_->Free(list_);
    }
    ItemList(const ItemList&) = delete;
    ItemList& operator=(const ItemList&) = delete;

    LPITEMIDLIST Get() const { return list_; }
    LPITEMIDLIST* Put() { return &list_; }

    /** Finds one of the shell's own folders (CSIDL_...). Holds none where there is none. */
    bool Locate(int folder)
    {
        if (SUCCEEDED(SHGetSpecialFolderLocation(nullptr, folder, &list_)))
            return true;
        list_ = nullptr;
        return false;
    }

private:
    IMalloc* allocator_ = nullptr;
    LPITEMIDLIST list_ = nullptr;
};

} // namespace tarvo
