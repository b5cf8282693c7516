// The Session Manager's list of renames, against MoveFileEx and against plain reading and writing of the value.

#include <string>
#include <utility>
#include <vector>

#include "benchmarks.h"
#include "library.h"

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

void CompareScheduling(Report& report, const Library& library, const PendingValue& value)
{
    const Renames renames = MakeRenames(1000);
    const auto empty = [&] { value.Remove(); };
    const auto check = [&] { Require(value.CountRenames() == 1000, "finding 1000 renames in the value"); };
    const auto scheduleAll = [&] { Schedule(library, renames); };
    const auto scheduleThenWrite = [&] {
        Schedule(library, renames);
        Require(library.UpdatePFOsInfo() == 0, "TARVO_UpdatePFOsInfo");
    };
    const auto moveAll = [&] {
        for (const auto& [source, target] : renames)
            Require(
                MoveFileExA(source.c_str(), target.c_str(), MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_REPLACE_EXISTING),
                "MoveFileEx");
    };
    constexpr char kAgainst[] = "1000 x MoveFileExA delay-until-reboot";
    library.SetPFOsImmediateFlush(1);
    report.Compare("1000 x TARVO_RenameAfterReboot, immediate flush", kAgainst, 1.5, {scheduleAll, empty, check},
                   {moveAll, empty, check});
    library.SetPFOsImmediateFlush(0);
    report.Compare("the same, flush off, one TARVO_UpdatePFOsInfo", kAgainst, 0.05, {scheduleThenWrite, empty, check},
                   {moveAll, empty, check});
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
    report.Compare("merging 5000 own entries into a value of 5000 others", "reading and writing that value once", 5,
                   {merge, prepareMerge, check}, {readAndWrite, addOthers});
}

} // namespace

void MeasurePending(Report& report)
{
    const Library library;
    const PendingValue value;
    CompareScheduling(report, library, value);
    CompareMerging(report, library, value);
}

} // namespace bench
