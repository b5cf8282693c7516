#pragma once

#include <string_view>

#include "base/handle.h"
#include "base/path.h"

namespace tarvo {

/** The log file. Others may read, write, rename and delete it while it is open. */
class TraceOutput {
public:
    /**
     * Switches to a file, unless it is the open one (same spelling).
     * @param name  A bare file name lies in the host program's folder. A name
     *              of more than 259 characters is refused; the open file stays.
     * @param mode  As for fopen: "r+", "w", "a" and so on, text unless it has a "b".
     * A file that cannot be opened leaves no output.
     */
    void Open(const char* name, const char* mode);
    void Close();
    bool IsOpen() const { return static_cast<bool>(file_); }

    /** Whether the header of the columns has gone into the open file. */
    bool HeaderWritten() const { return headerWritten_; }
    void SetHeaderWritten() { headerWritten_ = true; }

    /** Hands text, at most kMaxText bytes, to the system in one call. A failing write is not reported. */
    void Write(std::string_view text);

    static constexpr size_t kMaxText = 4096;

private:
    UniqueFile file_;
    PathText name_;
    bool textMode_ = true;
    bool headerWritten_ = false;
    char translated_[2 * kMaxText] = {};
};

} // namespace tarvo
