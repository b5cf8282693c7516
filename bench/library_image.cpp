// The DLL as a setup carries it: its size, and what it needs from the machine.

#include <string>

#include "benchmarks.h"
#include "library.h"

namespace bench {
namespace {

constexpr DWORD kMaxKilobytes = 200;

/** A loaded image, addressed as its headers do: by offsets from where it begins. */
class Image {
public:
    explicit Image(HMODULE module) : base_(reinterpret_cast<const BYTE*>(module)) {}

    template <class Structure> const Structure* At(DWORD offset) const
    {
        return reinterpret_cast<const Structure*>(base_ + offset);
    }

    const IMAGE_IMPORT_DESCRIPTOR* Imports() const
    {
        const auto headers = At<IMAGE_NT_HEADERS32>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
        return At<IMAGE_IMPORT_DESCRIPTOR>(
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    }

private:
    const BYTE* base_;
};

bool IsSystemLibrary(const std::string& name)
{
    char folder[MAX_PATH];
    GetSystemDirectoryA(folder, sizeof folder);
    return GetFileAttributesA((std::string(folder) + "\\" + name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

DWORD FileSize(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    Require(GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data), "reading the size of TARVO.DLL");
    return data.nFileSizeLow;
}

} // namespace

void ExamineLibraryImage(Report& report)
{
    const Library library;
    const Image image(library.Module());
    std::string names;
    bool systemAlone = true;
    for (const IMAGE_IMPORT_DESCRIPTOR* import = image.Imports(); import->Name; ++import) {
        const std::string name = image.At<char>(import->Name);
        names += (names.empty() ? "" : " ") + name;
        systemAlone = systemAlone && IsSystemLibrary(name);
    }
    const DWORD size = FileSize(Library::Path());
    report.Add({"the stripped DLL, importing system DLLs alone", names, Format("%.0f KB", size / 1024.0), "", "",
                Format("%lu KB", kMaxKilobytes), systemAlone && size <= kMaxKilobytes * 1024});
}

} // namespace bench
