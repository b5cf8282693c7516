#pragma once

#include <algorithm>
#include <string>

namespace model {

/** A path as the pending list keeps it, made step by step. */
inline std::wstring Normalized(const std::wstring& path)
{
    if (path.size() <= 2)
        return path;
    std::wstring tail = path.substr(2); // a drive, or what opens a UNC path, is never looked at
    for (size_t at; (at = tail.find(L"\\\\")) != tail.npos;)
        tail.erase(at, 1);
    const auto find = [&tail](const std::wstring& reference) {
        return (tail + L'\\').find(reference + L'\\'); // the end closes it as well
    };
    for (size_t at; (at = find(L"\\..")) != tail.npos;) {
        const std::wstring behind = tail.substr(at + 3);
        tail.resize(at);
        tail.resize(std::min(tail.rfind(L'\\'), tail.size()));
        tail += behind;
    }
    for (size_t at; (at = find(L"\\.")) != tail.npos;)
        tail.erase(at, 2);
    if (!tail.empty() && tail.back() == L'\\')
        tail.pop_back();
    return path.substr(0, 2) + tail;
}

} // namespace model
