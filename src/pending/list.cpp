#include "pending/list.h"

#include "base/multibyte.h"
#include "frame/scope.h"

namespace tarvo {
namespace {

void TraceArguments(int detail, const char* source, const char* target, DWORD form)
{
    TracePrint(kInfo, detail, "Source=[%s], Target=[%s], formatted=[%d]\n", Shown(source), Shown(target),
               static_cast<int>(form));
}

const char* FailedStep(DWORD form)
{
    return form == kStored ? "SetEntry failed.\n" : "FormatEntry failed.\n";
}

} // namespace

DWORD PendingFileInfo::SetTexts(PendingFileEntry& entry, const char* source, const char* target, DWORD form)
{
    return form == kStored ? entry.SetEntry(source, target) : FormatEntry(entry, source, target);
}

void PendingFileInfo::NoteChange()
{
    if (received_)
        upToDate_ = false;
}

DWORD PendingFileInfo::AddEntry(const char* source, const char* target, DWORD form)
{
    FunctionScope scope("PendingFileInfo::AddEntry", 2);
    TraceArguments(3, source, target, form);
    if (!source || !target)
        return scope.Error(ERROR_INVALID_PARAMETER);
    if (count_ >= kMaxEntries) {
        TracePrint(kWarning, 2, "%s", "Too many entries.\n");
        return scope.Error(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (const DWORD code = SetTexts(entries_[count_], source, target, form)) {
        TracePrint(kWarning, 3, "%s", FailedStep(form));
        return scope.Error(code);
    }
    entries_[count_].SetRemoved(false);
    ++count_;
    NoteChange();
    return scope.Ok();
}

PendingFileInfo::Candidates PendingFileInfo::Chained(PendingChains& chains,
                                                     const char* (PendingFileEntry::*text)() const,
                                                     const PendingFileEntry& query)
{
    for (auto slot = static_cast<DWORD>(chains.Slots()); slot < count_; ++slot)
        chains.Add(HashNoCase((entries_[slot].*text)()));
    return {&chains, HashNoCase((query.*text)()), count_};
}

PendingFileInfo::Candidates PendingFileInfo::CandidatesFor(const PendingFileEntry& query)
{
    // Many entries may share one of their texts, as deletions share the empty
    // target: the shorter chain serves. Few share a source, and mostly targets need no chains at all.
    constexpr int kShort = 16;
    Candidates found(nullptr, 0, count_);
    if (query.Source())
        found = Chained(bySource_, &PendingFileEntry::Source, query);
    if (!query.Target() || (query.Source() && found.Length() <= kShort))
        return found;
    const Candidates others = Chained(byTarget_, &PendingFileEntry::Target, query);
    return query.Source() && found.Length() <= others.Length() ? found : others;
}

bool PendingFileInfo::isEntryExist(const PendingFileEntry& query)
{
    FunctionScope scope("PendingFileInfo::isEntryExist", 2);
    TraceArguments(3, query.Source(), query.Target(), kStored);
    return Holds(query);
}

bool PendingFileInfo::Holds(const PendingFileEntry& query)
{
    const Candidates candidates = CandidatesFor(query);
    for (int slot = candidates.First(); slot != PendingChains::kNone; slot = candidates.Next(slot)) {
        if (candidates.MayMatch(slot) && PendingFileEntry::Matches(query, entries_[slot]))
            return true;
    }
    return false;
}

DWORD PendingFileInfo::dwFindEntry(const char* source, const char* target, DWORD form)
{
    FunctionScope scope("PendingFileInfo::dwFindEntry", 2);
    TraceArguments(3, source, target, form);
    PendingFileEntry query;
    if (SetTexts(query, source, target, form) != ERROR_SUCCESS || (!source && !target))
        return kNoEntry;
    const Candidates candidates = CandidatesFor(query);
    for (int slot = candidates.Last(); slot != PendingChains::kNone; slot = candidates.Previous(slot)) {
        if (!entries_[slot].Removed() && PendingFileEntry::Matches(query, entries_[slot]))
            return static_cast<DWORD>(slot);
    }
    return kNoEntry;
}

bool PendingFileInfo::RemoveEntries(const char* source, const char* target, DWORD form, Witness* witness)
{
    FunctionScope scope("PendingFileInfo::RemoveEntries", 1);
    TraceArguments(2, source, target, form);
    PendingFileEntry query;
    if (SetTexts(query, source, target, form) != ERROR_SUCCESS) {
        TracePrint(kWarning, 2, "%s", FailedStep(form));
        return false;
    }
    bool removed = false;
    const Candidates candidates = CandidatesFor(query);
    for (int slot = candidates.First(); slot != PendingChains::kNone; slot = candidates.Next(slot)) {
        if (entries_[slot].Removed() || !PendingFileEntry::Matches(query, entries_[slot]))
            continue;
        TracePrint(kInfo, 2, "Entry to remove found at index: [%d]\n", slot);
        entries_[slot].SetRemoved(true);
        anyRemoved_ = removed = true;
        if (witness)
            witness->Tell(*this, entries_[slot]);
    }
    if (removed)
        NoteChange();
    scope.Ok();
    return removed;
}

void PendingFileInfo::Clear()
{
    count_ = 0;
    anyRemoved_ = false;
    bySource_.Clear();
    byTarget_.Clear();
}

void PendingFileInfo::ReleaseInfo()
{
    FunctionScope scope("PendingFileInfo::ReleaseInfo", 1);
    received_ = false;
    upToDate_ = true;
}

} // namespace tarvo
