// Copies, moves and deletions: done at once, or left to the next restart.

#include "files/file_exports.h"

namespace {

using Deferring = FileExports;
using Path = const char*;

constexpr DWORD kUnset = 77; // what need-restart holds where an export does not touch it
constexpr DWORD kLocked = ERROR_SHARING_VIOLATION;

struct FileCase {
    const char* fact;
    std::map<std::string, std::string> before;
    std::vector<std::string> locked;
    DWORD (*call)(Path source, Path target, DWORD* needRestart);
    const char* source;
    const char* target;
    DWORD code;
    DWORD needRestart;
    std::map<std::string, std::string> after;
    std::vector<std::pair<std::string, std::string>> pending;
    std::vector<std::string> recorded;
};

DWORD Copy(Path source, Path target, DWORD*)
{
    return TARVO_CopyFile(source, target, FALSE);
}
DWORD CopyNew(Path source, Path target, DWORD*)
{
    return TARVO_CopyFile(source, target, TRUE);
}
DWORD CopyEx(Path source, Path target, DWORD* restart)
{
    return TARVO_CopyFileEx(source, target, FALSE, restart);
}
DWORD CopyExNew(Path source, Path target, DWORD* restart)
{
    return TARVO_CopyFileEx(source, target, TRUE, restart);
}
DWORD Move(Path source, Path target, DWORD* restart)
{
    return TARVO_MoveFileEx(source, target, FALSE, restart);
}
DWORD MoveNew(Path source, Path target, DWORD* restart)
{
    return TARVO_MoveFileEx(source, target, TRUE, restart);
}
DWORD Delete(Path path, Path, DWORD* restart)
{
    return TARVO_DeleteFileEx(path, restart);
}
DWORD DeleteLater(Path path, Path, DWORD*)
{
    return TARVO_DeleteAfterReboot(path);
}

// clang-format off
const FileCase kFileCases[] = {    // fact, before, locked; call, source, target; code, need restart, after, pending, recorded
    {"copy to a new name", {{"a", "new"}}, {}, Copy, "a", "b", 0, kUnset, {{"a", "new"}, {"b", "new"}}, {}, {"b"}},
    {"copy over a file", {{"a", "new"}, {"b", "old"}}, {}, Copy, "a", "b", 0, kUnset, {{"a", "new"}, {"b", "new"}}, {}, {"b"}},
    {"copy refuses what exists", {{"a", "new"}, {"b", "old"}}, {}, CopyNew, "a", "b", 80, kUnset, {{"a", "new"}, {"b", "old"}}, {}, {}},
    {"copy defers nothing", {{"a", "new"}, {"b", "old"}}, {"b"}, Copy, "a", "b", kLocked, kUnset, {{"a", "new"}, {"b", "old"}}, {}, {}},
    {"copy of what is missing", {{"b", "old"}}, {}, Copy, "a", "b", 2, kUnset, {{"b", "old"}}, {}, {}},

    {"deferring copy at once", {{"a", "new"}, {"b", "old"}}, {}, CopyEx, "a", "b", 0, 0, {{"a", "new"}, {"b", "new"}}, {}, {"b"}},
    {"deferring copy refuses what exists", {{"a", "new"}, {"b", "old"}}, {"b"}, CopyExNew, "a", "b", 80, 0, {{"a", "new"}, {"b", "old"}}, {}, {}},
    {"deferring copy of what is missing", {{"b", "old"}}, {"b"}, CopyEx, "a", "b", 2, 0, {{"b", "old"}}, {}, {}},
    {"same folder: the source itself is moved", {{"a", "new"}, {"b", "old"}}, {"b"}, CopyEx, "a", "b", 0, 1,
     {{"a", "new"}, {"b", "old"}}, {{"a", "b"}}, {"b"}},
    {"another folder: a copy beside the target", {{"s\\", ""}, {"s\\a", "new"}, {"b.exe", "old"}}, {"b.exe"}, CopyEx, "s\\a", "b.exe", 0, 1,
     {{"s\\", ""}, {"s\\a", "new"}, {"b.exe", "old"}, {"b.1", "new"}}, {{"b.1", "b.exe"}}, {"b.exe"}},
    {"taken numbers are passed over", {{"s\\", ""}, {"s\\a", "new"}, {"b.exe", "old"}, {"b.1", "x"}, {"b.3", "y"}}, {"b.exe"}, CopyEx, "s\\a", "b.exe", 0, 1,
     {{"s\\", ""}, {"s\\a", "new"}, {"b.exe", "old"}, {"b.1", "x"}, {"b.2", "new"}, {"b.3", "y"}}, {{"b.2", "b.exe"}}, {"b.exe"}},
    {"a locked source cannot be copied beside it", {{"s\\", ""}, {"s\\a", "new"}, {"b", "old"}}, {"s\\a"}, CopyEx, "s\\a", "b", kLocked, 0,
     {{"s\\", ""}, {"s\\a", "new"}, {"b", "old"}}, {}, {}},
    {"a folder in the target's place", {{"a", "new"}, {"b\\", ""}}, {}, CopyEx, "a", "b", 0, 1, {{"a", "new"}, {"b\\", ""}}, {{"a", "b"}}, {"b"}},

    {"move to a new name", {{"a", "new"}}, {}, Move, "a", "b", 0, 0, {{"b", "new"}}, {}, {"b"}},
    {"move over a file", {{"a", "new"}, {"b", "old"}}, {}, Move, "a", "b", 0, 0, {{"b", "new"}}, {}, {"b"}},
    {"move refuses what exists", {{"a", "new"}, {"b", "old"}}, {}, MoveNew, "a", "b", 80, 0, {{"a", "new"}, {"b", "old"}}, {}, {}},
    {"move of what is missing", {{"b", "old"}}, {}, Move, "a", "b", 2, 0, {{"b", "old"}}, {}, {}},
    {"move onto a locked file is deferred", {{"s\\", ""}, {"s\\a", "new"}, {"b", "old"}}, {"b"}, Move, "s\\a", "b", 0, 1,
     {{"s\\", ""}, {"s\\a", "new"}, {"b", "old"}}, {{"s\\a", "b"}}, {"b"}},

    {"delete a file", {{"a", "x"}}, {}, Delete, "a", nullptr, 0, 0, {}, {}, {}},
    {"delete an empty folder", {{"a\\", ""}}, {}, Delete, "a", nullptr, 0, 0, {}, {}, {}},
    {"delete what is missing", {}, {}, Delete, "a", nullptr, 0, 0, {}, {}, {}},
    {"deletion of a locked file is deferred", {{"a", "x"}}, {"a"}, Delete, "a", nullptr, 0, 1, {{"a", "x"}}, {{"a", ""}}, {}},
    {"that of a folder with content too", {{"a\\", ""}, {"a\\b", "x"}}, {}, Delete, "a", nullptr, 0, 1, {{"a\\", ""}, {"a\\b", "x"}}, {{"a", ""}}, {}},
    {"delete later, there or not", {}, {}, DeleteLater, "a", nullptr, 0, kUnset, {}, {{"a", ""}}, {}},
};
// clang-format on

TEST_F(Deferring, FilesListAndRecordEndAsTheyShould)
{
    for (const FileCase& row : kFileCases) {
        for (const bool reported : {true, false}) { // need-restart may be NULL
            SCOPED_TRACE(row.fact);
            kit::PendingValue::Remove();
            TARVO_ReceivePFOsInfo();
            Record();
            Make(row.before);
            std::vector<std::unique_ptr<kit::FileLock>> locks;
            for (const std::string& name : row.locked)
                locks.push_back(std::make_unique<kit::FileLock>(At(name)));
            DWORD needRestart = kUnset;
            const std::string target = row.target ? At(row.target) : "";
            EXPECT_TRUE(kit::Gives(
                row.code, row.call(At(row.source).c_str(), target.c_str(), reported ? &needRestart : nullptr)));
            EXPECT_EQ(reported ? row.needRestart : kUnset, needRestart);
            locks.clear();
            EXPECT_EQ(row.after, Found());
            EXPECT_EQ(Stored(row.pending), kit::PendingValue::Read());
            EXPECT_EQ(RecordOf(row.recorded), Recorded());
            Empty();
        }
    }
}

struct ClearingCase {
    const char* fact;
    DWORD (*call)(Path source, Path target, DWORD* needRestart);
    const char* source;
    const char* target;
    std::vector<std::pair<std::string, std::string>> after;
};

TEST_F(Deferring, WhatIsDoneAtOnceClearsWhatWouldUndoIt)
{
    const Pairs before = {{"x", "b"}, {"b", ""}, {"b", "y"}, {"x", "bb"}, {"a", "z"}};
    const ClearingCase kCases[] = {
        {"copy: whatever has the target on either side", Copy, "a", "b", {{"x", "bb"}, {"a", "z"}}},
        {"deferring copy: the same", CopyEx, "a", "b", {{"x", "bb"}, {"a", "z"}}},
        {"move: the same", Move, "a", "b", {{"x", "bb"}, {"a", "z"}}},
        {"delete: what has it as source", Delete, "b", "", {{"x", "b"}, {"x", "bb"}, {"a", "z"}}},
        {"a failed copy clears nothing", CopyNew, "a", "b", before},
        {"nor does deleting what is missing", Delete, "x", "", before},
    };
    for (const ClearingCase& row : kCases) {
        SCOPED_TRACE(row.fact);
        Make({{"a", "new"}, {"b", "old"}});
        kit::PendingValue::Write(Stored(before));
        TARVO_ReceivePFOsInfo();
        row.call(At(row.source).c_str(), At(row.target).c_str(), nullptr);
        EXPECT_EQ(Stored(row.after), kit::PendingValue::Read());
    }
}

TEST_F(Deferring, MissingArgumentsAreRefused)
{
    DWORD needRestart = kUnset;
    for (const auto call : {Copy, CopyEx, Move}) {
        EXPECT_EQ(87U, call(nullptr, "C:\\b", &needRestart));
        EXPECT_EQ(87U, call("C:\\a", nullptr, &needRestart));
    }
    EXPECT_EQ(87U, Delete(nullptr, nullptr, &needRestart));
    EXPECT_EQ(87U, DeleteLater(nullptr, nullptr, nullptr));
    EXPECT_TRUE(kit::Gives(87, DeleteLater("", nullptr, nullptr)));
    EXPECT_EQ(kUnset, needRestart);
}

TEST_F(Deferring, ReadOnlyTargetsAreMadeWritable)
{
    kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA); // here the system would copy over them anyway
    for (const auto call : {Copy, CopyEx, Move, Delete}) {
        Make({{"a", "new"}, {"b", "old"}});
        SetFileAttributesA(At("b").c_str(), FILE_ATTRIBUTE_READONLY);
        const int calls = set.Calls();
        EXPECT_EQ(0U, call(At(call == Delete ? "b" : "a").c_str(), At("b").c_str(), nullptr));
        EXPECT_EQ(calls + 1, set.Calls());
        EXPECT_EQ(call == Delete ? "none" : "new", kit::FileExists(At("b")) ? kit::ReadFile(At("b")) : "none");
    }
}

