#include "kit/library.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "kit/import_hook.h"
#include "kit/scratch.h"

extern "C" {

struct KitExport {
    const char* name;
    void** slot;
    const void* stub; // where calls of its name lead
};

/** Made from the .def file; ends with an empty row. */
extern KitExport kitExports[];

/** Where each export leads while no library is loaded. */
[[noreturn]] void KitNoLibrary()
{
    fputs("An export was called while TARVO.DLL was not loaded.\n", stderr);
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    __builtin_trap();
}
}

namespace kit {
namespace {

/** @param module  NULL if none is loaded. */
void FillSlots(HMODULE module)
{
    for (KitExport* row = kitExports; row->name; ++row) {
        *row->slot = reinterpret_cast<void*>(module ? GetProcAddress(module, row->name) : FARPROC(&KitNoLibrary));
        if (!*row->slot)
            throw std::runtime_error(std::string("TARVO.DLL does not export ") + row->name);
    }
}

} // namespace

std::string Library::Path()
{
    for (const char* level : {"\\TARVO.DLL", "\\..\\TARVO.DLL", "\\..\\..\\TARVO.DLL"}) {
        if (FileExists(ProgramFolder() + level))
            return ProgramFolder() + level;
    }
    throw std::runtime_error("TARVO.DLL lies neither beside " + ProgramFolder() + " nor above");
}

std::vector<std::string> Library::ListedExports()
{
    std::vector<std::string> names;
    for (const KitExport* row = kitExports; row->name; ++row)
        names.emplace_back(row->name);
    std::sort(names.begin(), names.end());
    return names;
}

std::string Library::NameOf(const void* stub)
{
    const KitExport* row = kitExports;
    while (row->name && row->stub != stub)
        ++row;
    return row->name ? row->name : "?";
}

Library::Library() : module_(LoadLibraryA(Path().c_str()))
{
    if (!module_)
        throw std::runtime_error("loading " + Path() + " failed with " + std::to_string(GetLastError()));
    FillSlots(module_);
    SetHookedModule(module_);
}

Library::~Library()
{
    if (module_)
        Unload();
}

bool Library::Unload()
{
    FillSlots(nullptr);
    SetHookedModule(nullptr);
    FreeLibrary(module_);
    module_ = nullptr;
    return GetModuleHandleA("TARVO.DLL") == nullptr;
}

} // namespace kit
