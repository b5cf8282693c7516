#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/kit.h"

/** @return the lines of an uninstall log as they stand in the file; none without a file. */
inline std::vector<std::string> LogLines(const std::string& path)
{
    return kit::FileExists(path) ? kit::SplitLines(kit::ReadFile(path)) : std::vector<std::string>();
}

/** @return the lines of a section, as the system's INI reader lists them. */
inline std::vector<std::string> SectionLines(const std::string& path, const char* section)
{
    std::string list(32768, '\0');
    const DWORD length = GetPrivateProfileSectionA(section, list.data(), static_cast<DWORD>(list.size()), path.c_str());
    std::vector<std::string> lines;
    for (size_t at = 0; at < length; at += lines.back().size() + 1)
        lines.emplace_back(list.c_str() + at);
    return lines;
}

/** @return the messages that begin with a text, in order. */
inline std::vector<std::string> MessagesThatBegin(const kit::TraceLog& log, std::string_view beginning)
{
    std::vector<std::string> found;
    for (const std::string& message : log.Messages()) {
        if (std::string_view(message).starts_with(beginning))
            found.push_back(message);
    }
    return found;
}