TEST_F(Deferring, TargetThatMayNotBeLookedAtExists)
{
    kit::PendingValue::Remove();
    Make({{"a", "new"}});
    kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA);
    const kit::ImportHook copy("CopyFileA", &CopyFileA, ERROR_ACCESS_DENIED, FALSE);
    const kit::ImportHook remove("DeleteFileA", &DeleteFileA);
    const kit::ImportHook move("MoveFileA", &MoveFileA, ERROR_ACCESS_DENIED, FALSE);
    const std::string hidden = At("b");
    look.Answer([&](const char* path) -> DWORD {
        if (path != hidden)
            return look.Original()(path);
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_FILE_ATTRIBUTES;
    });
    DWORD needRestart = kUnset;
    EXPECT_EQ(80U, CopyExNew(At("a").c_str(), hidden.c_str(), &needRestart));
    EXPECT_EQ(80U, MoveNew(At("a").c_str(), hidden.c_str(), &needRestart));
    EXPECT_EQ(0U, CopyEx(At("a").c_str(), hidden.c_str(), &needRestart));
    EXPECT_EQ(0U, Move(At("a").c_str(), hidden.c_str(), &needRestart));
    EXPECT_EQ(0U, Delete(hidden.c_str(), nullptr, &needRestart));
    EXPECT_EQ(1U, needRestart);
    EXPECT_EQ(0, remove.Calls()) << "only what can be looked at is deleted at once";
    EXPECT_EQ(Stored({{"a", "b"}, {"a", "b"}, {"b", ""}}), kit::PendingValue::Read());
}

