#pragma once

#include <cstddef>

namespace tarvo {

/**
 * Lists of texts in a row, each with its zero, ended by an empty text
 * (REG_MULTI_SZ). The list must be ended so: these functions know no size.
 */

/** @return the bytes of the list, the zero of its closing empty text included; 1 for an empty list. */
size_t MultiStringSize(const char* list);

/** @return the number of texts before the closing empty one. */
size_t MultiStringCount(const char* list);

/** @return the text after the one given. */
const char* NextString(const char* text);

} // namespace tarvo
