#pragma once

#include "pending/list.h"
#include "pending/rename_value.h"

namespace tarvo {

/** The pending list bound to the Session Manager's value PendingFileRenameOperations. */
class PendingFileInfoNT final : public PendingFileInfo {
public:
    DWORD FormatEntry(PendingFileEntry& entry, const char* source, const char* target) override;
    DWORD UnFormatEntry(const PendingFileEntry& entry, char* source, char* target) override;
    DWORD ReceiveInfo() override;
    DWORD UpdateInfo() override;

private:
    DWORD LoadFrom(HKEY key);
    DWORD AddPairs();
    DWORD AddPair(PairReader::Text source, PairReader::Text target, TextNarrower (&texts)[2]);
    DWORD MergeInto(HKEY key);
    DWORD StoreMerged(HKEY key, PendingFileInfoNT* others);
    size_t CountChars();
    void AddTo(PairWriter& pairs);
    bool ValueIsAsReceived(HKEY key) const;

    RenameValue value_; // as it was received
};

} // namespace tarvo
