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
    if (count_ < kept_)
        ForgetKept();
    if (const DWORD code = SetTexts(entries_[count_], source, target, form)) {
        TracePrint(kWarning, 3, "%s", FailedStep(form));
        return scope.Error(code);
    }
    entries_[count_].SetRemoved(false);
    ++count_;
    NoteChange();
    return scope.Ok();
}

void PendingFileInfo::IndexEntries()
{
    for (; indexed_ < count_; ++indexed_) {
        const PendingFileEntry& entry = entries_[indexed_];
        bySource_.Add(static_cast<int>(indexed_), HashNoCase(entry.Source()));
        byTarget_.Add(static_cast<int>(indexed_), HashNoCase(entry.Target()));
    }
}

PendingFileInfo::Candidates PendingFileInfo::CandidatesFor(const PendingFileEntry& query)
{
    IndexEntries();
    const uint32_t sourceHash = query.Source() ? HashNoCase(query.Source()) : 0;
    const uint32_t targetHash = query.Target() ? HashNoCase(query.Target()) : 0;
    // Many entries may share one of their texts, as deletions share the empty
    // target: the shorter chain serves.
    const bool useSource =
        query.Source() && (!query.Target() || bySource_.Length(sourceHash) <= byTarget_.Length(targetHash));
    if (useSource)
        return {&bySource_, sourceHash, count_};
    if (query.Target())
        return {&byTarget_, targetHash, count_};
    return {nullptr, 0, count_};
}

bool PendingFileInfo::HasMatch(const PendingFileEntry& query)
{
    const Candidates candidates = CandidatesFor(query);
    for (int slot = candidates.First(); slot != PendingChains::kNone; slot = candidates.Next(slot)) {
        if (PendingFileEntry::Matches(query, entries_[slot]))
            return true;
    }
    return false;
}

bool PendingFileInfo::isEntryExist(const char* source, const char* target, DWORD form)
{
    FunctionScope scope("PendingFileInfo::isEntryExist", 2);
    TraceArguments(3, source, target, form);
    PendingFileEntry query;
    return SetTexts(query, source, target, form) == ERROR_SUCCESS && HasMatch(query);
}

bool PendingFileInfo::HasEntryOf(const PendingFileEntry& query)
{
    FunctionScope scope("PendingFileInfo::isEntryExist", 2);
    TraceArguments(3, query.Source(), query.Target(), kStored);
    return HasMatch(query);
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

bool PendingFileInfo::RemoveEntries(const char* source, const char* target, DWORD form)
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
        removed = true;
    }
    if (removed) {
        ForgetKept();
        NoteChange();
    }
    scope.Ok();
    return removed;
}

bool PendingFileInfo::BringBackKept()
{
    if (count_ != 0 || kept_ == 0)
        return false;
    count_ = kept_;
    return true;
}

void PendingFileInfo::ReleaseInfo()
{
    FunctionScope scope("PendingFileInfo::ReleaseInfo", 1);
    count_ = 0;
    if (indexed_) {
        bySource_.Clear();
        byTarget_.Clear();
        indexed_ = 0;
    }
    received_ = false;
    upToDate_ = true;
}

} // namespace tarvo
