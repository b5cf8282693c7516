#pragma once

#include "kit/kit.h"

#include <algorithm>
#include <cstring>

/** The classic start with the Windows directory and the host program's folder moved into the scratch folder. */
class StartTest : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        windows_.emplace("GetWindowsDirectoryA", &GetWindowsDirectoryA);
        windows_->Answer([this](char* path, UINT size) { return Answer(Scratch().Path(), path, size); });
        program_.emplace("GetModuleFileNameA", &GetModuleFileNameA);
        program_->Answer([this](HMODULE module, char* path, DWORD size) {
            return module ? program_->Original()(module, path, size) : Answer(Scratch().Path("setup.exe"), path, size);
        });
    }

    std::string LogPath() { return Scratch().Path("TARVO.log"); }
    std::vector<std::string> Log() { return kit::SplitLines(kit::ReadFile(LogPath())); }
    void WriteConfig(std::string_view content) { Scratch().Make("TARVO.cfg", content); }

    static ptrdiff_t CountBanners(const std::string& path)
    {
        const auto lines = kit::SplitLines(kit::FileExists(path) ? kit::ReadFile(path) : "");
        return std::count_if(lines.begin(), lines.end(),
                             [](auto& line) { return line.ends_with("TARVO.DLL version 10.0.176"); });
    }

private:
    static UINT Answer(const std::string& text, char* path, DWORD size)
    {
        if (size > text.size())
            memcpy(path, text.c_str(), text.size() + 1);
        return static_cast<UINT>(text.size());
    }

    std::optional<kit::ImportHook<decltype(&GetWindowsDirectoryA)>> windows_;
    std::optional<kit::ImportHook<decltype(&GetModuleFileNameA)>> program_;
};