TEST_F(Deferring, LastNumberIsTriedWhenAllAreTaken)
{
    Make({{"s\\", ""}, {"s\\a", "new"}, {"b.exe", "old"}});
    const kit::FileLock lock(At("b.exe"));
    const kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, 0, DWORD{FILE_ATTRIBUTE_ARCHIVE});
    EXPECT_TRUE(kit::Gives(0, CopyEx(At("s\\a").c_str(), At("b.exe").c_str(), nullptr)));
    EXPECT_EQ("new", kit::ReadFile(At("b.998")));
}

TEST_F(Deferring, ListThatRefusesIsReported)
{
    Make({{"a", "new"}, {"b", "old"}});
    Record();
    const kit::FileLock lock(At("b"));
    const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
    for (const auto call : {CopyEx, Move, Delete, DeleteLater}) {
        DWORD needRestart = call == DeleteLater ? 0 : kUnset;
        EXPECT_TRUE(kit::Gives(5, call(At(call == Delete ? "b" : "a").c_str(), At("b").c_str(), &needRestart)));
        EXPECT_EQ(0U, needRestart);
    }
    EXPECT_EQ(RecordOf({}), Recorded());
}

TEST_F(Deferring, LongPathsAreRefusedWhole)
{
    kit::PendingValue::Remove();
    Make({{"a", "new"}});
    const std::string longPath = At(std::string(300, 'x'));
    DWORD needRestart = kUnset;
    EXPECT_NE(0U, Copy(At("a").c_str(), longPath.c_str(), nullptr));
    EXPECT_EQ(DWORD{ERROR_FILENAME_EXCED_RANGE}, CopyEx(At("a").c_str(), (longPath + "\\b").c_str(), &needRestart));
    EXPECT_NE(0U, CopyEx(longPath.c_str(), At("b").c_str(), &needRestart));
    EXPECT_NE(0U, Move(longPath.c_str(), At("b").c_str(), &needRestart));
    EXPECT_EQ(0U, Delete(longPath.c_str(), nullptr, &needRestart)) << "nothing can be there";
    EXPECT_EQ(0U, needRestart);
    EXPECT_EQ(Pairs{}, kit::PendingValue::Read()) << "no cut name is scheduled";
    EXPECT_EQ((Tree{{"a", "new"}}), Found());
}

