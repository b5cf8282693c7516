// Which files of a tree a grant reaches, and that every walk ends.

#include "kit/kit.h"

#include <algorithm>

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

std::wstring Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

/** The ANSI calls of a system that gives them long paths: here by way of the wide ones. */
class LongAnsiPaths {
public:
    LongAnsiPaths()
    {
        attributes_.Answer([](const char* path) { return GetFileAttributesW(Wide(path).c_str()); });
        first_.Answer([](const char* pattern, WIN32_FIND_DATAA* data) {
            WIN32_FIND_DATAW wide;
            const HANDLE search = FindFirstFileW(Wide(pattern).c_str(), &wide);
            Copy(wide, *data);
            return search;
        });
        next_.Answer([](HANDLE search, WIN32_FIND_DATAA* data) {
            WIN32_FIND_DATAW wide;
            const BOOL found = FindNextFileW(search, &wide);
            Copy(wide, *data);
            return found;
        });
    }

private:
    static void Copy(const WIN32_FIND_DATAW& wide, WIN32_FIND_DATAA& data)
    {
        data.dwFileAttributes = wide.dwFileAttributes;
        snprintf(data.cFileName, sizeof data.cFileName, "%ls", wide.cFileName);
    }

    kit::ImportHook<decltype(&GetFileAttributesA)> attributes_{"GetFileAttributesA", &GetFileAttributesA};
    kit::ImportHook<decltype(&FindFirstFileA)> first_{"FindFirstFileA", &FindFirstFileA};
    kit::ImportHook<decltype(&FindNextFileA)> next_{"FindNextFileA", &FindNextFileA};
};

TEST_F(FileWalk, LongPathsAreWalked)
{
    const std::string start = "\\\\?\\" + Scratch().Path();
    std::string path = start;
    Names expected = {path};
    for (int level = 0; level < 12; ++level) {
        path += "\\" + std::string(60, static_cast<char>('a' + level));
        ASSERT_TRUE(CreateDirectoryW(Wide(path).c_str(), nullptr)) << path.size();
        expected.push_back(path);
    }
    ASSERT_GT(path.size(), 700U);
    {
        const LongAnsiPaths system;
        RecordedSets sets(false);
        kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
        get.FailAll(0, ERROR_SUCCESS); // none of them has a list
        EXPECT_EQ(0U, Grant(start));
        EXPECT_EQ(expected, sets.names);
    }
    for (; path.size() > start.size(); path.resize(path.rfind('\\')))
        RemoveDirectoryW(Wide(path).c_str());
}

/** A folder in itself, by a junction; this Wine makes none, but takes a link of the system below it for one. */
class Loop {
public:
    Loop(const std::string& link, const std::string& target) : link_(link)
    {
        Run("cmd /c mklink /J \"" + link + "\" \"" + target + "\"");
        if (!Exists())
            Run("Z:\\bin\\ln -s \"" + Unix(target) + "\" \"" + Unix(link) + "\"");
        Await(true);
    }
    ~Loop()
    {
        if (!RemoveDirectoryA(link_.c_str()))
            Run("Z:\\bin\\rm \"" + Unix(link_) + "\"");
        Await(false);
    }
    bool Exists() const
    {
        const DWORD attributes = GetFileAttributesA(link_.c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
    }

private:
    static void Run(std::string command)
    {
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process;
        if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                            &startup, &process))
            return;
        WaitForSingleObject(process.hProcess, 20000);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    /** A program of the system below is not waited for. */
    void Await(bool existing) const
    {
        for (int tenth = 0; tenth < 50 && Exists() != existing; ++tenth)
            Sleep(100);
    }
    static std::string Unix(const std::string& path)
    {
        const auto translate = reinterpret_cast<char*(CDECL*)(const wchar_t*)>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "wine_get_unix_file_name")));
        return translate ? translate(Wide(path).c_str()) : "";
    }

    std::string link_;
};

TEST_F(FileWalk, LinksBackAreNotEntered)
{
    AllowOpenHandles();
    MakeFolder("a");
    MakeFolder("a\\b");
    Scratch().Make("a\\b\\file");
    const Loop own(Scratch().Path("a\\b\\loop"), Scratch().Path("a\\b"));
    const Loop above(Scratch().Path("a\\b\\up"), Scratch().Path());
    const Loop beside(Scratch().Path("a\\side"), Scratch().Path("a\\b"));
    if (!own.Exists() || !above.Exists() || !beside.Exists())
        GTEST_SKIP() << "no junction can be made here";
    EXPECT_EQ(Names({"", "\\a", "\\a\\b", "\\a\\b\\file", "\\a\\b\\loop", "\\a\\b\\up", "\\a\\side", "\\a\\side\\file",
                     "\\a\\side\\loop", "\\a\\side\\up"}),
              Reached())
        << "a link is called back for; one beside the walk is entered";
}

} // namespace
