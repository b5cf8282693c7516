// Copying, moving and deleting files, against their records.

#include "kit/kit.h"

namespace {

using FileRecords = kit::BehaviorTest;
using kit::Stage;

TEST_F(FileRecords, Copying)
{
    Open("files/copying");
    Case("a locked file is replaced at the restart", [](Stage& stage) {
        const std::string source = Stage::File("new\\..\\a.txt", "new");
        CreateDirectoryA(Stage::Folder("to").c_str(), nullptr);
        const std::string target = Stage::File("to\\b.txt", "old");
        const kit::FileLock lock(target);
        stage.Call(&TARVO_CopyFileEx, source, target, FALSE, stage.Number("restart"));
        stage.TellPending();
    });
}

} // namespace
