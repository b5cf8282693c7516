#pragma once

#include <gtest/gtest.h>
#include <windows.h>

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
    std::vector<std::string> Messages() const;

    /** Success if each of the texts is in one of the messages. */
    testing::AssertionResult HasEach(const std::vector<std::string>& texts) const;
    /** @return whether a message has the text in it, and how many have. */
    bool Contains(std::string_view text) const { return Count(text) != 0; }
    size_t Count(std::string_view text) const;

private:
    std::string path_;
    size_t begin_ = 0;
};

/** @return what TARVO_GetLastErrorMessage hands out. */
std::string LastMessage();

/** Success if a call gave this code and, where it is a failure, left the system's text for it. */
testing::AssertionResult Gives(DWORD code, DWORD result);

} // namespace kit
