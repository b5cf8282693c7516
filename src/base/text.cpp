#include "base/text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tarvo {
namespace {

enum class Formatted { kWhole, kCut, kNot };

/**
 * Formats where the conversions are all %s and no text is NULL. Most are, and the C library would take a good part of
 * the time in which the system writes a line of the log.
 */
Formatted FormatTexts(char* destination, size_t size, const char* format, va_list arguments)
{
    char* const end = destination + size - 1;
    char* at = destination;
    for (; *format; ++format) {
        if (*format != '%' && at < end) {
            *at++ = *format;
            continue;
        }
        const char* text = format;
        if (*format == '%') {
            ++format;
            text = *format == 's' ? va_arg(arguments, const char*) : nullptr;
            if (!text)
                return Formatted::kNot;
            while (*text && at < end)
                *at++ = *text++;
        }
        if (*text) {
            *end = '\0';
            return Formatted::kCut;
        }
    }
    *at = '\0';
    return Formatted::kWhole;
}

} // namespace

bool CopyWhole(char* destination, size_t size, std::string_view text)
{
    if (text.size() >= size)
        return false;
    CopyCut(destination, size, text);
    return true;
}

void CopyCut(char* destination, size_t size, std::string_view text)
{
    if (size == 0)
        return;
    const size_t kept = text.size() < size ? text.size() : size - 1;
    if (kept)
        memmove(destination, text.data(), kept);
    destination[kept] = '\0';
}

bool FormatCut(char* destination, size_t size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const bool whole = FormatCutV(destination, size, format, arguments);
    va_end(arguments);
    return whole;
}

bool FormatCutV(char* destination, size_t size, const char* format, va_list arguments)
{
    if (size == 0)
        return false;
    va_list texts;
    va_copy(texts, arguments);
    const Formatted formatted = FormatTexts(destination, size, format, texts);
    va_end(texts);
    if (formatted != Formatted::kNot)
        return formatted == Formatted::kWhole;
    const int written = _vsnprintf(destination, size, format, arguments);
    if (written >= 0 && static_cast<size_t>(written) < size)
        return true;
    destination[size - 1] = '\0';
    return false;
}

bool HeapText::Copy(std::string_view text, size_t spare)
{
    if (!Allocate(text.size() + spare + 1))
        return false;
    *std::copy(text.begin(), text.end(), Get()) = '\0';
    return true;
}

bool HeapText::Join(std::string_view first, std::string_view second, std::string_view third)
{
    if (!Copy(first, second.size() + third.size()))
        return false;
    char* const end = std::copy(second.begin(), second.end(), Get() + first.size());
    *std::copy(third.begin(), third.end(), end) = '\0';
    return true;
}

} // namespace tarvo
