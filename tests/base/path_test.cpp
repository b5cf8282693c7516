// Paths taken apart and put together.

#include "base/path.h"

#include <gtest/gtest.h>

#include <string>

#include "kit/scratch.h"

namespace {

using namespace tarvo;

struct SplitCase {
    const char* path;
    const char* drive;
    const char* directory;
    const char* name;
    const char* extension;
};

const SplitCase kSplits[] = {
    {"", "", "", "", ""},
    {"file", "", "", "file", ""},
    {"C:", "C:", "", "", ""},
    {"C:\\", "C:", "\\", "", ""},
    {"C:file.x", "C:", "", "file", ".x"},
    {"C:\\a\\b.c\\file", "C:", "\\a\\b.c\\", "file", ""},
    {"C:/a/file.txt", "C:", "/a/", "file", ".txt"},
    {"\\\\server\\share\\f.t", "", "\\\\server\\share\\", "f", ".t"},
    {"a.b.c", "", "", "a.b", ".c"},
    {".txt", "", "", "", ".txt"},
    {"dir\\.", "", "dir\\", "", "."},
    {"dir\\..", "", "dir\\", ".", "."},
    {"name.", "", "", "name", "."},
};

TEST(Path, Splits)
{
    for (const SplitCase& row : kSplits) {
        SCOPED_TRACE(row.path);
        const PathParts parts = SplitPath(row.path);
        EXPECT_EQ(row.drive, parts.drive);
        EXPECT_EQ(row.directory, parts.directory);
        EXPECT_EQ(row.name, parts.name);
        EXPECT_EQ(row.extension, parts.extension);
        EXPECT_EQ(std::string(row.drive) + row.directory, FolderPart(parts));
        EXPECT_EQ(std::string(row.name) + row.extension, FilePart(parts));
    }
}

struct JoinCase {
    const char* directory;
    const char* name;
    const char* extension;
    const char* joined;
};

const JoinCase kJoins[] = {
    {"", "f", "", "f"},
    {"C:\\d", "f", "", "C:\\d\\f"},
    {"C:\\d\\", "f", "", "C:\\d\\f"},
    {"C:/d/", "f", "", "C:/d/f"},
    {"C:\\d", "f", "txt", "C:\\d\\f.txt"},
    {"d", "f", ".txt", "d\\f.txt"},
    {"d", "", "", "d\\"},
    {"", "", "x", ".x"},
};

TEST(Path, Joins)
{
    for (const JoinCase& row : kJoins) {
        SCOPED_TRACE(row.joined);
        const size_t length = strlen(row.joined);
        for (const size_t size : {length + 1, length + 2}) {
            std::string joined(length + 10, '~');
            EXPECT_TRUE(JoinPath(joined.data(), size, row.directory, row.name, row.extension));
            EXPECT_STREQ(row.joined, joined.c_str());
        }
    }
}

TEST(Path, JoinedPathThatDoesNotFitIsEmpty)
{
    for (size_t size = 1; size <= strlen("dir\\name.ext"); ++size) {
        std::string joined(20, '~');
        EXPECT_FALSE(JoinPath(joined.data(), size, "dir", "name", "ext")) << size;
        EXPECT_STREQ("", joined.c_str()) << size;
        EXPECT_EQ(std::string::npos, joined.find_first_not_of('~', size)) << size;
    }
    char none = '~';
    EXPECT_FALSE(JoinPath(&none, 0, "dir", "name"));
    EXPECT_EQ('~', none);
}

} // namespace
