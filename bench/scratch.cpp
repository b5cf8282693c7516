#include "scratch.h"

#include "report.h"

namespace bench {
namespace {

const std::string kKey = "Software\\Tarvo benchmark";

void RemoveTree(const std::string& folder)
{
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::string name = entry.cFileName;
        const std::string path = folder + "\\" + name;
        if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            DeleteFileA(path.c_str());
        else if (name != "." && name != "..")
            RemoveTree(path);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    RemoveDirectoryA(folder.c_str());
}

} // namespace

ScratchFolder::ScratchFolder()
{
    char temporary[MAX_PATH];
    const DWORD length = GetTempPathA(sizeof temporary, temporary);
    Require(length != 0 && length < sizeof temporary, "finding the folder for temporary files");
    path_ = std::string(temporary, length) + "tarvo benchmark";
    RemoveTree(path_); // what a run that was killed has left
    Require(CreateDirectoryA(path_.c_str(), nullptr), "creating a folder");
}

ScratchFolder::~ScratchFolder()
{
    RemoveTree(path_);
}

ScratchKey::ScratchKey()
{
    RegDeleteTreeA(HKEY_CURRENT_USER, kKey.c_str()); // what a run that was killed has left
}

ScratchKey::~ScratchKey()
{
    RegDeleteTreeA(HKEY_CURRENT_USER, kKey.c_str());
}

std::string ScratchKey::Subkey(const std::string& name) const
{
    const std::string path = kKey + "\\" + name;
    HKEY key = nullptr;
    Require(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) ==
                ERROR_SUCCESS,
            "creating a key");
    RegCloseKey(key);
    return path;
}

} // namespace bench
