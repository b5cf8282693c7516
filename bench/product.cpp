// What a whole product costs: installed and uninstalled with recording and setup log, against plain Win32 calls that
// leave no trace.

#include <string>
#include <vector>

#include "benchmarks.h"
#include "library.h"
#include "scratch.h"

namespace bench {
namespace {

constexpr int kContainers = 20; // folders and keys
constexpr int kItemsEach = 100; // files in a folder, and values in a key
constexpr DWORD kFileSize = 16 * 1024;
constexpr int kRuns = 5;
constexpr char kData[] = "data";

struct Component {
    std::string folder;
    std::string key; // below HKEY_CURRENT_USER
    std::vector<std::string> files;
    std::vector<std::string> values;
};

class Product {
public:
    explicit Product(const ScratchFolder& folder) : source_(folder.Path("module.dll"))
    {
        MakeSource();
        for (int index = 0; index < kContainers; ++index) {
            const std::string name = Format("Component %02d", index);
            Component component = {folder.Path(name), "Software\\Tarvo benchmark\\" + name, {}, {}};
            for (int item = 0; item < kItemsEach; ++item) {
                component.files.push_back(component.folder + Format("\\module%03d.dll", item));
                component.values.push_back(Format("Value %03d", item));
            }
            components_.push_back(component);
        }
    }

    void MakeFolders() const
    {
        for (const Component& component : components_)
            Require(CreateDirectoryA(component.folder.c_str(), nullptr), "CreateDirectory");
    }

    void MakeFoldersBy(const Library& library) const
    {
        for (const Component& component : components_)
            Require(library.CreateDirectories(component.folder.c_str()) == 0, "TARVO_CreateDirectory");
    }

    void Copy() const
    {
        for (const Component& component : components_) {
            for (const std::string& file : component.files)
                Require(CopyFileA(source_.c_str(), file.c_str(), FALSE), "CopyFile");
        }
    }

    void CopyBy(const Library& library) const
    {
        for (const Component& component : components_) {
            for (const std::string& file : component.files)
                Require(library.CopyFileWithRestart(source_.c_str(), file.c_str(), FALSE, nullptr) == 0,
                        "TARVO_CopyFileEx");
        }
    }

    void SetValues() const
    {
        for (const Component& component : components_) {
            for (const std::string& value : component.values)
                SetValue(component.key, value);
        }
    }

    void SetValuesBy(const Library& library) const
    {
        for (const Component& component : components_) {
            const std::string key = "HKEY_CURRENT_USER\\" + component.key + "\\\\";
            for (const std::string& value : component.values)
                Require(library.CreateRegistryEntry((key + value + "|" + kData).c_str(), REG_SZ, FALSE) == 0,
                        "TARVO_CreateRegistryEntry");
        }
    }

    /** The uninstall too tries after each file whether its folder has become empty. */
    void DeleteFiles() const
    {
        for (const Component& component : components_) {
            for (const std::string& file : component.files) {
                Require(DeleteFileA(file.c_str()), "DeleteFile");
                RemoveDirectoryA(component.folder.c_str());
            }
        }
    }

