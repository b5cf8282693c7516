#pragma once

#include <string>

namespace model {

/** @return the first place of a reference ("\.." or "\.") that a backslash or the end follows. */
inline size_t FindReference(const std::wstring& tail, const std::wstring& reference)
{
    for (size_t at = tail.find(reference); at != tail.npos; at = tail.find(reference, at + 1)) {
        const size_t behind = at + reference.size();
        if (behind == tail.size() || tail[behind] == L'\\')
            return at;
    }
    return tail.npos;
}

/** A path as the pending list keeps it, made step by step. */
inline std::wstring Normalized(const std::wstring& path)
{
    if (path.size() <= 2)
        return path;
    std::wstring tail = path.substr(2); // a drive, or what opens a UNC path, is never looked at
    for (size_t at; (at = tail.find(L"\\\\")) != tail.npos;)
        tail.erase(at, 1);
    for (size_t at; (at = FindReference(tail, L"\\..")) != tail.npos;) {
        const std::wstring behind = tail.substr(at + 3);
        tail.resize(at);
        if (const size_t component = tail.rfind(L'\\'); component != tail.npos)
            tail.resize(component);
        tail += behind;
    }
    for (size_t at; (at = FindReference(tail, L"\\.")) != tail.npos;)
        tail.erase(at, 2);
    if (!tail.empty() && tail.back() == L'\\')
        tail.pop_back();
    return path.substr(0, 2) + tail;
}

} // namespace model
