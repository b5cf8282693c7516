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

    /**
     * As ReceiveInfo, for an addition that UpdateInfo writes at once: the value may then be read there alone, in the
     * belief that it is as this list has written it last. Between them comes AddEntry, and nothing else.
     */
    DWORD ReceiveInfoToAdd();

    /** Releases a list that was not read: to be called when its addition or the reading for it has failed. */
    void DropBelief();

private:
    DWORD LoadFrom(HKEY key);
    DWORD AddPairs();
    DWORD AddPair(PairReader::Text source, PairReader::Text target, TextNarrower (&texts)[2]);
    DWORD MergeInto(HKEY key);
    DWORD CorrectBelief(HKEY key, PendingFileInfoNT& additions);
    DWORD StoreOwn(HKEY key);
    DWORD StoreMerged(HKEY key, PendingFileInfoNT& others);
    size_t CountChars(DWORD first);
    bool AddTo(RenameValue& pairs, DWORD first);
    void Adopt(RenameValue& value);

    bool believed_ = false; // received without having been read
    RenameValue value_;     // as it was received, or written where that was all of it
    RenameValue next_;      // read again, or being written
};

} // namespace tarvo
