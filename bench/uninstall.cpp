// Replaying an uninstall log, against the same deletions without a log.

#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kContainers = 20; // folders, or keys
constexpr int kItemsEach = 100; // files in a folder, or values in a key
constexpr int kItems = kContainers * kItemsEach;

/** A file with its folder, or a value with its key. */
struct Item {
    std::string container;
    std::string name;
};

bool Exists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class Files {
public:
    explicit Files(const ScratchFolder& folder)
    {
        for (int index = 0; index < kItems; ++index) {
            const std::string container = folder.Path(Format("Component %02d", index / kItemsEach));
            items_.push_back({container, Format("%s\\module%04d.dll", container.c_str(), index)});
        }
    }

    void Record(const Library& library) const
    {
        for (const Item& file : items_)
            Require(library.AddFileToUninstallLog(file.name.c_str()) == 0, "TARVO_AddFileToUninstallLog");
    }

    void Create() const
    {
        for (const Item& file : items_) {
            CreateDirectoryA(file.container.c_str(), nullptr);
            const HANDLE handle = CreateFileA(file.name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                              FILE_ATTRIBUTE_NORMAL, nullptr);
            Require(handle != INVALID_HANDLE_VALUE, "creating a file");
            CloseHandle(handle);
        }
    }

    /** The uninstall too tries after each file whether its folder has become empty. */
    void Delete() const
    {
        for (const Item& file : items_) {
            Require(DeleteFileA(file.name.c_str()), "DeleteFile");
            RemoveDirectoryA(file.container.c_str());
        }
    }

    void CheckGone() const
    {
        for (const Item& file : items_)
            Require(!Exists(file.name) && !Exists(file.container), "finding the files and folders gone");
    }

private:
    std::vector<Item> items_;
};

class Values {
public:
    explicit Values(const ScratchKey& key)
    {
        for (int index = 0; index < kItems; ++index)
            items_.push_back({key.Subkey(Format("Component %02d", index / kItemsEach)), Format("Value %04d", index)});
    }

    void Record(const Library& library) const
    {
        constexpr char kSection[] = "Registry entries";
        for (const Item& value : items_) {
            const std::string entry = "HKEY_CURRENT_USER\\" + value.container + "\\\\" + value.name;
            Require(library.AddRollbackEntry(kSection, kSection, entry.c_str(), FALSE) == 0, "TARVO_AddRollbackEntry");
        }
    }

    void Create() const
    {
        for (const Item& value : items_) {
            WithKey(value, [&](HKEY key) {
                constexpr BYTE kData[] = "data";
                return RegSetValueExA(key, value.name.c_str(), 0, REG_SZ, kData, sizeof kData);
            });
        }
    }

    void Delete() const
    {
        for (const Item& value : items_)
            WithKey(value, [&](HKEY key) { return RegDeleteValueA(key, value.name.c_str()); });
    }

    void CheckGone() const
    {
        for (const Item& value : items_) {
            WithKey(value, [&](HKEY key) {
                DWORD values = 1;
                RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                                 nullptr, nullptr);
                Require(values == 0, "finding the values gone");
                return ERROR_SUCCESS;
            });
        }
    }

private:
    template <class Work> static void WithKey(const Item& value, const Work& work)
    {
        HKEY key = nullptr;
        Require(RegOpenKeyExA(HKEY_CURRENT_USER, value.container.c_str(), 0, KEY_READ | KEY_WRITE, &key) == 0,
                "opening a key");
        Require(work(key) == ERROR_SUCCESS, "writing or deleting a value");
        RegCloseKey(key);
    }

    std::vector<Item> items_;
};

template <class Items>
void CompareReplay(Report& report, const Library& library, const Items& items, const char* work, DWORD operation)
{
    const auto create = [&] { items.Create(); };
    const auto checkGone = [&] { items.CheckGone(); };
    const auto replay = [&] { Require(library.PerformUnInstall(operation) == 0, "TARVO_PerformUnInstall"); };
    const auto deleteAll = [&] { items.Delete(); };
    report.Compare(work, "the same deletions by plain Win32 calls", 2, {replay, create, checkGone},
                   {deleteAll, create, checkGone});
}

} // namespace

void MeasureUninstall(Report& report)
{
    const ScratchFolder folder;
    const ScratchKey key;
    const Library library;
    const Files files(folder);
    const Values values(key);
    const std::string log = folder.Path("uninstall.log");
    Require(library.StartUninstallLogging(log.c_str(), nullptr) == 0, "TARVO_StartUninstallLogging");
    files.Record(library);
    values.Record(library);
    library.StopUninstallLogging();
    Require(library.OpenRollBackLog(log.c_str()) == 0, "TARVO_OpenRollBackLog");
    CompareReplay(report, library, files, "uninstalling 2000 files in 20 folders", TARVO_UNINSTALL_FILES);
    CompareReplay(report, library, values, "uninstalling 2000 registry values in 20 keys", TARVO_UNINSTALL_REGISTRY);
}

} // namespace bench
