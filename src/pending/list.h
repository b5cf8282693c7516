#pragma once

#include <windows.h>

#include "pending/entry.h"
#include "pending/index.h"

namespace tarvo {

/** In which form source and target come: plain paths, or as the system stores them. */
enum PathForm : DWORD { kPlain = 0, kStored = 1 };

constexpr DWORD kNoEntry = 0xFFFFFFFF;

/**
 * The renames and deletions for the next restart, in a fixed table of 5120
 * slots, in the order in which they were added. A removed entry keeps its slot
 * until the list is released. How entries are stored by the system is up to
 * the class derived from this.
 */
class PendingFileInfo {
public:
    static constexpr DWORD kMaxEntries = PendingChains::kMaxSlots;

    PendingFileInfo() = default;
    PendingFileInfo(const PendingFileInfo&) = delete;
    PendingFileInfo& operator=(const PendingFileInfo&) = delete;

    /** Sets an entry from plain paths, in the stored form; NULL stays NULL. @return 0, or 8 */
    virtual DWORD FormatEntry(PendingFileEntry& entry, const char* source, const char* target) = 0;

    /**
     * Turns an entry's texts back into plain paths.
     * @param source, target  260 bytes each, or NULL.
     * @return 0; 0xFFFFFFFF, a text is in no stored form and is handed out as it is
     */
    virtual DWORD UnFormatEntry(const PendingFileEntry& entry, char* source, char* target) = 0;

    /** Loads the list from the system's store, writing changes back first. */
    virtual DWORD ReceiveInfo() = 0;

    /** Writes changes into the system's store; the list is empty afterwards. */
    virtual DWORD UpdateInfo() = 0;

    /** Adds an entry, also one that is there already. @return 0; 87, a text is NULL; 8, table full or no memory */
    DWORD AddEntry(const char* source, const char* target, DWORD form);

    /** @return whether an entry matches, a removed one too. */
    bool isEntryExist(const PendingFileEntry& query);

    /** @return the newest entry that matches and is not removed, or kNoEntry; kNoEntry too if both texts are NULL. */
    DWORD dwFindEntry(const char* source, const char* target, DWORD form);

    /** Is told of each entry that is taken off. */
    struct Witness {
        virtual void Tell(PendingFileInfo& list, const PendingFileEntry& entry) = 0;

    protected:
        ~Witness() = default;
    };

    /** Marks every matching entry removed; with both texts NULL, all. @return whether there was one */
    bool RemoveEntries(const char* source, const char* target, DWORD form, Witness* witness = nullptr);

    /** Forgets that the list was received. Its entries stay in their slots, and count again once it is. */
    void ReleaseInfo();

    DWORD EntryCount() const { return count_; }
    PendingFileEntry* EntryAt(DWORD index) { return index < count_ ? &entries_[index] : nullptr; }
    bool InfoReceived() const { return received_; }
    bool UpToDate() const { return upToDate_; }

protected:
    ~PendingFileInfo() = default;

    /** isEntryExist, untraced. */
    bool Holds(const PendingFileEntry& query);

    /** Empties the table. */
    void Clear();

    bool AnyRemoved() const { return anyRemoved_; }

    void SetReceived()
    {
        received_ = true;
        upToDate_ = true;
    }

private:
    /** The slots among which every match of a query lies: one chain, or all slots. */
    class Candidates {
    public:
        Candidates(const PendingChains* chains, uint32_t hash, DWORD count)
            : chains_(chains), hash_(hash), count_(static_cast<int>(count))
        {
        }
        int Length() const { return chains_ ? chains_->Length(hash_) : count_; }
        bool MayMatch(int slot) const { return !chains_ || chains_->Has(slot, hash_); }
        int First() const { return chains_ ? chains_->First(hash_) : Inside(0); }
        int Last() const { return chains_ ? chains_->Last(hash_) : Inside(count_ - 1); }
        int Next(int slot) const { return chains_ ? chains_->Next(slot) : Inside(slot + 1); }
        int Previous(int slot) const { return chains_ ? chains_->Previous(slot) : Inside(slot - 1); }

    private:
        int Inside(int slot) const { return slot < count_ ? slot : PendingChains::kNone; }

        const PendingChains* chains_; // NULL: all slots
        uint32_t hash_;
        int count_;
    };

    DWORD SetTexts(PendingFileEntry& entry, const char* source, const char* target, DWORD form);
    void NoteChange();
    Candidates Chained(PendingChains& chains, const char* (PendingFileEntry::*text)() const,
                       const PendingFileEntry& query);
    Candidates CandidatesFor(const PendingFileEntry& query);

    PendingFileEntry entries_[kMaxEntries];
    DWORD count_ = 0;
    bool received_ = false;
    bool upToDate_ = true;
    bool anyRemoved_ = false;
    PendingChains bySource_; // filled as far as a search has needed
    PendingChains byTarget_;
};

} // namespace tarvo
