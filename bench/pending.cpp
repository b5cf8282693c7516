// The Session Manager's list of renames, against MoveFileEx and against plain reading and writing of the value.

#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr char kSessionManager[] = "SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr wchar_t kValueName[] = L"PendingFileRenameOperations";

/** The value, by plain registry calls; put back as it was when this goes away. */
class PendingValue {
public:
    PendingValue()
    {
        Require(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSessionManager, 0, KEY_ALL_ACCESS, &key_) == ERROR_SUCCESS,
                "opening the Session Manager's key (it takes an administrator)");
        found_ = Query(nullptr, 0) != 0;
        before_ = Read();
    }
    ~PendingValue()
    {
        if (found_)
            Write(before_);
        else
            Remove();
        RegCloseKey(key_);
    }
    PendingValue(const PendingValue&) = delete;
    PendingValue& operator=(const PendingValue&) = delete;

    void Remove() const { RegDeleteValueW(key_, kValueName); }

    std::wstring Read() const
    {
        std::wstring value(Query(nullptr, 0) / sizeof(wchar_t), L'\0');
        Query(value.data(), value.size() * sizeof(wchar_t));
        return value;
    }

    bool Write(const std::wstring& value) const
    {
        return RegSetValueExW(key_, kValueName, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(value.data()),
                              static_cast<DWORD>(value.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
    }

    /** Renames alone: no text but the closing one is empty. */
    int CountRenames() const
    {
        int texts = 0;
        for (const wchar_t character : Read())
            texts += character == L'\0';
        return (texts - 1) / 2;
    }

private:
    DWORD Query(wchar_t* data, size_t bytes) const
    {
        auto size = static_cast<DWORD>(bytes);
        RegQueryValueExW(key_, kValueName, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size);
        return size;
    }

    HKEY key_ = nullptr;
    bool found_ = false;
    std::wstring before_;
};

using Renames = std::vector<std::pair<std::string, std::string>>;

Renames MakeRenames(int count)
{
    Renames renames;
    for (int index = 0; index < count; ++index)
        renames.emplace_back(Format("C:\\Program Files\\Product\\Component\\module%04d.dll.1", index),
                             Format("C:\\Program Files\\Product\\Component\\module%04d.dll", index));
    return renames;
}

std::wstring MakeValue(int count)
{
    std::wstring value;
    for (int index = 0; index < count; ++index) {
        const std::wstring number = std::to_wstring(index);
        value += L"\\??\\C:\\Program Files\\Other\\Component\\part" + number + L".tmp" + L'\0';
        value += L"!\\??\\C:\\Program Files\\Other\\Component\\part" + number + L".dll" + L'\0';
    }
    return value + L'\0';
}

void Schedule(const Library& library, const Renames& renames)
{
    for (const auto& [source, target] : renames)
        Require(library.RenameAfterReboot(source.c_str(), target.c_str()) == 0, "TARVO_RenameAfterReboot");
}

/** What a program finds beside it: a log of its exports' lines, in a folder. */
class LogConfiguration {
public:
    explicit LogConfiguration(const std::string& log)
    {
        char program[MAX_PATH] = {};
        GetModuleFileNameA(nullptr, program, sizeof program - 1);
        path_ = program;
        path_ = path_.substr(0, path_.rfind('\\')) + "\\TARVO.cfg";
        std::ofstream(path_) << "tl=1\ntf=" << log << ",w\n";
    }
    ~LogConfiguration() { DeleteFileA(path_.c_str()); }
    LogConfiguration(const LogConfiguration&) = delete;
    LogConfiguration& operator=(const LogConfiguration&) = delete;

private:
    std::string path_;
};

/** The same 1000 renames, from nothing, counted afterwards. */
Side SideOf(const PendingValue& value, const std::function<void(const Renames&)>& work)
{
    const auto empty = [&] { value.Remove(); };
    const auto check = [&] { Require(value.CountRenames() == 1000, "finding 1000 renames in the value"); };
    return {[work, renames = MakeRenames(1000)] { work(renames); }, empty, check};
}

void CompareScheduling(Report& report, const PendingValue& value)
{
    const ScratchFolder folder; // outlives the library, which holds the log open until it is unloaded
    const LogConfiguration configuration(folder.Path("setup.log"));
    const Library library;
    const auto moveAll = [](const Renames& renames) {
        for (const auto& [source, target] : renames)
            Require(
                MoveFileExA(source.c_str(), target.c_str(), MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_REPLACE_EXISTING),
                "MoveFileEx");
    };
    const auto schedule = [&](const Renames& renames) { Schedule(library, renames); };
    const auto scheduleThenWrite = [&](const Renames& renames) {
        Schedule(library, renames);
        Require(library.UpdatePFOsInfo() == 0, "TARVO_UpdatePFOsInfo");
    };
    const auto compare = [&](const char* work, double atMost, const auto& ours) {
        report.Compare(work, "1000 x MoveFileExA delay-until-reboot", atMost, SideOf(value, ours),
                       SideOf(value, moveAll));
    };
    compare("1000 x TARVO_RenameAfterReboot, immediate flush", 1.2, schedule);
    library.SetPFOsImmediateFlush(0);
    compare("the same, flush off, one TARVO_UpdatePFOsInfo", 0.05, scheduleThenWrite);
    library.SetPFOsImmediateFlush(1);
    library.StartDebugLogging2();
    compare("the same, immediate flush, the exports' lines in a log", 1.5, schedule);
    Require(GetFileAttributesA(folder.Path("setup.log").c_str()) != INVALID_FILE_ATTRIBUTES, "finding the log");
}

void CompareMerging(Report& report, const Library& library, const PendingValue& value)
{
    const Renames own = MakeRenames(5000);
    const std::wstring others = MakeValue(5000);
    const auto addOthers = [&] { Require(value.Write(others), "writing the value"); };
    const auto prepareMerge = [&] {
        value.Remove();
        Schedule(library, own);
        addOthers();
    };
    const auto merge = [&] { Require(library.UpdatePFOsInfo() == 0, "TARVO_UpdatePFOsInfo"); };
    const auto check = [&] { Require(value.CountRenames() == 10000, "finding 10000 renames in the value"); };
    const auto readAndWrite = [&] { Require(value.Write(value.Read()), "writing the value"); };
    library.SetPFOsImmediateFlush(0);
    report.Compare("merging 5000 own entries into a value of 5000 others", "reading and writing that value once", 4.5,
                   {merge, prepareMerge, check}, {readAndWrite, addOthers});
}

} // namespace

void MeasurePending(Report& report)
{
    const PendingValue value;
    CompareScheduling(report, value);
    const Library library;
    CompareMerging(report, library, value);
}

} // namespace bench
