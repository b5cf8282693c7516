// Paths taken apart and put together.

#include "base/path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace tarvo;

TEST(Path, Splits)
{
    // Drive, directory, name and extension with bars between them.
    const char* const kSplits[] = {
        "|||",
        "||file|",
        "C:|||",
        "C:|\\||",
        "C:||file|.x",
        "C:|\\a\\b.c\\|file|",
        "C:|/a/|file|.txt",
        "|\\\\server\\share\\|f|.t",
        "||a.b|.c",
        "|||.txt",
        "|dir\\||.",
        "|dir\\|.|.",
        "||name|.",
    };
    for (const std::string expected : kSplits) {
        std::string path = expected;
        std::erase(path, '|');
        const PathParts parts = SplitPath(path.c_str());
        std::string split(parts.drive);
        for (const std::string_view part : {parts.directory, parts.name, parts.extension})
            split.append("|").append(part);
        EXPECT_EQ(expected, split);
        EXPECT_EQ(path, std::string(FolderPart(parts)).append(FilePart(parts)));
    }
}

struct JoinCase {
    const char* directory;
    const char* name;
    const char* extension;
    std::string joined;
};

TEST(Path, JoinsWhatFits)
{
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
    for (const JoinCase& row : kJoins) {
        for (size_t size = 0; size <= row.joined.size() + 2; ++size) {
            SCOPED_TRACE(row.joined + " into " + std::to_string(size));
            std::string buffer(20, '~');
            const bool fits = size > row.joined.size();
            EXPECT_EQ(fits, JoinPath(buffer.data(), size, row.directory, row.name, row.extension));
            EXPECT_EQ(std::string::npos, buffer.find_first_not_of('~', size)) << buffer;
            if (size) {
                EXPECT_EQ(fits ? row.joined : "", buffer.c_str());
            }
        }
    }
}

} // namespace
