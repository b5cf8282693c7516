#pragma once

#include <string>

#include <windows.h>

namespace bench {

/** A folder of the benchmark's own, empty at first and gone afterwards. */
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const std::string& name) const { return path_ + "\\" + name; }

private:
    std::string path_;
};

/** A key of the current user's, empty at first and gone afterwards. */
class ScratchKey {
public:
    ScratchKey();
    ~ScratchKey();
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    /** @return the path below HKEY_CURRENT_USER of a subkey, which is created. */
    std::string Subkey(const std::string& name) const;
};

} // namespace bench
