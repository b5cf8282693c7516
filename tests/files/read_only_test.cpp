#include "files/file_exports.h"

namespace {

using ReadOnlyAttribute = FileExports;

TEST_F(ReadOnlyAttribute, OnlyItIsClearedUnlessAttributesAreGiven)
{
    constexpr DWORD kNormal = FILE_ATTRIBUTE_NORMAL;
    constexpr struct AttributeCase {
        const char* fact;
        DWORD before;
        DWORD given;
        DWORD set; // 0: nothing is set
        const char* traced;
    } kCases[] = {
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
        EXPECT_TRUE(log.HasEach(
            {"1 " + std::string(row.traced), "1 Filename [C:\\x], NewAttribute [" + std::to_string(row.given) + "]"}));
    }
}

TEST_F(ReadOnlyAttribute, RefusalsHaveTheirCodes)
{
    const std::string file = Scratch().Make("a");
    kit::TraceLog log(At("trace.log"));
    EXPECT_EQ(87U, TARVO_ResetFileReadOnlyAttribute(nullptr, 0));
    for (const char* missing : {"none", "none\\none"})
        EXPECT_TRUE(kit::Gives(2, TARVO_ResetFileReadOnlyAttribute(At(missing).c_str(), 0)));
    kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA);
    for (const DWORD code : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        log.Clear();
        look.FailNth(2, code, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(code, TARVO_ResetFileReadOnlyAttribute(file.c_str(), 0));
        EXPECT_TRUE(
            log.HasEach({code == ERROR_ACCESS_DENIED ? "2 Error retrieving file attributes" : "2 File doesn't exist"}));
    }
    look.PassThrough();
    const kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, ERROR_WRITE_PROTECT, FALSE);
    EXPECT_TRUE(kit::Gives(ERROR_WRITE_PROTECT, TARVO_ResetFileReadOnlyAttribute(file.c_str(), FILE_ATTRIBUTE_HIDDEN)));
    EXPECT_TRUE(log.HasEach({"2 Setting attributes failed."}));
}

} // namespace
