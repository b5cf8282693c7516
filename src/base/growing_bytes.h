#pragma once

#include <string_view>

#include "base/memory.h"

namespace tarvo {

/** Bytes on the runtime's heap that grow. A call without memory leaves them as they were. */
class GrowingBytes {
public:
    std::string_view View() const { return {bytes_.Get(), size_}; }
    size_t Size() const { return size_; }
    void Clear() { size_ = 0; }

    [[nodiscard]] bool Append(std::string_view bytes) { return Replace(size_, 0, bytes); }

    /** Puts bytes in the place of size others. They must not lie in what is held. */
    [[nodiscard]] bool Replace(size_t at, size_t size, std::string_view bytes);

private:
    [[nodiscard]] bool Reserve(size_t size);

    HeapArray<char> bytes_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

} // namespace tarvo
