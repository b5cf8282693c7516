#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace kit {

/** @return the folder of the running program, without a closing backslash. */
std::string ProgramFolder();

bool FileExists(const std::string& path); // a folder counts too
void WriteFile(const std::string& path, std::string_view content);
/** Throws if the file cannot be read; reads what others have open. */
std::string ReadFile(const std::string& path);
/** Deletes a folder and all in it, read-only or not. @return whether it is gone. */
bool RemoveTree(const std::string& folder);

/** Holds a file open without any sharing, so that it can be neither replaced nor deleted. */
class FileLock {
public:
    explicit FileLock(const std::string& path, DWORD sharing = 0);
    ~FileLock() { Release(); }
    FileLock(FileLock&&) = delete;
    void Release();

private:
    HANDLE file_;
};

/** A folder of its own below the temporary folder, gone with this. */
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder() { Remove(); }
    ScratchFolder(ScratchFolder&&) = delete;

    /** @return the folder, without a closing backslash. */
    const std::string& Path() const { return path_; }
    std::string Path(const std::string& name) const { return path_ + "\\" + name; }

    /** Makes a file in the folder. @return its path. */
    std::string Make(const std::string& name, std::string_view content = "content") const;

    bool Remove() const { return RemoveTree(path_); }

private:
    std::string path_;
};

/** A value as it lies in the registry. */
struct RegistryValue {
    DWORD type;
    std::string bytes;
    friend bool operator==(const RegistryValue&, const RegistryValue&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const RegistryValue& value);

    static RegistryValue Text(std::string_view text, DWORD type = REG_SZ);
};

/** The view that a 32-bit program has by default, or the 64-bit one. */
enum class View : REGSAM { kOwn = 0, k64 = KEY_WOW64_64KEY };

/** @param path  Below HKEY_LOCAL_MACHINE. */
bool KeyExists(const std::string& path, View view = View::kOwn);
std::optional<RegistryValue> ReadValue(const std::string& path, const std::string& name, View view = View::kOwn);
/** Makes the key if need be. */
void WriteValue(const std::string& path, const std::string& name, const RegistryValue& value, View view = View::kOwn);
void MakeKey(const std::string& path, View view = View::kOwn);
void RemoveKeyTree(const std::string& path, View view);

/** A key of its own below HKEY_LOCAL_MACHINE\Software\TarvoTests, in both views, gone with this. */
class ScratchKey {
public:
    ScratchKey();
    ~ScratchKey();
    ScratchKey(ScratchKey&&) = delete;

    /** @return the key below HKEY_LOCAL_MACHINE, or one below it. */
    const std::string& Path() const { return path_; }
    std::string Path(const std::string& sub) const { return path_ + "\\" + sub; }

    /** @return the same with the main key's name in front, as locators have it. */
    std::string Locator() const { return "HKEY_LOCAL_MACHINE\\" + path_; }
    std::string Locator(const std::string& sub) const { return Locator() + "\\" + sub; }

private:
    std::string path_;
};

/** @return the system's text for a code in one line or, with width 0, its own; "Unspecified error" without one. */
std::string SystemText(DWORD code, DWORD width = FORMAT_MESSAGE_MAX_WIDTH_MASK);

} // namespace kit
