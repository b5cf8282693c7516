// Making, copying, moving and deleting files and folders, against their records.

#include "kit/kit.h"

namespace {

using FileRecords = kit::BehaviorTest;
using kit::Stage;

/** Has the restart move something onto a path, delete it and move it away; a neighbour stands beside. */
std::string DeferAround(const std::string& path)
{
    const std::string stored = R"(\??\)" + path;
    kit::PendingValue::Write(
        {{R"(\??\C:\x)", "!" + stored}, {stored, ""}, {stored, R"(!\??\C:\y)"}, {R"(\??\C:\x)", "!" + stored + "b"}});
    return path;
}

/** Lets each look at a path be refused. */
struct Unreadable : kit::ImportHook<decltype(&GetFileAttributesA)> {
    explicit Unreadable(const std::string& path) : ImportHook("GetFileAttributesA", &GetFileAttributesA)
    {
        Answer([this, path](const char* asked) {
            return path != asked ? Original()(asked) : (SetLastError(ERROR_ACCESS_DENIED), INVALID_FILE_ATTRIBUTES);
        });
    }
};

void TellState(Stage& stage)
{
    stage.TellFolder();
    stage.TellPending();
}

std::string Subfolder(const std::string& name)
{
    CreateDirectoryA(Stage::Folder(name).c_str(), nullptr);
    return Stage::Folder(name);
}

std::string ReadOnlyFile(const std::string& name)
{
    SetFileAttributesA(Stage::File(name, "old").c_str(), FILE_ATTRIBUTE_READONLY);
    return Stage::Folder(name);
}

TEST_F(FileRecords, Directories)
{
    constexpr Ways kOnce = {.failures = false, .allocations = false};
    Open("files/directories");
    Case("each missing level is made and recorded, and what was pending for it goes", [](Stage& stage) {
        Subfolder("A");
        stage.Call(&TARVO_CreateDirectory, DeferAround(Stage::Folder("A\\B")) + "\\\\C/D\\");
        TellState(stage);
    });
    Case("nothing is made where all is there", kOnce, [](Stage& stage) {
        for (const std::string& path : {std::string("C:\\"), Subfolder("A")})
            stage.Call(&TARVO_CreateDirectory, path);
    });
    Case("a path that does not begin with drive, colon and backslash is refused", kOnce, [](Stage& stage) {
        const kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, ERROR_BAD_NETPATH, -1);
        stage.Call(&TARVO_CreateDirectory, nullptr);
        for (const std::string path : {"", "\\\\srv\\share\\x", "//srv/share/x", "C:A", "C:/A", "C:"})
            stage.Call(&TARVO_CreateDirectory, path);
    });
    Case("a file stands in the way", [](Stage& stage) {
        const std::string file = Stage::File("f");
        stage.Call(&TARVO_CreateDirectory, file);
        stage.Call(&TARVO_CreateDirectory, file + "\\A");
        stage.TellFolder();
    });
}

TEST_F(FileRecords, Attributes)
{
    Open("files/attributes");
    Case("read-only goes, others stay; given ones replace all", {.failures = false, .allocations = false},
         [](Stage& stage) {
             constexpr DWORD kBeforeAndGiven[][2] = {{0x22, 0},    {0x27, 0}, {0x11, 0},
                                                     {0x23, 0x20}, {0x20, 3}, {0x20, 0x80}};
             kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA);
             kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, 0, TRUE);
             for (const auto& [before, given] : kBeforeAndGiven) {
                 look.Answer([attributes = before](const char*) { return attributes; });
                 stage.Call(&TARVO_ResetFileReadOnlyAttribute, "C:\\x", given);
             }
         });
    for (const DWORD code : {ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        Case("a look fails: " + std::to_string(code), {.allocations = false, .code = code}, [](Stage& stage) {
            stage.Call(&TARVO_ResetFileReadOnlyAttribute, ReadOnlyFile("f"), 0);
            stage.TellFolder();
        });
    }
    Case("no file", [](Stage& stage) {
        stage.Call(&TARVO_ResetFileReadOnlyAttribute, nullptr, 1);
        stage.Call(&TARVO_ResetFileReadOnlyAttribute, Stage::Folder("none"), 1);
    });
}

