// ProcessAllFilesAndDirs. A path can have thousands of levels, so the levels lie on the heap, not on the stack.

#include <cstring>
#include <utility>

#include "base/growing_bytes.h"
#include "base/path.h"
#include "files/file_identity.h"
#include "files/path_utils.h"
#include "frame/trace.h"
#include "security/tree_walkers.h"

namespace tarvo {
namespace {

/** The path of the walk: grows by a name, is cut back to a directory. */
class WalkPath {
public:
    [[nodiscard]] bool Set(const char* path)
    {
        length_ = strlen(path);
        room_ = length_ + MAX_PATH;
        return text_.Copy(path, MAX_PATH - 1);
    }

    /** @return false without memory; the path then stays. */
    [[nodiscard]] bool Append(const char* name)
    {
        const size_t needed = length_ + strlen(name) + sizeof "\\";
        if (needed > room_ && !Grow(2 * needed))
            return false;
        if (!JoinPath(text_.Get(), room_, {text_.Get(), length_}, name))
            return false;
        length_ += strlen(text_.Get() + length_);
        return true;
    }

    void Cut(size_t length)
    {
        length_ = length;
        text_[length] = '\0';
    }

    const char* Get() const { return text_.Get(); }
    size_t Length() const { return length_; }

private:
    bool Grow(size_t room)
    {
        HeapText grown;
        if (!grown.Copy({text_.Get(), length_}, room - length_ - 1))
            return false;
        text_ = std::move(grown);
        room_ = room;
        return true;
    }

    HeapText text_;
    size_t length_ = 0;
    size_t room_ = 0; // bytes
};

/** One object that the walk is in. */
struct Level {
    TraceStream stream{"ProcessAllFilesAndDirs"};
    UniqueFileSearch search; // of a directory that could be opened
    bool firstWaiting = false;
    size_t pathLength = 0;
    UniqueObject<Level> parent;
};

class FileWalk {
public:
    FileWalk(FileCallback callback, void* context, bool postOrder)
        : callback_(callback), context_(context), postOrder_(postOrder)
    {
    }

    DWORD Run(const char* path)
    {
        if (!path_.Set(path))
            return ERROR_NOT_ENOUGH_MEMORY;
        DWORD code = Enter();
        while (deepest_) {
            if (FindNext())
                Enter();
            else
                code = Leave(); // of the starting path last
        }
        return code;
    }

private:
    DWORD CallBack() { return callback_(path_.Get(), context_); }

    DWORD Enter()
    {
        UniqueObject<Level> level = MakeHeapObject<Level>();
        if (!level)
            return ERROR_NOT_ENOUGH_MEMORY;
        level.Get()->stream.Add(path_.Get()).Add(reinterpret_cast<const void*>(callback_)).Add(context_);
        level.Get()->stream.Add(static_cast<long>(postOrder_)).Open();
        if (!IsPathExist(path_.Get(), 0))
            return ERROR_FILE_NOT_FOUND;
        if (!postOrder_) {
            if (const DWORD code = CallBack())
                return code;
        }
        if (IsPathDirectory(path_.Get()) && ShallEnter())
            OpenSearch(*level.Get());
        level.Get()->pathLength = path_.Length();
        level.Get()->parent = std::move(deepest_);
        deepest_ = std::move(level);
        return ERROR_SUCCESS;
    }

    DWORD Leave()
    {
        path_.Cut(deepest_.Get()->pathLength);
        deepest_.Get()->search.Reset(); // what is open cannot be removed
        const DWORD code = postOrder_ ? CallBack() : ERROR_SUCCESS;
        deepest_ = UniqueObject<Level>(deepest_.Get()->parent.Release());
        return code;
    }

    void OpenSearch(Level& level)
    {
        const size_t length = path_.Length();
        if (!path_.Append("*.*"))
            return;
        level.search.Reset(FindFirstFileA(path_.Get(), &entry_));
        level.firstWaiting = static_cast<bool>(level.search);
        path_.Cut(length);
    }

    /** Puts the next entry of the deepest directory behind its path. @return false behind the last */
    bool FindNext()
    {
        Level& level = *deepest_.Get();
        path_.Cut(level.pathLength);
        while (ReadEntry(level)) {
            const bool isDots = strcmp(entry_.cFileName, ".") == 0 || strcmp(entry_.cFileName, "..") == 0;
            if (!isDots && path_.Append(entry_.cFileName))
                return true;
        }
        return false;
    }

    bool ReadEntry(Level& level)
    {
        if (!level.search)
            return false;
        if (std::exchange(level.firstWaiting, false))
            return true;
        return FindNextFileA(level.search.Get(), &entry_);
    }

    /** Each target is entered through one link alone: links among folders lead along countless paths. */
    bool ShallEnter()
    {
        FileIdentity target;
        if (!(entry_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) || !Identify(path_.Get(), target))
            return true;
        // Without memory better not entered than never left.
        return !WasEntered(target) && !LeadsBack(target) &&
               entered_.Append({reinterpret_cast<const char*>(&target), sizeof target});
    }

    bool WasEntered(const FileIdentity& target) const
    {
        const auto* const entered = reinterpret_cast<const FileIdentity*>(entered_.View().data());
        for (size_t index = 0; index < entered_.Size() / sizeof target; ++index) {
            if (entered[index] == target)
                return true;
        }
        return false;
    }

    /** Tells whether a link leads to one of the directories that the walk is in. */
    bool LeadsBack(const FileIdentity& target) const
    {
        HeapText path;
        if (!path.Copy(path_.Get()))
            return true;
        for (const Level* level = deepest_.Get(); level; level = level->parent.Get()) {
            path[level->pathLength] = '\0';
            FileIdentity above;
            if (Identify(path.Get(), above) && above == target)
                return true;
        }
        return false;
    }

    FileCallback callback_;
    void* context_;
    bool postOrder_;
    WalkPath path_;
    UniqueObject<Level> deepest_;
    GrowingBytes entered_;        // identities of links' targets
    WIN32_FIND_DATAA entry_ = {}; // found last; no link yet
};

} // namespace

DWORD ProcessAllFilesAndDirs(const char* path, FileCallback callback, void* context, bool postOrder)
{
    return FileWalk(callback, context, postOrder).Run(path);
}

} // namespace tarvo