    void DeleteValues() const
    {
        for (const Component& component : components_) {
            for (const std::string& value : component.values)
                DeleteValue(component.key, value);
            Require(RegDeleteKeyA(HKEY_CURRENT_USER, component.key.c_str()) == 0, "RegDeleteKey");
        }
        Require(RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\Tarvo benchmark") == 0, "RegDeleteKey");
    }

    void CheckCopied() const
    {
        for (const Component& component : components_) {
            for (const std::string& file : component.files)
                Require(GetFileAttributesA(file.c_str()) != INVALID_FILE_ATTRIBUTES, "finding the files");
        }
    }

    void CheckGone() const
    {
        HKEY key = nullptr;
        for (const Component& component : components_) {
            Require(GetFileAttributesA(component.folder.c_str()) == INVALID_FILE_ATTRIBUTES, "finding a folder gone");
            Require(RegOpenKeyExA(HKEY_CURRENT_USER, component.key.c_str(), 0, KEY_READ, &key) == ERROR_FILE_NOT_FOUND,
                    "finding a key gone");
        }
    }

private:
    void MakeSource() const
    {
        const std::string bytes(kFileSize, 'x');
        DWORD written = 0;
        const HANDLE file =
            CreateFileA(source_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        Require(WriteFile(file, bytes.data(), kFileSize, &written, nullptr), "making the file to be copied");
        CloseHandle(file);
    }

    static void SetValue(const std::string& path, const std::string& value)
    {
        HKEY key = nullptr;
        Require(RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) == 0,
                "RegCreateKeyEx");
        Require(RegSetValueExA(key, value.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(kData), sizeof kData) == 0,
                "RegSetValueEx");
        RegCloseKey(key);
    }

    static void DeleteValue(const std::string& path, const std::string& value)
    {
        HKEY key = nullptr;
        Require(RegOpenKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, KEY_WRITE, &key) == 0, "RegOpenKeyEx");
        Require(RegDeleteValueA(key, value.c_str()) == 0, "RegDeleteValue");
        RegCloseKey(key);
    }

    std::string source_;
    std::vector<Component> components_;
};

void StartRecording(const Library& library, const std::string& log)
{
    DeleteFileA(log.c_str());
    Require(library.StartUninstallLogging(log.c_str(), nullptr) == 0, "TARVO_StartUninstallLogging");
}

void UninstallBy(const Library& library, const std::string& log)
{
    Require(library.OpenRollBackLog(log.c_str()) == 0, "TARVO_OpenRollBackLog");
    for (const DWORD operation : {TARVO_UNINSTALL_REGISTRY, TARVO_UNINSTALL_FILES})
        Require(library.PerformUnInstall(operation) == 0, "TARVO_PerformUnInstall");
    library.CloseRollBackLog();
}

void CompareCopying(Report& report, const Library& library, const Product& product, const std::string& log)
{
    const auto start = [&] {
        product.MakeFolders();
        StartRecording(library, log);
    };
    const auto stop = [&] {
        library.StopUninstallLogging();
        product.CheckCopied();
        product.DeleteFiles();
    };
    const auto remove = [&] {
        product.CheckCopied();
        product.DeleteFiles();
    };
    report.Compare("2000 x TARVO_CopyFileEx, recorded, setup log on", "2000 x CopyFileA", 2.5,
                   {[&] { product.CopyBy(library); }, start, stop},
                   {[&] { product.Copy(); }, [&] { product.MakeFolders(); }, remove}, kRuns);
}

void CompareProduct(Report& report, const Library& library, const Product& product, const std::string& log)
{
    const auto byLibrary = [&] {
        StartRecording(library, log);
        product.MakeFoldersBy(library);
        product.CopyBy(library);
        product.SetValuesBy(library);
        library.StopUninstallLogging();
        UninstallBy(library, log);
    };
    const auto plainly = [&] {
        product.MakeFolders();
        product.Copy();
        product.SetValues();
        product.DeleteValues();
        product.DeleteFiles();
    };
    const auto checkGone = [&] { product.CheckGone(); };
    report.Compare("2000 files and 2000 values, installed and uninstalled", "the same by plain Win32 calls, no log",
                   2.5, {byLibrary, [] {}, checkGone}, {plainly, [] {}, checkGone}, kRuns);
}

} // namespace

void MeasureProduct(Report& report)
{
    const ScratchFolder folder; // outlives the library, which holds the setup log open until it is unloaded
    const ScratchKey key;
    const Library library;
    const Product product(folder);
    const std::string log = folder.Path("uninstall.log");
    library.StartDebugLoggingRunTime(folder.Path("setup.log").c_str(), 1);
    CompareCopying(report, library, product, log);
    CompareProduct(report, library, product, log);
}

} // namespace bench