/** What copies have in common, in every state of the target. */
template <class Call> void RefuseAll(Stage& stage, const Call& call)
{
    const std::string source = Stage::File("a", "new");
    const std::string target = ReadOnlyFile("b");
    call(nullptr, target, FALSE);
    call(source, nullptr, FALSE);
    call(Stage::Folder("none"), target, FALSE);
    call(source, target, TRUE);
    const Unreadable hidden(target);
    call(source, target, TRUE);
    TellState(stage);
}

TEST_F(FileRecords, Copying)
{
    Open("files/copying");
    Case("a copy goes over a read-only file and clears what was pending for it", [](Stage& stage) {
        const kit::ReadOnlyHolds holds;
        stage.Call(&TARVO_CopyFile, Stage::File("a", "new"), DeferAround(ReadOnlyFile("b")), FALSE);
        TellState(stage);
    });
    Case("a copy that is refused, or fails, changes nothing", {.allocations = false}, [](Stage& stage) {
        const kit::FileLock lock(Stage::File("locked", "old"));
        stage.Call(&TARVO_CopyFile, Stage::File("a", "new"), Stage::Folder("locked"), FALSE);
        RefuseAll(stage, [&](auto source, auto target, BOOL failIfExists) {
            stage.Call(&TARVO_CopyFile, source, target, failIfExists);
        });
    });
    Case("a deferring copy goes at once where it can", {.allocations = false}, [](Stage& stage) {
        const kit::ReadOnlyHolds holds;
        stage.Call(&TARVO_CopyFileEx, Stage::File("a", "new"), DeferAround(ReadOnlyFile("b")), FALSE,
                   stage.Number("restart"));
        TellState(stage);
    });
    Case("a deferring copy is refused", {.allocations = false}, [](Stage& stage) {
        RefuseAll(stage, [&](auto source, auto target, BOOL failIfExists) {
            stage.Call(&TARVO_CopyFileEx, source, target, failIfExists, stage.Number("restart"));
        });
    });
    Case("a locked file is replaced at the restart", [](Stage& stage) {
        Subfolder("to");
        Stage::File("to\\b.1", "taken");
        const std::string target = Stage::File("to\\b.txt", "old");
        const kit::FileLock lock(target);
        stage.Call(&TARVO_CopyFileEx, Stage::File("new\\..\\a.txt", "new"), target, FALSE, stage.Number("restart"));
        TellState(stage);
    });
    Case("a copy that is in place takes the staged ones away", [](Stage& stage) {
        const std::string file = Stage::File("b.txt", "old");
        kit::PendingValue::Pairs pairs;
        for (const char* name : {"b.1", "b.998", "b.999", "b.01", "c.1"}) {
            Stage::File(name);
            pairs.emplace_back(R"(\??\)" + Stage::Folder(name), R"(!\??\)" + file);
        }
        kit::PendingValue::Write(pairs);
        SetFileAttributesA(Stage::Folder("B.1").c_str(), FILE_ATTRIBUTE_READONLY);
        stage.Call(&TARVO_CopyFile, Stage::File("a", "new"), file, FALSE);
        stage.Check(&TARVO_RenameAfterReboot, Stage::Folder("b.999"), Stage::Folder("b"));
        stage.Check(&TARVO_RenameAfterReboot, Stage::Folder("b.01"), file);
        stage.Check(&TARVO_RenameAfterReboot, Stage::File("b.2"), file);
        stage.Check(&TARVO_CopyFileEx, Stage::Folder("b.2"), file, FALSE, nullptr);
        TellState(stage);
    });
    Case("a source in the target's folder is moved itself", [](Stage& stage) {
        const kit::FileLock lock(Stage::File("b", "old"));
        stage.Call(&TARVO_CopyFileEx, Stage::File("a", "new"), "c:\\TARVO-record\\b", FALSE, nullptr);
        TellState(stage);
    });
}