TEST_F(Deferring, TraceTellsWhichWayItWent)
{
    Make({{"s\\", ""}, {"s\\a", "new"}, {"b", "old"}, {"d\\", ""}, {"d\\x", ""}});
    kit::TraceLog log(At("trace.log"));
    const kit::FileLock lock(At("b"));
    DWORD restart = 0;
    char address[16];
    snprintf(address, sizeof address, "%x", reinterpret_cast<unsigned>(&restart));
    const std::string a = At("s\\a");
    const std::string b = At("b");
    const std::string report = "report need-of-reboot to [";
    CopyEx(a.c_str(), b.c_str(), &restart);
    Move(a.c_str(), b.c_str(), &restart);
    MoveNew(a.c_str(), b.c_str(), nullptr);
    CopyNew(a.c_str(), nullptr, nullptr);
    EXPECT_TRUE(log.HasEach(
        {"1 Copying-over-locked file from [" + a + "] to [" + b + "] , " + report + address + "]...",
         "1 Immediate CopyFile failed with error code: 32", "1 Defined SourceCopy = [" + b + ".1]",
         "1 Moving-over-locked file from [" + a + "] to [" + b + "] , " + report + address + "]...",
         "2 Deleting target existing file failed with error code 32", "1 Immediate MoveFile failed with error code: ",
         "1 Moving-over-locked file from [" + a + "] to [" + b + "] (FailIfExists), " + report + "0]...",
         "1 Copying file from [" + a + "] to [null] (FailIfExists)..."}));
    log.Clear();
    for (const std::string& path : {b, At("none"), At("d")})
        Delete(path.c_str(), nullptr, &restart);
    EXPECT_TRUE(
        log.HasEach({"1 Deleting-over-locked file [" + b + "], report need of reboot to [" + address + "]...",
                     "1 Calling DeleteFile...", "1 Failed with error code [32].",
                     "2 File doesn't exists. Nothing to do.", "1 Calling RemoveDirectory...",
                     "1 Failed with error code [145].", "1 { IsPathDirectory(" + At("d") + ")", "1 Returning 16."}));
}

} // namespace
