#pragma once

#include <map>

#include "uninstall/log_file.h"

/** Names in these tests are below the scratch folder, unless they begin with a drive. */
class FileExports : public kit::LibraryTest {
protected:
    using Pairs = kit::PendingValue::Pairs;
    using Tree = std::map<std::string, std::string>; // file and content; a folder ends in a backslash

    std::string At(const std::string& name) { return name[1] == ':' ? name : Scratch().Path(name); }

    void Make(const Tree& tree)
    {
        for (const auto& [name, content] : tree) {
            if (name.back() == '\\')
                CreateDirectoryA(At(name).c_str(), nullptr);
            else
                kit::WriteFile(At(name), content);
        }
    }

    /** Everything below the scratch folder but logs. */
    Tree Found(const std::string& below = "")
    {
        Tree tree;
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(At(below + "*").c_str(), &found);
        do {
            const std::string name = below + found.cFileName;
            if (found.cFileName[0] == '.' || name.ends_with(".log"))
                continue;
            if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
                tree[name] = kit::ReadFile(At(name));
                continue;
            }
            tree[name + "\\"] = "";
            tree.merge(Found(name + "\\"));
        } while (FindNextFileA(search, &found));
        FindClose(search);
        return tree;
    }

    /** Pairs of names, "" deleting, as the value holds them. */
    Pairs Stored(Pairs names)
    {
        for (auto& [source, target] : names) {
            source = R"(\??\)" + At(source);
            target = target.empty() ? "" : R"(!\??\)" + At(target);
        }
        return names;
    }

    /** The uninstall log's lines for these names, in their order. */
    std::vector<std::string> RecordOf(const std::vector<std::string>& names)
    {
        std::vector<std::string> lines;
        if (!names.empty())
            lines.push_back("[Files]");
        for (const std::string& name : names)
            lines.push_back(At(name) + "=1");
        return lines;
    }

    std::vector<std::string> Recorded() { return LogLines(At("uninstall.log")); }

    void Empty()
    {
        kit::RemoveTree(Scratch().Path());
        CreateDirectoryA(Scratch().Path().c_str(), nullptr);
    }
};
