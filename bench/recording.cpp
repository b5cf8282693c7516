// Records in an uninstall log, against the platform's writer of such files.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kFew = 1000;
constexpr int kMany = 8000;

class Paths {
public:
    Paths()
    {
        for (int index = 0; index < kMany; ++index)
            paths_.push_back(
                Format("C:\\Program Files\\Harbour\\Lantern\\Component %02d\\module%04d.dll", index / 100, index));
    }

    void Record(const Library& library, int begin, int end) const
    {
        for (int index = begin; index < end; ++index)
            Require(library.AddFileToUninstallLog(At(index)) == 0, "TARVO_AddFileToUninstallLog");
    }

    void WriteByPlatform(const std::string& file, int count) const
    {
        for (int index = 0; index < count; ++index)
            Require(WritePrivateProfileStringA("Files", At(index), "1", file.c_str()), "WritePrivateProfileString");
    }

private:
    const char* At(int index) const { return paths_[static_cast<size_t>(index)].c_str(); }

    std::vector<std::string> paths_;
};

void RequireRecords(const std::string& file, int count)
{
    std::ifstream lines(file, std::ios::binary);
    const auto found = std::count(std::istreambuf_iterator<char>(lines), {}, '\n');
    Require(found == count + 1, "finding all records below their section");
}

/** Records from the empty log on; those before begin are not timed. */
Side RecordingFrom(const Library& library, const Paths& paths, const std::string& log, int begin, int end)
{
    const auto start = [&library, &paths, log, begin] {
        DeleteFileA(log.c_str());
        Require(library.StartUninstallLogging(log.c_str(), nullptr) == 0, "TARVO_StartUninstallLogging");
        paths.Record(library, 0, begin);
    };
    const auto stop = [&library, log, end] {
        library.StopUninstallLogging();
        RequireRecords(log, end);
    };
    return {[&library, &paths, begin, end] { paths.Record(library, begin, end); }, start, stop};
}

Side WritingByPlatform(const Paths& paths, const std::string& file, int count)
{
    return {[&paths, file, count] { paths.WriteByPlatform(file, count); }, [file] { DeleteFileA(file.c_str()); },
            [file, count] { RequireRecords(file, count); }};
}

} // namespace

void MeasureRecording(Report& report)
{
    const ScratchFolder folder;
    const Library library;
    const Paths paths;
    const std::string log = folder.Path("uninstall.log");
    const std::string plain = folder.Path("plain.log");
    report.Compare("1000 records in an uninstall log", "1000 x WritePrivateProfileStringA into one file", 0.3,
                   RecordingFrom(library, paths, log, 0, kFew), WritingByPlatform(paths, plain, kFew), 5);
    // The platform takes long: sixty times the row above.
    report.Compare("8000 records", "8000 x WritePrivateProfileStringA", 0.15,
                   RecordingFrom(library, paths, log, 0, kMany), WritingByPlatform(paths, plain, kMany), 1);
    report.Compare("the last 1000 of 8000 records", "the first 1000", 2.5,
                   RecordingFrom(library, paths, log, kMany - kFew, kMany),
                   RecordingFrom(library, paths, plain, 0, kFew));
}

} // namespace bench
