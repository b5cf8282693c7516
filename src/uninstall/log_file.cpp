#include "uninstall/log_file.h"

#include <winternl.h>

#include "base/text.h"

namespace tarvo {
namespace {

constexpr ULONGLONG kMostBytes = 16 * 1024 * 1024;
constexpr ULONGLONG kPage = 4096;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr char kNewSuffix[] = ".tarvo-new"; // of the file beside; one that a killed process left is written over

/** @return 0, or the system's code */
DWORD CodeOf(BOOL succeeded)
{
    return succeeded ? ERROR_SUCCESS : GetLastError();
}

/**
 * @return the file's index on its volume, 0 if it is not told. GetFileInformationByHandle tells it as well, but asks
 * for the volume too, which can take longer than all the rest of a record.
 */
LONGLONG IndexOf(HANDLE file)
{
    FILE_INTERNAL_INFORMATION internal = {};
    IO_STATUS_BLOCK status = {};
    NtQueryInformationFile(file, &status, &internal, sizeof internal, FileInternalInformation);
    return internal.IndexNumber.QuadPart;
}

DWORD ReadStamp(HANDLE file, FileStamp& stamp)
{
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file, &size) || !GetFileTime(file, &stamp.created, nullptr, &stamp.written))
        return GetLastError();
    stamp.size = static_cast<ULONGLONG>(size.QuadPart);
    stamp.index = IndexOf(file);
    return ERROR_SUCCESS;
}

/** Sets the time itself, since the system's own may come after the file is closed. */
DWORD StampNow(HANDLE file, FileStamp& stamp)
{
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    SetFileTime(file, nullptr, nullptr, &now); // where it cannot be set, the file is read again
    return ReadStamp(file, stamp);
}