TEST_F(FileRecords, Moving)
{
    Open("files/moving");
    Case("a move of a file onto itself never deletes it", {.failures = false, .allocations = false}, [](Stage& stage) {
        const std::string file = Stage::File("a", "content");
        stage.Check(&TARVO_MoveFileEx, file, file, FALSE, stage.Number("restart"));
        stage.Check(&TARVO_MoveFileEx, file, Stage::Folder("A"), FALSE, stage.Number("restart"));
        stage.TellFolder();
        CreateHardLinkA(Stage::Folder("link").c_str(), file.c_str(), nullptr);
        stage.Check(&TARVO_MoveFileEx, file, Stage::Folder("link"), FALSE, stage.Number("restart"));
        TellState(stage);
    });
    Case("a move goes over a read-only file and clears what was pending for it", [](Stage& stage) {
        stage.Call(&TARVO_MoveFileEx, Stage::File("a", "new"), DeferAround(ReadOnlyFile("b")), FALSE,
                   stage.Number("restart"));
        TellState(stage);
    });
    Case("a move is refused", {.allocations = false}, [](Stage& stage) {
        RefuseAll(stage, [&](auto source, auto target, BOOL failIfExists) {
            stage.Call(&TARVO_MoveFileEx, source, target, failIfExists, stage.Number("restart"));
        });
    });
    Case("a move onto a locked file is deferred", [](Stage& stage) {
        Subfolder("s");
        const std::string target = Stage::File("b", "old");
        const kit::FileLock lock(target);
        kit::ImportHook move("MoveFileA", &MoveFileA, ERROR_ALREADY_EXISTS, FALSE); // the code is each Windows' own
        stage.Call(&TARVO_MoveFileEx, Stage::File("s\\a", "new"), target, FALSE, stage.Number("restart"));
        TellState(stage);
    });
}

TEST_F(FileRecords, Deleting)
{
    Open("files/deleting");
    Case("a file goes, with what was pending for it as a source", [](Stage& stage) {
        stage.Call(&TARVO_DeleteFileEx, DeferAround(ReadOnlyFile("b")), stage.Number("restart"));
        TellState(stage);
    });
    Case("an empty folder goes, one with content at the restart", [](Stage& stage) {
        Subfolder("d");
        for (const std::string& path : {Subfolder("d\\empty"), (Stage::File("d\\f"), Stage::Folder("d"))})
            stage.Call(&TARVO_DeleteFileEx, path, stage.Number("restart"));
        TellState(stage);
    });
    Case("a locked file goes at the restart", {.allocations = false}, [](Stage& stage) {
        const std::string file = Stage::File("b");
        const kit::FileLock lock(file);
        stage.Call(&TARVO_DeleteFileEx, file, nullptr);
        stage.TellPending();
    });
    Case("nothing is deleted; a deletion is left to the restart, whether something is there or not",
         {.allocations = false}, [](Stage& stage) {
             stage.Call(&TARVO_DeleteFileEx, nullptr, stage.Number("restart"));
             stage.Call(&TARVO_DeleteFileEx, Stage::Folder("none"), stage.Number("restart"));
             stage.TellPending();
             stage.Call(&TARVO_DeleteAfterReboot, Stage::Folder("none"));
             stage.Call(&TARVO_DeleteAfterReboot, std::string());
             stage.Call(&TARVO_DeleteAfterReboot, nullptr);
             stage.TellPending();
         });
}

/** Calls what defers with a target that is there. */
void CallAll(Stage& stage, const std::string& target)
{
    const std::string source = Stage::File("a", "new");
    stage.Call(&TARVO_CopyFile, source, target, FALSE);
    stage.Call(&TARVO_CopyFileEx, source, target, FALSE, stage.Number("restart"));
    stage.Call(&TARVO_MoveFileEx, source, target, FALSE, stage.Number("restart"));
    stage.Call(&TARVO_DeleteFileEx, target, stage.Number("restart"));
    TellState(stage);
}

