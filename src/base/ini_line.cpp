#include "base/ini_line.h"

#include "base/multibyte.h"
#include "base/text.h"

namespace tarvo {

bool IsSectionHeader(std::string_view line, std::string_view& name)
{
    const size_t open = line.find_first_not_of(' ');
    if (open == line.npos || line[open] != '[')
        return false;
    const std::string_view rest = Part(line, open + 1);
    const size_t close = IndexOfChar(rest, ']');
    if (close == rest.npos)
        return false;
    name = Part(rest, 0, close);
    return true;
}

} // namespace tarvo
