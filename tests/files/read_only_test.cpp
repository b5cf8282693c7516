#include "files/file_exports.h"

namespace {

using ReadOnlyAttribute = FileExports;

TEST_F(ReadOnlyAttribute, OnlyItIsClearedUnlessAttributesAreGiven)
{
    constexpr DWORD kNormal = FILE_ATTRIBUTE_NORMAL;
    struct AttributeCase {
        const char* fact;
        DWORD before;
        DWORD given;
        DWORD set; // 0: nothing is set
        const char* traced;
    };
    constexpr AttributeCase kCases[] = {
        {"writable stays", 0x22, 0, 0, "File is writable."},
        {"read-only goes, the others stay", 0x27, 0, 0x26, "File is read-only."},
        {"read-only alone", 0x01, 0, 0x80, "File is read-only."},
        {"a folder's", 0x11, 0, 0x10, "File is read-only."},
        {"given ones replace all", 0x23, 0x20, 0x20, "Resetting attributes to [0x20]..."},
        {"whatever they are", 0x20, 0x03, 0x03, "Resetting attributes to [0x3]..."},
        {"even with nothing to change", 0x20, kNormal, kNormal, "Resetting attributes to [0x80]..."},
    };
    kit::TraceLog log(At("trace.log"));
    kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA);
    kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA);
    for (const AttributeCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        log.Clear();
        DWORD attributes = 0;
        look.Answer([&](const char*) { return row.before; });
        set.Answer([&](const char*, DWORD asked) { return attributes = asked, TRUE; });
        EXPECT_EQ(0U, TARVO_ResetFileReadOnlyAttribute("C:\\x", row.given));
        EXPECT_EQ(row.before == 1 ? 0 : row.set, attributes); // no attribute at all means normal to the system
        EXPECT_TRUE(HasLine(log, kInfo, row.traced));
        EXPECT_TRUE(HasLine(log, kInfo, "Filename [C:\\x], NewAttribute [" + std::to_string(row.given) + "]"));
    }
}

TEST_F(ReadOnlyAttribute, RefusalsHaveTheirCodes)
{
    const std::string file = Scratch().Make("a");
    kit::TraceLog log(At("trace.log"));
    EXPECT_EQ(87U, TARVO_ResetFileReadOnlyAttribute(nullptr, 0));
    EXPECT_EQ(2U, TARVO_ResetFileReadOnlyAttribute(At("none").c_str(), 0));
    EXPECT_EQ(2U, TARVO_ResetFileReadOnlyAttribute(At("none\\none").c_str(), 0));
    EXPECT_EQ(kit::SystemText(2), kit::LastMessage());
    kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA);
    struct LookCase {
        DWORD lookFails; // at the second look
        const char* warning;
    };
    constexpr LookCase kCases[] = {
        {ERROR_FILE_NOT_FOUND, "File doesn't exist"},
        {ERROR_PATH_NOT_FOUND, "File doesn't exist"},
        {ERROR_ACCESS_DENIED, "Error retrieving file attributes"},
    };
    for (const LookCase& row : kCases) {
        log.Clear();
        look.FailNth(2, row.lookFails, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(row.lookFails, TARVO_ResetFileReadOnlyAttribute(file.c_str(), 0));
        EXPECT_TRUE(HasLine(log, kWarning, row.warning));
    }
    look.PassThrough();
    kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA);
    set.FailAll(ERROR_WRITE_PROTECT, FALSE);
    EXPECT_EQ(DWORD{ERROR_WRITE_PROTECT}, TARVO_ResetFileReadOnlyAttribute(file.c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_TRUE(HasLine(log, kWarning, "Setting attributes failed."));
    EXPECT_EQ(kit::SystemText(ERROR_WRITE_PROTECT), kit::LastMessage());
}

} // namespace