/** Calls what creates, copies or moves with a path that is refused, as source and as destination. */
void CheckPath(Stage& stage, const std::string& source, const std::string& destination, const std::string& path)
{
    stage.Check(&TARVO_CreateDirectory, path);
    for (const auto& [from, to] : {std::pair(source, path), std::pair(path, destination)}) {
        stage.Check(&TARVO_CopyFile, from, to, FALSE);
        stage.Check(&TARVO_CopyFileEx, from, to, FALSE, stage.Number("restart"));
        stage.Check(&TARVO_MoveFileEx, from, to, FALSE, stage.Number("restart"));
    }
}

TEST_F(FileRecords, Obstacles)
{
    constexpr Ways kOnce = {.failures = false, .allocations = false};
    Open("files/obstacles");
    Case("a target that may not be looked at exists, and is not deleted", kOnce, [](Stage& stage) {
        const std::string target = Stage::File("b", "old");
        const kit::FileLock lock(target);
        const Unreadable hidden(target);
        kit::ImportHook move("MoveFileA", &MoveFileA, ERROR_ACCESS_DENIED, FALSE);
        CallAll(stage, target);
    });
    Case("a target stays read-only", kOnce, [](Stage& stage) {
        const kit::ImportHook set("SetFileAttributesA", &SetFileAttributesA, ERROR_WRITE_PROTECT, FALSE);
        const kit::ImportHook copy("CopyFileA", &CopyFileA, ERROR_ACCESS_DENIED, FALSE);
        const kit::ImportHook move("MoveFileA", &MoveFileA, ERROR_ACCESS_DENIED, FALSE);
        const kit::ImportHook remove("DeleteFileA", &DeleteFileA, ERROR_ACCESS_DENIED, FALSE);
        CallAll(stage, ReadOnlyFile("b"));
        stage.Call(&TARVO_ResetFileReadOnlyAttribute, Stage::Folder("b"), 0);
    });
    Case("the pending list cannot be reached", kOnce, [](Stage& stage) {
        const std::string target = Stage::File("b", "old");
        const kit::FileLock lock(target);
        const kit::ImportHook open("RegOpenKeyExA", &RegOpenKeyExA, 0, ERROR_ACCESS_DENIED);
        kit::ImportHook move("MoveFileA", &MoveFileA, ERROR_ALREADY_EXISTS, FALSE);
        CallAll(stage, target);
    });
    Case("the last number is tried when all are taken", kOnce, [](Stage& stage) {
        Subfolder("s");
        const std::string target = Stage::File("b.exe", "old");
        const kit::FileLock lock(target);
        const kit::ImportHook look("GetFileAttributesA", &GetFileAttributesA, 0, FILE_ATTRIBUTE_ARCHIVE);
        stage.Check(&TARVO_CopyFileEx, Stage::File("s\\a", "new"), target, FALSE, nullptr);
        TellState(stage);
    });
    Case("long paths are refused whole", kOnce, [](Stage& stage) {
        const std::string file = Stage::File("a", "new");
        const std::string target = Stage::Folder("b");
        const std::string longPath = Stage::Folder(std::string(300, 'x'));
        stage.HideText(longPath, "<long>");
        for (const std::string& path : {longPath, std::string(259, 'y'), std::string(260, 'y')})
            stage.Check(&TARVO_DeleteFileEx, path, stage.Number("restart"));
        stage.Check(&TARVO_DeleteAfterReboot, longPath);
        stage.Check(&TARVO_ResetFileReadOnlyAttribute, longPath, 0);
        CheckPath(stage, file, target, longPath);
        TellState(stage);
    });
    Case("names that no file can have are refused, and no name", kOnce, [](Stage& stage) {
        const std::string file = Stage::File("a", "new");
        for (const char* name : {"?", "*", "<", ">", "\"", "|", "d|\\e"})
            CheckPath(stage, file, Stage::Folder("b"), Stage::Folder(name));
        stage.Check(&TARVO_CopyFile, R"(\\?\)" + file, R"(\\?\)" + Stage::Folder("b"), FALSE);
        stage.Check(&TARVO_CopyFile, file, "", FALSE);
        stage.Check(&TARVO_CopyFileEx, file, "", FALSE, stage.Number("restart"));
        stage.Check(&TARVO_MoveFileEx, file, "", FALSE, stage.Number("restart"));
        TellState(stage);
    });
}

} // namespace
