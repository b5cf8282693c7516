#pragma once

#include <windows.h>

#include <map>
#include <span>
#include <string>

namespace kit {

/**
 * A platform function as TARVO.DLL calls it. One word an argument: "text", "wide",
 * "num", "hex", "h" (a handle) and others of the table in platform_calls.cpp; "-h"
 * is a handle that the call closes, ">num", ">text" and so on are shown behind the
 * result, ">h:key" hands out a handle that is then called key1, key2; "." is not shown.
 *
 * result: "code" (0 is success), "bool", "hresult", "h:key", "num" (0 is failure),
 * "attributes", "shell". With "!" behind it the call cannot usefully be let fail.
 */
struct PlatformCall {
    const char* name; // of a COM method: "Interface::Method"
    const char* arguments;
    const char* result;
    int method = -1; // its place in the interface
};

std::span<const PlatformCall> PlatformCalls();

/** What the handles of a run are called. */
class HandleNames {
public:
    /** Names a handle by its kind and the next number; one that has a name keeps it. */
    void Add(DWORD handle, const std::string& kind, bool owned);
    void Drop(DWORD handle) { names_.erase(handle); }
    bool Knows(DWORD handle) const { return names_.count(handle) != 0; }
    std::string Show(DWORD handle) const;

    /** @return the handles that nobody has closed, with a blank in front of each. */
    std::string Open() const;

private:
    struct Name {
        std::string text;
        bool owned;
    };
    std::map<DWORD, Name> names_;
    std::map<std::string, int> counts_;
};

/** @param argument  The argument; those behind it may be looked at, too. */
std::string ShowArgument(const HandleNames& names, const std::string& word, const DWORD* argument);

/** @return text in quotes, with escapes for what is not printable. */
std::string Quoted(std::string_view text);

} // namespace kit
