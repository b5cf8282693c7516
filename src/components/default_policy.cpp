// Dropping the default policy file into its place.

#include "base/multibyte.h"
#include "base/path.h"
#include "frame/scope.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

DWORD CopyPolicy(const char* source, const char* destination)
{
    if (!EqualNoCase(source, destination))
        return TARVO_CopyFile(source, destination, FALSE);
    TracePrint(kInfo, 1, "Skipping DPF copy from [%s] to [%s] (same file)\n", source, destination);
    return ERROR_SUCCESS;
}

/** A policy file's product makes a second file beside it, which goes at uninstall too. */
void RecordCompanion(const char* directory, std::string_view name)
{
    PathText companion;
    if (JoinPath(companion, directory, name, "dpx"))
        TARVO_AddFileToUninstallLog(companion.Get());
}

DWORD InstallPolicy(const char* source, const char* directory)
{
    if (!source || !directory)
        return ERROR_INVALID_PARAMETER;
    const PathParts parts = SplitPath(source);
    PathText destination;
    if (!JoinPath(destination, directory, parts.name, parts.extension))
        return ERROR_FILENAME_EXCED_RANGE;
    if (const DWORD code = CopyPolicy(source, destination.Get()))
        return code;
    TARVO_AddFileToUninstallLog(destination.Get());
    if (EqualNoCase(parts.extension.data(), ".dpf")) // the last part: it ends where the path does
        RecordCompanion(directory, parts.name);
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_InstallDefaultPolicyFile(const char* source, const char* directory)
{
    FunctionScope scope("TARVO_InstallDefaultPolicyFile", 0);
    TracePrint(kInfo, 1, "SourceDPF=[%s], DesinationDir=[%s]\n", Shown(source), Shown(directory));
    return scope.End(InstallPolicy(source, directory));
}
