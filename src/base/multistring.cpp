#include "base/multistring.h"

#include <cstring>

namespace tarvo {

size_t MultiStringSize(const char* list)
{
    const char* text = list;
    while (*text)
        text = NextString(text);
    return static_cast<size_t>(text - list) + 1;
}

size_t MultiStringSize(const char* list, size_t size)
{
    size_t at = 0;
    while (at < size && list[at] != '\0')
        at += strnlen(list + at, size - at) + 1;
    return at < size ? at + 1 : size;
}

size_t MultiStringCount(const char* list)
{
    size_t count = 0;
    for (const char* text = list; *text; text = NextString(text))
        ++count;
    return count;
}

const char* NextString(const char* text)
{
    return text + strlen(text) + 1;
}

} // namespace tarvo
