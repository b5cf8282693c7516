// Which files of a tree a grant reaches, and that every walk ends.

#include "kit/kit.h"

#include <algorithm>
#include <set>

#include "security/recorded_sets.h"

namespace {

using Names = std::vector<std::string>;

class FileWalk : public kit::LibraryTest {
protected:
    static DWORD Grant(const std::string& path)
    {
        return TARVO_SetFileSecurityRid(path.c_str(), 0, nullptr, GENERIC_ALL, FALSE, TRUE);
    }
    void MakeFolder(const char* name) { ASSERT_TRUE(CreateDirectoryA(Scratch().Path(name).c_str(), nullptr)); }

    /** Names that a walk from the scratch folder reaches. Siblings come as the system lists them: sorted for the test.
     */
    Names Reached()
    {
        RecordedSets sets(false);
        EXPECT_EQ(0U, Grant(Scratch().Path()));
        Names names = sets.NamesBelow(Scratch().Path());
        for (size_t index = 1; index < names.size(); ++index) {
            const std::string parent = names[index].substr(0, names[index].rfind('\\'));
            const auto end = names.begin() + static_cast<ptrdiff_t>(index);
            EXPECT_NE(end, std::find(names.begin(), end, parent)) << names[index] << " before its folder";
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(FileWalk, FoldersComeBeforeTheirContents)
{
    MakeFolder("a");
    MakeFolder("a\\empty");
    MakeFolder("..b");
    Scratch().Make("a\\file");
    Scratch().Make("a\\.hidden");
    Scratch().Make("..b\\inner");
    SetFileAttributesA(Scratch().Path("a\\file").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    EXPECT_EQ(Names({"", "\\..b", "\\..b\\inner", "\\a", "\\a\\.hidden", "\\a\\empty", "\\a\\file"}), Reached());
}

TEST_F(FileWalk, FileAloneAndClosingSeparators)
{
    const std::string file = Scratch().Make("file");
    RecordedSets sets(false);
    EXPECT_EQ(0U, Grant(file));
    EXPECT_EQ(Names({file}), sets.names);
    for (const char* end : {"\\", "/"}) {
        sets.names.clear();
        EXPECT_EQ(0U, Grant(Scratch().Path() + end));
        EXPECT_EQ(Names({Scratch().Path() + end, Scratch().Path() + end + "file"}), sets.names);
    }
}

TEST_F(FileWalk, FailingFolderIsNotEntered)
{
    MakeFolder("a");
    Scratch().Make("a\\1");
    Scratch().Make("b");
    RecordedSets sets(false);
    sets.failing = Scratch().Path("a");
    EXPECT_EQ(0U, Grant(Scratch().Path()));
    EXPECT_EQ(3U, sets.names.size());
    sets.failing = Scratch().Path();
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, Grant(Scratch().Path()));
    EXPECT_EQ(4U, sets.names.size());
}

/** A file system that shows its entries otherwise than they are: names, attributes, what a path leads to. It has no
 * lists. */
class ShownFileSystem {
public:
    ShownFileSystem(const std::function<std::string(std::string)>& lead,
                    const std::function<void(WIN32_FIND_DATAA&)>& show)
    {
        attributes_.Answer([=](const char* path) { return GetFileAttributesA(lead(path).c_str()); });
        create_.Answer([=](const char* path, auto... rest) { return CreateFileA(lead(path).c_str(), rest...); });
        first_.Answer([=](const char* pattern, WIN32_FIND_DATAA* data) {
            const HANDLE search = FindFirstFileA(lead(pattern).c_str(), data);
            show(*data);
            return search;
        });
        next_.Answer([=](HANDLE search, WIN32_FIND_DATAA* data) {
            const BOOL found = FindNextFileA(search, data);
            show(*data);
            return found;
        });
    }

private:
    kit::ImportHook<decltype(&GetNamedSecurityInfoA)> lists_{"GetNamedSecurityInfoA", &GetNamedSecurityInfoA, 0, 0};
    kit::ImportHook<decltype(&GetFileAttributesA)> attributes_{"GetFileAttributesA", &GetFileAttributesA};
    kit::ImportHook<decltype(&CreateFileA)> create_{"CreateFileA", &CreateFileA};
    kit::ImportHook<decltype(&FindFirstFileA)> first_{"FindFirstFileA", &FindFirstFileA};
    kit::ImportHook<decltype(&FindNextFileA)> next_{"FindNextFileA", &FindNextFileA};
};

TEST_F(FileWalk, LongPathsAreWalked)
{
    const std::string start = Scratch().Path();
    Names expected = {start};
    std::string folder = start;
    for (char letter = 'a'; letter < 'm'; ++letter) {
        folder += std::string("\\") + letter;
        ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
        expected.push_back(expected.back() + "\\" + std::string(60, letter));
    }
    const ShownFileSystem system(
        [&](std::string path) {
            path.erase(std::unique(path.begin() + static_cast<ptrdiff_t>(start.size()), path.end()), path.end());
            return path;
        },
        [](WIN32_FIND_DATAA& data) {
            if (data.cFileName[0] != '.')
                *std::fill_n(data.cFileName, 60, data.cFileName[0]) = '\0';
        });
    RecordedSets sets(false);
    EXPECT_EQ(0U, Grant(start));
    EXPECT_EQ(expected, sets.names);
}

TEST_F(FileWalk, LinksBackAreNotEntered)
{
    const std::pair<std::string, std::string> links[] = {{Scratch().Path("a\\b\\loop"), Scratch().Path("a\\b")},
                                                         {Scratch().Path("a\\b\\up"), Scratch().Path()},
                                                         {Scratch().Path("a\\side"), Scratch().Path("a\\b")}};
    for (const char* name : {"a", "a\\b", "a\\b\\loop", "a\\b\\up", "a\\side"})
        MakeFolder(name);
    Scratch().Make("a\\b\\file");
    const ShownFileSystem system(
        [&](std::string path) {
            for (int depth = 0; depth < 4; ++depth) { // a link may lie behind another one
                for (const auto& [link, target] : links) {
                    if (path == link || path.starts_with(link + "\\"))
                        path.replace(0, link.size(), target);
                }
            }
            return path;
        },
        [](WIN32_FIND_DATAA& data) {
            if (std::set<std::string>{"loop", "up", "side"}.contains(data.cFileName))
                data.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        });
    EXPECT_EQ(Names({"", "\\a", "\\a\\b", "\\a\\b\\file", "\\a\\b\\loop", "\\a\\b\\up", "\\a\\side", "\\a\\side\\file",
                     "\\a\\side\\loop", "\\a\\side\\up"}),
              Reached())
        << "a link is called back for; one beside the walk is entered";
}

} // namespace
