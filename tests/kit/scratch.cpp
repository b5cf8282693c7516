#include "kit/scratch.h"

#include <ostream>
#include <stdexcept>

namespace kit {
namespace {

constexpr char kParentKey[] = "Software\\TarvoTests";

std::string UniqueName()
{
    static int count = 0;
    // A run that was killed leaves its names behind, and process numbers come again.
    return "t" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(GetTickCount()) + "-" +
           std::to_string(++count);
}

std::runtime_error Failure(const std::string& what)
{
    return std::runtime_error(what + " failed with " + std::to_string(GetLastError()));
}

/** A key below HKEY_LOCAL_MACHINE, made if told so and need be; NULL if it cannot be opened. */
class Key {
public:
    Key(const std::string& path, View view, REGSAM access, bool make = false)
    {
        access |= static_cast<REGSAM>(view);
        if (make)
            RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, access, nullptr, &key_, nullptr);
        else
            RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &key_);
    }
    ~Key() { RegCloseKey(key_); }
    Key(Key&&) = delete;
    HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

} // namespace

std::string ProgramFolder()
{
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, sizeof path - 1);
    const std::string text = path;
    return text.substr(0, text.rfind('\\'));
}

bool FileExists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void WriteFile(const std::string& path, std::string_view content)
{
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw Failure("making " + path);
    DWORD written = 0;
    ::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    CloseHandle(file);
}

std::string ReadFile(const std::string& path)
{
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw Failure("opening " + path);
    std::string content(GetFileSize(file, nullptr), '\0');
    DWORD got = 0;
    ::ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &got, nullptr);
    CloseHandle(file);
    content.resize(got);
    return content;
}

bool RemoveTree(const std::string& folder)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return !FileExists(folder);
    do {
        const std::string name = found.cFileName;
        const std::string path = folder + "\\" + name;
        if (name == "." || name == "..")
            continue;
        SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            RemoveTree(path);
        else
            DeleteFileA(path.c_str());
    } while (FindNextFileA(search, &found));
    FindClose(search);
    RemoveDirectoryA(folder.c_str());
    return !FileExists(folder);
}

FileLock::FileLock(const std::string& path, DWORD sharing)
    : file_(CreateFileA(path.c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr))
{
    if (file_ == INVALID_HANDLE_VALUE)
        throw Failure("locking " + path);
}

void FileLock::Release()
{
    if (file_ != INVALID_HANDLE_VALUE)
        CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
}

ScratchFolder::ScratchFolder()
{
    char parent[MAX_PATH] = {};
    GetTempPathA(sizeof parent, parent);
    path_ = std::string(parent) + "tarvo-" + UniqueName();
    if (!CreateDirectoryA(path_.c_str(), nullptr))
        throw Failure("making " + path_);
}

std::string ScratchFolder::Make(const std::string& name, std::string_view content) const
{
    WriteFile(Path(name), content);
    return Path(name);
}

std::ostream& operator<<(std::ostream& stream, const RegistryValue& value)
{
    return stream << "type " << value.type << ", " << value.bytes.size() << " bytes \"" << value.bytes << '"';
}

RegistryValue RegistryValue::Text(std::string_view text, DWORD type)
{
    return {type, std::string(text) + '\0'};
}

bool KeyExists(const std::string& path, View view)
{
    return Key(path, view, KEY_READ).Get();
}

std::optional<RegistryValue> ReadValue(const std::string& path, const std::string& name, View view)
{
    const Key key(path, view, KEY_READ);
    DWORD size = 0;
    RegistryValue value = {};
    if (RegQueryValueExA(key.Get(), name.c_str(), nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS)
        return std::nullopt;
    value.bytes.resize(size);
    RegQueryValueExA(key.Get(), name.c_str(), nullptr, &value.type, reinterpret_cast<BYTE*>(value.bytes.data()), &size);
    return value;
}

void WriteValue(const std::string& path, const std::string& name, const RegistryValue& value, View view)
{
    const LSTATUS code =
        RegSetValueExA(Key(path, view, KEY_WRITE, true).Get(), name.c_str(), 0, value.type,
                       reinterpret_cast<const BYTE*>(value.bytes.data()), static_cast<DWORD>(value.bytes.size()));
    if (code != ERROR_SUCCESS)
        throw std::runtime_error("writing " + path + " failed with " + std::to_string(code));
}

void MakeKey(const std::string& path, View view)
{
    const Key key(path, view, KEY_WRITE, true);
}

void RemoveKeyTree(const std::string& path, View view)
{
    RegDeleteTreeA(Key(path, view, KEY_ALL_ACCESS).Get(), nullptr);
    RegDeleteKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), static_cast<REGSAM>(view), 0);
}

ScratchKey::ScratchKey() : path_(std::string(kParentKey) + "\\" + UniqueName())
{
    MakeKey(path_, View::kOwn);
    MakeKey(path_, View::k64);
}

ScratchKey::~ScratchKey()
{
    for (const View view : {View::kOwn, View::k64}) {
        RemoveKeyTree(path_, view);
        RegDeleteKeyExA(HKEY_LOCAL_MACHINE, kParentKey, static_cast<REGSAM>(view), 0); // only if it is empty
    }
}

std::string SystemText(DWORD code, DWORD width)
{
    char* text = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | width,
                   nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    const std::string copy = text ? text : "Unspecified error";
    LocalFree(text);
    return copy;
}

} // namespace kit
