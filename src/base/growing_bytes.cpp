#include "base/growing_bytes.h"

#include <algorithm>
#include <cstring>

namespace tarvo {

bool GrowingBytes::Reserve(size_t size)
{
    if (size <= capacity_)
        return true;
    constexpr size_t kSmallest = 256;
    const size_t capacity = std::max({size, capacity_ + capacity_ / 2, kSmallest});
    HeapArray<char> grown;
    if (!grown.Allocate(capacity))
        return false;
    if (size_)
        memcpy(grown.Get(), bytes_.Get(), size_);
    bytes_ = std::move(grown);
    capacity_ = capacity;
    return true;
}

bool GrowingBytes::Replace(size_t at, size_t size, std::string_view bytes)
{
    if (!Reserve(size_ - size + bytes.size()))
        return false;
    char* const place = bytes_.Get() + at;
    memmove(place + bytes.size(), place + size, size_ - at - size);
    if (!bytes.empty())
        memcpy(place, bytes.data(), bytes.size());
    size_ += bytes.size() - size;
    return true;
}

} // namespace tarvo
