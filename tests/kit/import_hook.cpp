#include "kit/import_hook.h"

#include <algorithm>
#include <cstring>

namespace kit {
namespace {

HMODULE hookedModule = nullptr;

template <class T> T* At(HMODULE module, DWORD offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

template <class Table> const Table* Directory(HMODULE module, int entry)
{
    const LONG headerOffset = At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew;
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(headerOffset));
    return At<Table>(module, headers->OptionalHeader.DataDirectory[entry].VirtualAddress);
}

const IMAGE_IMPORT_DESCRIPTOR* ImportTable(HMODULE module)
{
    return Directory<IMAGE_IMPORT_DESCRIPTOR>(module, IMAGE_DIRECTORY_ENTRY_IMPORT);
}

void CollectFrom(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& table, const char* function, std::vector<void**>& slots)
{
    const auto* names = At<IMAGE_THUNK_DATA>(module, table.OriginalFirstThunk);
    auto* addresses = At<void*>(module, table.FirstThunk);
    for (size_t index = 0; names[index].u1.AddressOfData; ++index) {
        if (IMAGE_SNAP_BY_ORDINAL(names[index].u1.Ordinal))
            continue;
        const auto* byName = At<IMAGE_IMPORT_BY_NAME>(module, names[index].u1.AddressOfData);
        if (strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0)
            slots.push_back(&addresses[index]);
    }
}

/** All places: a linker may put one library, or one function, into the table twice. */
std::vector<void**> FindSlots(HMODULE module, const char* function)
{
    std::vector<void**> slots;
    if (!module)
        throw std::runtime_error(std::string("no module is loaded to hook ") + function + " in");
    for (const auto* table = ImportTable(module); table->Name; ++table)
        CollectFrom(module, *table, function, slots);
    return slots;
}

MEMORY_BASIC_INFORMATION MemoryAt(void** slot)
{
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(slot, &memory, sizeof memory);
    return memory;
}

/** Import tables of this compiler can be written as they are; asking is cheaper than making it so. */
void WriteSlot(void** slot, void* value)
{
    DWORD before = 0;
    if (!(MemoryAt(slot).Protect & (PAGE_READWRITE | PAGE_WRITECOPY)))
        VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = value;
}

/** The module may have been unloaded since, or loaded anew in the same place. */
bool Holds(void** slot, void* value)
{
    const MEMORY_BASIC_INFORMATION memory = MemoryAt(slot);
    return memory.State == MEM_COMMIT && memory.Type == MEM_IMAGE && *slot == value;
}

} // namespace

void SetHookedModule(HMODULE module)
{
    hookedModule = module;
}

HMODULE HookedModule()
{
    return hookedModule;
}

bool Imports(HMODULE module, const char* function)
{
    return !FindSlots(module, function).empty();
}

std::vector<std::string> ExportedNames(HMODULE module)
{
    const auto* table = Directory<IMAGE_EXPORT_DIRECTORY>(module, IMAGE_DIRECTORY_ENTRY_EXPORT);
    const auto* names = At<DWORD>(module, table->AddressOfNames);
    std::vector<std::string> found;
    for (DWORD index = 0; index < table->NumberOfNames; ++index)
        found.emplace_back(At<char>(module, names[index]));
    for (DWORD index = table->NumberOfNames; index < table->NumberOfFunctions; ++index)
        found.push_back("#" + std::to_string(table->Base + index));
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> ImportedLibraries(HMODULE module)
{
    std::vector<std::string> found;
    for (const auto* table = ImportTable(module); table->Name; ++table)
        found.emplace_back(_strupr(std::string(At<char>(module, table->Name)).data()));
    return found;
}

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : slots_(FindSlots(module, function)), replacement_(replacement)
{
    if (slots_.empty())
        throw std::runtime_error(std::string("the module does not import ") + function);
    original_ = *slots_.front();
    for (void** slot : slots_)
        WriteSlot(slot, replacement_);
}

ImportPatch::~ImportPatch()
{
    for (void** slot : slots_) {
        if (Holds(slot, replacement_))
            WriteSlot(slot, original_);
    }
}

} // namespace kit
