#include "components/common_directory.h"

#include "base/path.h"
#include "registry/registry_key.h"

namespace tarvo {
namespace {

constinit PathText commonDirectory; // "" until it is found

/** @param value  Receives the text; "" if the key or the value cannot be read. */
void ReadDirectory(const char* subkey, const char* name, PathText& value)
{
    RegistryKey key;
    if (key.Open(HKEY_LOCAL_MACHINE, subkey, KEY_READ) != ERROR_SUCCESS)
        return;
    DWORD size = PathText::kSize;
    if (key.QueryString(name, value.Buffer(), size) != ERROR_SUCCESS)
        value.Clear();
}

void FindCommonDirectory()
{
    PathText agent;
    ReadDirectory("Software\\Norrin Vale\\Velmora\\Management Agent", "InstallationDirectory", agent);
    commonDirectory = agent;
    if (!commonDirectory.Empty())
        return;
    PathText root;
    ReadDirectory("Software\\Norrin Vale\\Velmora", "InstallationRootDirectory", root);
    if (!root.Empty() && !JoinPath(commonDirectory, root.Get(), "Common"))
        commonDirectory.Clear();
}

} // namespace

const char* GetCommonDirectory()
{
    if (commonDirectory.Empty())
        FindCommonDirectory();
    return commonDirectory.Get();
}

} // namespace tarvo
