#pragma once

#include <string_view>

namespace tarvo {

/**
 * Tells whether a line is the header of a section: blanks, "[", a name up to the next "]".
 * @param name  Receives the name, in the line, if it is.
 */
bool IsSectionHeader(std::string_view line, std::string_view& name);

} // namespace tarvo
