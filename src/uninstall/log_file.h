#pragma once

#include <windows.h>

#include "base/path.h"
#include "uninstall/log_text.h"

namespace tarvo {

/**
 * Keeps the name of a log for later calls: its first 259 characters, as they
 * are from the current folder, so that all who read and write it mean one file.
 */
void KeepLogName(const char* given, PathText& name);

/** What tells a file from another one that took its place, and from what it was. */
struct FileStamp {
    LONGLONG index = 0; // on its volume; 0 if it is not told
    ULONGLONG size = 0;
    FILETIME created = {};
    FILETIME written = {};
    bool operator==(const FileStamp& other) const;
};

/**
 * The file that is recorded into. What it holds is kept in memory from one
 * record to the next, and believed while its stamp is what the last one left;
 * nothing is held open in between.
 *
 * A process that is killed leaves the file as it was before or after a record.
 * A line at its end is appended, if it lies within one page: a larger write may
 * be torn. All else is written into a file beside it, which then takes its place.
 */
class LogFile {
public:
    /**
     * Records a line; one that stands there already is left alone. Makes the file if need be.
     * @param path  Full path, at most 259 characters.
     * @return 0, or the system's code; the file is then as it was.
     */
    DWORD Put(const PathText& path, const LogEntry& entry);

    /** Has the system write the file to the disk. @return 0, or the system's code */
    static DWORD Flush(const PathText& path);

    /** Forgets what the file holds. */
    void Forget();

private:
    DWORD OpenAndLoad(const PathText& path, UniqueFile& file);
    DWORD Load(HANDLE file);
    DWORD Append(HANDLE file, std::string_view bytes);
    DWORD Replace(const PathText& path);
    DWORD WriteAll(HANDLE file);
    void RememberStamp(HANDLE file);
    DWORD PutByPlatform(const PathText& path, const LogEntry& entry);

    LogText text_;
    FileStamp stamp_;      // of the file that text_ is
    bool loaded_ = false;  // text_ is what the file with stamp_ holds; false where the platform has to write
    bool present_ = false; // there is a file
};

} // namespace tarvo
