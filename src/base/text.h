#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "base/memory.h"

namespace tarvo {

/** How a text shows in a trace line: "null" stands for no text. */
inline const char* Shown(const char* text, const char* ifNull = "null")
{
    return text ? text : ifNull;
}

/** How the name of a machine shows; NULL is the own one. */
inline const char* ShownMachine(const char* machine)
{
    return Shown(machine, "<Local Machine>");
}

/** How a number shows that a call has handed out; -1 where it was not asked for. */
inline int ShownNumber(const DWORD* number)
{
    return number ? static_cast<int>(*number) : -1;
}

inline bool IsEmpty(const char* text)
{
    return !text || !*text;
}

/** Part of a text; what lies behind its end is left out. (substr would bring the runtime's exceptions into the DLL.) */
inline std::string_view Part(std::string_view text, size_t at, size_t count = std::string_view::npos)
{
    at = at < text.size() ? at : text.size();
    return {text.data() + at, count < text.size() - at ? count : text.size() - at};
}

/** Copies a text that fits into size bytes, terminator included. @return false, destination untouched, if it does not.
 */
[[nodiscard]] bool CopyWhole(char* destination, size_t size, std::string_view text);

/** Copies as much of a text as fits into size bytes; always terminated when size is not 0. */
void CopyCut(char* destination, size_t size, std::string_view text);

/** Formats into size bytes, terminator included, cutting what does not fit. @return whether all of it fitted. */
[[gnu::format(printf, 3, 4)]] bool FormatCut(char* destination, size_t size, const char* format, ...);
bool FormatCutV(char* destination, size_t size, const char* format, va_list arguments);

/** Text in a buffer of its own; Size in bytes, terminator included. Each call says which way it is bounded. */
template <size_t Size> class BoundedText {
public:
    constexpr BoundedText()
    {
        // The compiler would copy zeros that it puts into the file.
        if (!std::is_constant_evaluated()) {
            memset(text_, 0, Size);
            return;
        }
        for (char& byte : text_)
            byte = '\0';
    }

    const char* Get() const { return text_; }
    char* Buffer() { return text_; }
    static constexpr size_t kSize = Size;

    bool Empty() const { return text_[0] == '\0'; }
    void Clear() { text_[0] = '\0'; }

    /** Refuses what does not fit: for paths and names. */
    [[nodiscard]] bool Set(std::string_view text) { return CopyWhole(text_, Size, text); }

    /** Keeps what fits: for messages, and where a cut is agreed. */
    void SetCut(std::string_view text) { CopyCut(text_, Size, text); }

    [[gnu::format(printf, 2, 3)]] bool Format(const char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        const bool whole = FormatCutV(text_, Size, format, arguments);
        va_end(arguments);
        return whole;
    }

private:
    char text_[Size];
};

/** Owner of a text on the runtime's heap. */
class HeapText : public HeapArray<char> {
public:
    /** Keeps a copy of text with spare further bytes behind it. @return false without memory, holding none. */
    [[nodiscard]] bool Copy(std::string_view text, size_t spare = 0);

    /** Keeps the texts in a row. None may lie in what is held. */
    [[nodiscard]] bool Join(std::string_view first, std::string_view second, std::string_view third = {});
};

} // namespace tarvo
