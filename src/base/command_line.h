#pragma once

#include <string_view>

namespace tarvo {

/** A command line taken apart; both lie in the command line. */
struct CommandLine {
    std::string_view program;
    const char* arguments; // as they stand behind the program; "" without any
};

/**
 * A command line that begins with a double quote names its program up to the
 * next one and its arguments right behind it, leading blanks included. Any
 * other is a program as a whole.
 */
CommandLine SplitCommandLine(const char* text);

} // namespace tarvo
