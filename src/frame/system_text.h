#pragma once

#include <windows.h>

#include "base/handle.h"

namespace tarvo {

enum class TextForm { kAsItComes, kOneLine };

/** @return the system's text for a code (FormatMessage), or an empty owner if it has none. */
UniqueLocal<char> SystemText(DWORD code, TextForm form);

} // namespace tarvo
