#include "files/file_identity.h"

#include "base/handle.h"

namespace tarvo {

bool Identify(const char* path, FileIdentity& identity)
{
    const UniqueFile file(CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!file || !GetFileInformationByHandle(file.Get(), &information))
        return false;
    identity = {information.dwVolumeSerialNumber, information.nFileIndexHigh, information.nFileIndexLow};
    return identity.indexHigh != 0 || identity.indexLow != 0; // a file system that keeps no such numbers tells 0
}

} // namespace tarvo
