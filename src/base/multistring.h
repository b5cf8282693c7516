#pragma once

#include <cstddef>

namespace tarvo {

/**
 * Lists of texts in a row, each with its zero, ended by an empty text
 * (REG_MULTI_SZ). Where no size is given, the list must be ended so.
 */

/** @return the bytes of the list, the zero of its closing empty text included; 1 for an empty list. */
size_t MultiStringSize(const char* list);

/** As above, reading no more than size bytes of the list; size where it does not end in them. */
size_t MultiStringSize(const char* list, size_t size);

/** @return the number of texts before the closing empty one. */
size_t MultiStringCount(const char* list);

/** @return the text after the one given. */
const char* NextString(const char* text);

} // namespace tarvo
