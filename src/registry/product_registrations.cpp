// Where products say which version they are, and where their localization resources lie.

#include "base/path.h"
#include "frame/scope.h"
#include "registry/locator.h"
#include "registry/product_keys.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr char kVersionLocator[] = "HKEY_LOCAL_MACHINE\\Software\\Norrin Vale\\Velmora\\%s\\\\CurrentVersion|%s";

DWORD SetVersion(const char* version, const char* product)
{
    if (IsEmpty(version) || IsEmpty(product))
        return ERROR_INVALID_PARAMETER;
    RegistryText locator;
    if (!locator.Format(kVersionLocator, product, version))
        return ERROR_INSUFFICIENT_BUFFER;
    return TARVO_CreateRegistryEntry(locator.Get(), REG_SZ, FALSE);
}

Ending RegisterResource(const char* directory, const char* baseName)
{
    if (IsEmpty(directory))
        return {ERROR_INVALID_PARAMETER, "Directory parameter is empty."};
    if (IsEmpty(baseName))
        return {ERROR_INVALID_PARAMETER, "BaseName parameter is empty."};
    PathText path;
    if (!JoinPath(path, directory, baseName))
        return {ERROR_FILENAME_EXCED_RANGE};
    if (const DWORD code = CreateProductKey(kLocalizationKey))
        return {code, "CreateRegKey failed"};
    return {SetRegValue(MachineKey(), kLocalizationKey, baseName, path.Get(), REG_SZ), "SetRegistryValue failed"};
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_SetProductVersion(const char* version, const char* product)
{
    FunctionScope scope("TARVO_SetProductVersion", 0);
    TracePrint(kInfo, 1, "Product=[%s], version=[%s]\n", Shown(product), Shown(version));
    return scope.End(SetVersion(version, product));
}

DWORD __cdecl TARVO_RegisterLocalizationResource(const char* directory, const char* baseName)
{
    FunctionScope scope("TARVO_RegisterLocalizationResource", 0);
    TracePrint(kInfo, 1, "pchDirectory = [%s]; pchBaseName = [%s]\n", Shown(directory), Shown(baseName));
    return scope.End(RegisterResource(directory, baseName));
}
