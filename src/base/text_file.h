#pragma once

#include <cstddef>
#include <cstdio>

#include "base/growing_bytes.h"
#include "base/handle.h"

namespace tarvo {

struct StreamTraits {
    using Handle = FILE*;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle stream) { fclose(stream); }
};

/** A text file read line by line, as the C library's text mode reads it; others may write, rename or delete it. */
class TextFile {
public:
    /** @return false if the file cannot be opened for reading. */
    [[nodiscard]] bool Open(const char* path);
    bool IsOpen() const { return static_cast<bool>(stream_); }
    void Close() { stream_.Reset(); }

    /** Reads up to the line feed, which it keeps, or size - 1 bytes. @return false at the end or on a read error. */
    [[nodiscard]] bool ReadLine(char* line, int size);

    enum class Line { kRead, kEnd, kNoMemory };

    /** Reads a line of any length, line feed included; keeps it up to a zero in it. A read error is an end. */
    [[nodiscard]] Line ReadLine(GrowingBytes& line);

    void Rewind() { rewind(stream_.Get()); }

private:
    Unique<StreamTraits> stream_;
};

} // namespace tarvo
