#pragma once

#include "base/handle.h"
#include "pending/list.h"
#include "pending/rename_value.h"

namespace tarvo {

/** The Session Manager's key, held open for one call by the first who needs it. */
class SessionManagerKey {
public:
    /** @return 0, also if it is open; or the registry's code */
    DWORD Open();
    HKEY Get() const { return key_.Get(); }

private:
    UniqueRegistryKey key_;
};

/** What a change of a list holds on to from reading the value to writing it. */
struct PendingChange {
    SessionManagerKey& key;
    bool current = false; // the list is known to hold what the value holds now
};

/** The pending list bound to a value of the Session Manager, PendingFileRenameOperations. */
class PendingFileInfoNT final : public PendingFileInfo {
public:
    PendingFileInfoNT() : PendingFileInfoNT(kRenameValue) {}
    explicit PendingFileInfoNT(const wchar_t* valueName) : valueName_(valueName) {}

    DWORD FormatEntry(PendingFileEntry& entry, const char* source, const char* target) override;
    DWORD UnFormatEntry(const PendingFileEntry& entry, char* source, char* target) override;
    DWORD ReceiveInfo() override;
    DWORD UpdateInfo() override;

    /**
     * Loads the list for a change, unless changes are waiting already: then the merge will see what others have done.
     * A list in memory is compared with the value, and loaded again if that is another one.
     */
    DWORD LoadToChange(PendingChange& change);

    /** ReceiveInfo at the beginning of a change, and UpdateInfo at its end. */
    DWORD ReceiveInfo(PendingChange& change);
    DWORD UpdateInfo(PendingChange& change);

private:
    DWORD Load(HKEY key);
    DWORD AddPairs();
    DWORD WriteBack(PendingChange& change);
    DWORD StoreOwn(HKEY key);
    DWORD Merge(HKEY key);
    DWORD MergeShown(HKEY key);
    DWORD Store(HKEY key, RenameValue& value, const RenameValue& present);
    size_t CountChars(DWORD first);
    void AddTo(RenameValue& pairs, DWORD first);

    const wchar_t* valueName_;
    RenameValue value_; // as it was received or written last
    RenameValue next_;  // being read or written
    DWORD written_ = 0; // entries in the table of which value_ is made up, as this list has written them
};

} // namespace tarvo
