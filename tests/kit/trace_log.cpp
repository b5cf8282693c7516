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

std::vector<std::string> TraceLog::Indented() const
{
    std::vector<std::string> lines = Lines();
    for (std::string& line : lines) {
        const size_t severityEnd = line.find('\t');
        const size_t columnsEnd = severityEnd == std::string::npos ? severityEnd : line.find('\t', severityEnd + 1);
        line.erase(0, columnsEnd == std::string::npos ? 0 : columnsEnd + 1);
    }
    return lines;
}

std::vector<std::string> TraceLog::Messages() const
{
    std::vector<std::string> lines = Indented();
    for (std::string& line : lines)
        line.erase(0, std::min(line.find_first_not_of(' '), line.size()));
    return lines;
}

std::vector<std::string> TraceLog::Graded() const
{
    const std::vector<std::string> lines = Lines();
    std::vector<std::string> messages = Messages();
    for (size_t index = 0; index < lines.size(); ++index)
        messages[index] = lines[index].substr(0, 1) + " " + messages[index];
    return messages;
}

testing::AssertionResult TraceLog::HasEach(const std::vector<std::string>& texts) const
{
    const std::vector<std::string> messages = Graded();
    for (const std::string& text : texts) {
        const auto has = [&](const std::string& message) { return message.find(text) != std::string::npos; };
        if (std::none_of(messages.begin(), messages.end(), has))
            return testing::AssertionFailure() << "missing: " << text << "\n" << testing::PrintToString(messages);
    }
    return testing::AssertionSuccess();
}

size_t TraceLog::Count(std::string_view text) const
{
    const std::vector<std::string> messages = Messages();
    return static_cast<size_t>(std::count_if(messages.begin(), messages.end(), [text](const std::string& message) {
        return message.find(text) != std::string::npos;
    }));
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
