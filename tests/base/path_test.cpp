#include "base/path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace tarvo;

TEST(Path, Splits)
{
    // Drive, directory, name and extension with bars between them.
    for (const std::string expected :
         {"|||", "||file|", "C:|||", "C:|\\||", "C:||file|.x", "C:|\\a\\b.c\\|file|", "C:|/a/|file|.txt",
          "|\\\\server\\share\\|f|.t", "||a.b|.c", "|||.txt", "|dir\\||.", "|dir\\|.|.", "||name|."}) {
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

TEST(Path, JoinsWhatFits)
{
    const struct {
        const char *directory, *name, *extension;
        std::string joined;
    } joins[] = {
        {"", "f", "", "f"},
        {"C:", "f", "x", "C:f.x"},
        {"C:\\d", "f", "", "C:\\d\\f"},
        {"C:\\d\\", "f", "", "C:\\d\\f"},
        {"C:/d/", "f", "", "C:/d/f"},
        {"C:\\d", "f", "txt", "C:\\d\\f.txt"},
        {"d", "f", ".txt", "d\\f.txt"},
        {"d", "", "", "d\\"},
        {"", "", "x", ".x"},
    };
    for (const auto& [directory, name, extension, joined] : joins) {
        for (size_t size = 0; size <= joined.size() + 2; ++size) {
            SCOPED_TRACE(joined + " into " + std::to_string(size));
            std::string buffer(20, '~');
            const bool fits = size > joined.size();
            EXPECT_EQ(fits, JoinPath(buffer.data(), size, directory, name, extension));
            EXPECT_EQ(std::string::npos, buffer.find_first_not_of('~', size)) << buffer;
            EXPECT_EQ(fits ? joined : "", buffer.substr(0, size ? buffer.find('\0') : 0));
        }
    }
}

} // namespace
