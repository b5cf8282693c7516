#include "registry/product_keys.h"

#include "base/path.h"
#include "tarvo/tarvo.h"

namespace tarvo {

DWORD CreateProductKey(const char* subkey)
{
    if (const DWORD code = CreateRegKey(MachineKey(), subkey))
        return code;
    PathText keyPath;
    keyPath.Format("%s\\%s", kMachineName, subkey);
    TARVO_ApplyRegistrySecurityPolicy(keyPath.Get(), FALSE);
    return ERROR_SUCCESS;
}

} // namespace tarvo
