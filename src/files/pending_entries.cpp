#include "files/pending_entries.h"

#include "tarvo/tarvo.h"

namespace tarvo {

void ClearPendingEntries(const char* path)
{
    TARVO_RemovePendingFileOperation(nullptr, path);
    TARVO_RemovePendingFileOperation(path, nullptr);
}

} // namespace tarvo
