#include "base/command_line.h"

#include "base/multibyte.h"

namespace tarvo {

CommandLine SplitCommandLine(const char* text)
{
    if (*text != '"')
        return {text, ""};
    const char* program = text + 1;
    const char* quote = FindChar(program, '"');
    if (!quote)
        return {program, ""};
    return {{program, static_cast<size_t>(quote - program)}, quote + 1};
}

} // namespace tarvo
