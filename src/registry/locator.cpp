#include "registry/locator.h"

#include "base/multibyte.h"
#include "frame/scope.h"

namespace tarvo {
namespace {

struct MainKeyRow {
    const char* name;
    ULONG_PTR key; // the predefined handles are numbers, and no constants to the compiler
};

constexpr MainKeyRow kMainKeys[] = {
    {"HKEY_CLASSES_ROOT", 0x80000000},
    {"HKEY_CURRENT_USER", 0x80000001},
    {"HKEY_LOCAL_MACHINE", 0x80000002},
    {"HKEY_USERS", 0x80000003},
};

/** Copies a part that ends before end; it is shorter than the buffer it was cut from. */
void TakePart(RegistryText& part, const char* begin, const char* end)
{
    part.SetCut({begin, static_cast<size_t>(end - begin)});
}

} // namespace

DWORD SplitLocator(const char* text, Locator& locator)
{
    FunctionScope scope("SplitLocator", 2);
    TracePrint(kInfo, 3, "Called with locator=[%s]\n", text);
    RegistryText copy;
    copy.SetCut(text);
    char* const mainKey = copy.Buffer();
    char* const backslash = FindChar(mainKey, '\\');
    if (!backslash)
        return 1;
    char* const subkey = backslash + 1;
    char* const pair = FindDoubleBackslash(subkey);
    if (!pair)
        return 2;
    char* const valueName = pair + 2;
    char* const bar = FindChar(valueName, '|');
    if (!bar)
        return 3;
    TakePart(locator.mainKeyName, mainKey, backslash);
    TakePart(locator.subkey, subkey, pair);
    TakePart(locator.valueName, valueName, bar);
    locator.data = text + (bar + 1 - mainKey);
    return scope.Ok();
}

HKEY MainKeyFromName(const char* name)
{
    for (const MainKeyRow& row : kMainKeys) {
        if (EqualNoCase(name, row.name))
            return reinterpret_cast<HKEY>(row.key);
    }
    return nullptr;
}

} // namespace tarvo
