#include "kit/trace_log.h"

#include <algorithm>

#include "kit/scratch.h"
#include "tarvo/tarvo.h"

namespace kit {

std::vector<std::string> SplitLines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        lines.emplace_back(line);
    }
    return lines;
}

TraceLog::TraceLog(std::string path) : path_(std::move(path))
{
    TARVO_StartDebugLoggingRunTime(path_.c_str(), 1);
    Clear();
}

void TraceLog::Clear()
{
    begin_ = ReadFile(path_).size();
}

std::vector<std::string> TraceLog::Lines() const
{
    return SplitLines(std::string_view(ReadFile(path_)).substr(begin_));
}

std::vector<std::string> TraceLog::Messages() const
{
    std::vector<std::string> lines = Lines();
    for (std::string& line : lines) {
        line.erase(0, line.find('\t', line.find('\t') + 1) + 1);
        line.erase(0, std::min(line.find_first_not_of(' '), line.size()));
    }
    return lines;
}

testing::AssertionResult TraceLog::HasEach(const std::vector<std::string>& texts) const
{
    for (const std::string& text : texts) {
        if (!Contains(text))
            return testing::AssertionFailure() << "missing: " << text << "\n" << testing::PrintToString(Messages());
    }
    return testing::AssertionSuccess();
}

size_t TraceLog::Count(std::string_view text) const
{
    const auto has = [text](const std::string& message) { return message.find(text) != std::string::npos; };
    return static_cast<size_t>(std::ranges::count_if(Messages(), has));
}

std::string LastMessage()
{
    char text[1024] = {};
    TARVO_GetLastErrorMessage(text, sizeof text);
    return text;
}

testing::AssertionResult Gives(DWORD code, DWORD result)
{
    if (result != code)
        return testing::AssertionFailure() << "gave " << result << ", expected " << code;
    if (code && LastMessage() != SystemText(code))
        return testing::AssertionFailure() << "code " << code << " with the text: " << LastMessage();
    return testing::AssertionSuccess();
}

} // namespace kit
