#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kit {

/** @return the lines of a text, without their line ends (CR LF or LF). */
std::vector<std::string> SplitLines(std::string_view text);

/** Traces into a file (TARVO_StartDebugLoggingRunTime) and reads it back. What it reads begins behind the banner. */
class TraceLog {
public:
    explicit TraceLog(std::string path);

    const std::string& Path() const { return path_; }

    /** What follows begins here. */
    void Clear();

    /** Lines as they stand: severity, tab, date and time, tab, indentation, message. */
    std::vector<std::string> Lines() const;

    /** Lines without columns: indentation and message. */
    std::vector<std::string> Indented() const;

    /** Messages alone. */
    std::vector<std::string> Messages() const;

    /** @return whether a message has the text in it, and how many have. */
    bool Contains(std::string_view text) const { return Count(text) != 0; }
    size_t Count(std::string_view text) const;

private:
    std::string path_;
    size_t begin_ = 0;
};

/** @return what TARVO_GetLastErrorMessage hands out. */
std::string LastMessage();

} // namespace kit