DWORD WriteBytes(HANDLE file, std::string_view bytes)
{
    DWORD written = 0;
    if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        return GetLastError();
    return written == bytes.size() ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

DWORD ReadBytes(HANDLE file, char* bytes, DWORD size)
{
    DWORD read = 0;
    if (!ReadFile(file, bytes, size, &read, nullptr))
        return GetLastError();
    return read == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

/** Wide texts, and those that name UTF-8 by their first bytes, are for the platform's writer. */
bool IsPlainAnsi(std::string_view bytes)
{
    return !bytes.starts_with("\xEF\xBB\xBF") && bytes.find('\0') == bytes.npos && !bytes.starts_with("\xFF\xFE") &&
           !bytes.starts_with("\xFE\xFF");
}

/** A new file with the attributes of another one, and its access list, which the folder would not give it. */
UniqueFile CreateLike(const char* path, const char* model)
{
    constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    const DWORD attributes = GetFileAttributesA(model);
    HeapArray<BYTE> descriptor;
    SECURITY_ATTRIBUTES security = {sizeof security, nullptr, FALSE};
    DWORD size = 0;
    GetFileSecurityA(model, DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    if (size && descriptor.Allocate(size) &&
        GetFileSecurityA(model, DACL_SECURITY_INFORMATION, descriptor.Get(), size, &size))
        security.lpSecurityDescriptor = descriptor.Get();
    DeleteFileA(path);
    return UniqueFile(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, &security, CREATE_NEW,
                                  attributes == INVALID_FILE_ATTRIBUTES ? FILE_ATTRIBUTE_NORMAL : attributes & kKept,
                                  nullptr));
}

/** Gives the file beside the log its place; one that could not be written, or does not come there, goes again. */
DWORD MoveIfWhole(DWORD code, const char* beside, const char* path)
{
    if (code == ERROR_SUCCESS)
        code = CodeOf(MoveFileExA(beside, path, MOVEFILE_REPLACE_EXISTING));
    if (code != ERROR_SUCCESS)
        DeleteFileA(beside);
    return code;
}

/** @return false if no name fits */
[[nodiscard]] bool NameBeside(const PathText& path, PathText& beside)
{
    return beside.Format("%s%s", path.Get(), kNewSuffix) ||
           JoinPath(beside, FolderPart(SplitPath(path.Get())), kNewSuffix);
}

} // namespace

void KeepLogName(const char* given, PathText& name)
{
    PathText cut;
    cut.SetCut(given);
    if (!MakeFullPath(cut.Get(), name))
        name = cut;
}

bool FileStamp::operator==(const FileStamp& other) const
{
    return size == other.size && index == other.index && CompareFileTime(&created, &other.created) == 0 &&
           CompareFileTime(&written, &other.written) == 0;
}

void LogFile::Forget()
{
    text_.Clear();
    loaded_ = present_ = false;
}

DWORD LogFile::Put(const PathText& path, const LogEntry& entry)
{
    UniqueFile file;
    if (const DWORD code = OpenAndLoad(path, file))
        return code;
    const LogEdit edit = loaded_ ? text_.Put(entry) : LogEdit::kNoMemory;
    if (edit == LogEdit::kNothing)
        return ERROR_SUCCESS;
    if (edit == LogEdit::kNoMemory) {
        file.Reset();
        Forget();
        return PutByPlatform(path, entry);
    }
    const std::string_view bytes = edit == LogEdit::kAppended && present_ ? text_.Appended() : std::string_view();
    DWORD code = ERROR_SUCCESS;
    if (!bytes.empty() && stamp_.size % kPage + bytes.size() <= kPage) {
        code = Append(file.Get(), bytes);
    } else {
        file.Reset();
        code = Replace(path);
    }
    if (code != ERROR_SUCCESS)
        Forget();
    return code;
}

/** Afterwards loaded_ tells whether the text is in memory; without memory, or for other texts, it is not. */
DWORD LogFile::OpenAndLoad(const PathText& path, UniqueFile& file)
{
    file.Reset(CreateFileA(path.Get(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const DWORD code = GetLastError();
        Forget();
        loaded_ = code == ERROR_FILE_NOT_FOUND;
        return loaded_ ? ERROR_SUCCESS : code;
    }
    FileStamp stamp;
    if (const DWORD code = ReadStamp(file.Get(), stamp))
        return code;
    if (loaded_ && present_ && stamp == stamp_)
        return ERROR_SUCCESS;
    Forget();
    present_ = true;
    stamp_ = stamp;
    return Load(file.Get());
}

DWORD LogFile::Load(HANDLE file)
{
    if (stamp_.size > kMostBytes)
        return ERROR_SUCCESS;
    const DWORD size = static_cast<DWORD>(stamp_.size);
    HeapArray<char> bytes;
    if (!bytes.Allocate(size + 1))
        return ERROR_SUCCESS;
    if (const DWORD code = ReadBytes(file, bytes.Get(), size))
        return code;
    loaded_ = IsPlainAnsi({bytes.Get(), size}) && text_.Parse({bytes.Get(), size});
    return ERROR_SUCCESS;
}

DWORD LogFile::Append(HANDLE file, std::string_view bytes)
{
    LONG high = static_cast<LONG>(stamp_.size >> 32);
    SetFilePointer(file, static_cast<LONG>(stamp_.size), &high, FILE_BEGIN);
    if (const DWORD code = WriteBytes(file, bytes))
        return code;
    RememberStamp(file);
    return ERROR_SUCCESS;
}

DWORD LogFile::Replace(const PathText& path)
{
    PathText beside;
    if (!NameBeside(path, beside))
        return ERROR_FILENAME_EXCED_RANGE;
    UniqueFile file = CreateLike(beside.Get(), path.Get());
    if (!file)
        return GetLastError();
    const DWORD code = WriteAll(file.Get());
    file.Reset();
    present_ = true;
    return MoveIfWhole(code, beside.Get(), path.Get());
}

DWORD LogFile::WriteAll(HANDLE file)
{
    for (const LogSection* section = text_.First(); section; section = section->next) {
        if (const DWORD code = WriteBytes(file, section->Text()))
            return code;
    }
    RememberStamp(file);
    return ERROR_SUCCESS;
}

/** What was written is written; a file that tells nothing of itself is read again. */
void LogFile::RememberStamp(HANDLE file)
{
    if (StampNow(file, stamp_) != ERROR_SUCCESS)
        loaded_ = false;
}

/** The platform's writer empties a file before it fills it: it gets a copy. */
DWORD LogFile::PutByPlatform(const PathText& path, const LogEntry& entry)
{
    PathText beside;
    HeapText key;
    HeapText value;
    if (!NameBeside(path, beside))
        return ERROR_FILENAME_EXCED_RANGE;
    if (!key.Copy(entry.key) || !value.Copy(entry.value))
        return ERROR_NOT_ENOUGH_MEMORY;
    if (!CopyFileA(path.Get(), beside.Get(), FALSE) && GetLastError() != ERROR_FILE_NOT_FOUND)
        return GetLastError();
    const DWORD code = CodeOf(WritePrivateProfileStringA(entry.section, key.Get(), value.Get(), beside.Get()));
    return MoveIfWhole(code, beside.Get(), path.Get());
}

DWORD LogFile::Flush(const PathText& path)
{
    const UniqueFile file(
        CreateFileA(path.Get(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file && GetLastError() == ERROR_FILE_NOT_FOUND)
        return ERROR_SUCCESS; // nothing has been recorded
    return CodeOf(file && FlushFileBuffers(file.Get()));
}

} // namespace tarvo
