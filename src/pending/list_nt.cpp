#include "pending/list_nt.h"

#include "frame/scope.h"
#include "pending/stored_path.h"

namespace tarvo {
namespace {

/** Whether the log shows each step of a merge, which are then to be done one by one. */
bool AreStepsShown()
{
    return IsTraced(kInfo, 2);
}

/** @param detail  Of the line that tells of a lack of memory. */
DWORD FormatTraced(const char* plain, const StoredForm& form, int detail, HeapText& stored)
{
    const DWORD code = FormatPath(plain, form, stored);
    if (code == ERROR_NOT_ENOUGH_MEMORY)
        TracePrint(kWarning, detail, "%s", "Can't allocate memory.\n");
    return code;
}

} // namespace

DWORD SessionManagerKey::Open()
{
    if (key_)
        return ERROR_SUCCESS;
    return static_cast<DWORD>(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_ALL_ACCESS, key_.Put()));
}

DWORD PendingFileInfoNT::FormatEntry(PendingFileEntry& entry, const char* source, const char* target)
{
    FunctionScope scope("PendingFileInfoNT::FormatEntry", 2);
    TracePrint(kInfo, 3, "Entry ptr=[%x], Source=[%s], target=[%s]\n", reinterpret_cast<unsigned>(&entry),
               Shown(source), Shown(target));
    HeapText storedSource;
    HeapText storedTarget;
    if (const DWORD code = FormatTraced(source, kSourceForm, 3, storedSource))
        return scope.Error(code);
    if (const DWORD code = FormatTraced(target, kTargetForm, 0, storedTarget))
        return scope.Error(code);
    TracePrint(kInfo, 3, "Formatted entry: [%s], [%s].\n", Shown(storedSource.Get()), Shown(storedTarget.Get()));
    const DWORD code = entry.SetEntry(storedSource.Get(), storedTarget.Get());
    if (code != ERROR_SUCCESS)
        TracePrint(kWarning, 3, "%s", "SetEntry failed.\n");
    return scope.End(code);
}

DWORD PendingFileInfoNT::UnFormatEntry(const PendingFileEntry& entry, char* source, char* target)
{
    FunctionScope scope("PendingFileInfoNT::UnFormatEntry", 2);
    TracePrint(kInfo, 3, "Entry={[%s], [%s], Source=[%x], target=[%x]\n", Shown(entry.Source()), Shown(entry.Target()),
               reinterpret_cast<unsigned>(source), reinterpret_cast<unsigned>(target));
    const bool known =
        UnFormatPath(entry.Source(), kSourceForm, source) && UnFormatPath(entry.Target(), kTargetForm, target);
    return known ? scope.Ok() : scope.Error(0xFFFFFFFF);
}

DWORD PendingFileInfoNT::ReceiveInfo()
{
    SessionManagerKey key;
    PendingChange change = {key};
    return ReceiveInfo(change);
}

DWORD PendingFileInfoNT::ReceiveInfo(PendingChange& change)
{
    FunctionScope scope("PendingFileInfoNT::ReceiveInfo", 2);
    if (InfoReceived()) {
        TracePrint(kInfo, 3, "%s", "Info is received, updating info...\n");
        if (const DWORD code = UpdateInfo(change)) // then they stay pending
            return scope.Error(code);
        ReleaseInfo();
    }
    if (const DWORD code = change.key.Open()) {
        TracePrint(kError, 3, "RegOpenKeyEx failed to open [%s], error code: [%d].\n", kSessionManagerKey,
                   static_cast<int>(code));
        return code; // without Error: whoever called reports it
    }
    const DWORD code = Load(change.key.Get());
    change.current = code == ERROR_SUCCESS;
    if (change.current)
        SetReceived();
    else
        ReleaseInfo();
    return scope.End(code);
}

DWORD PendingFileInfoNT::LoadToChange(PendingChange& change)
{
    if (!InfoReceived())
        return ReceiveInfo(change);
    if (!UpToDate())
        return ERROR_SUCCESS;
    if (const DWORD code = change.key.Open())
        return code;
    if (const DWORD code = next_.Read(change.key.Get(), valueName_))
        return code;
    change.current = next_.SameAs(value_);
    return change.current ? ERROR_SUCCESS : ReceiveInfo(change);
}

DWORD PendingFileInfoNT::Load(HKEY key)
{
    if (const DWORD code = next_.Read(key, valueName_))
        return code;
    // What this list has written itself need not be taken apart again, but for
    // the log: its entries are in the table.
    if (written_ && !AreStepsShown() && next_.SameAs(value_))
        return ERROR_SUCCESS;
    written_ = 0;
    Clear();
    value_.Swap(next_);
    return AddPairs();
}

DWORD PendingFileInfoNT::AddPairs()
{
    NarrowedPairs pairs(value_);
    while (pairs.Next()) {
        if (const DWORD code = pairs.Code())
            return code;
        if (const DWORD code = AddEntry(pairs.Source(), pairs.Target(), kStored)) {
            TracePrint(kWarning, 3, "%s", "AddEntry failed.\n");
            return code;
        }
        pairs.HandExactTo(*EntryAt(EntryCount() - 1));
    }
    return ERROR_SUCCESS;
}

DWORD PendingFileInfoNT::UpdateInfo()
{
    SessionManagerKey key;
    PendingChange change = {key};
    return UpdateInfo(change);
}

DWORD PendingFileInfoNT::UpdateInfo(PendingChange& change)
{
    FunctionScope scope("PendingFileInfoNT::UpdateInfo", 2);
    if (!InfoReceived()) {
        TracePrint(kInfo, 3, "%s", "Info is not received - nothing to do.\n");
        return scope.Ok();
    }
    if (UpToDate()) {
        TracePrint(kInfo, 3, "%s", "Info is up to date - nothing to do.\n");
        return scope.Ok();
    }
    if (const DWORD code = change.key.Open()) {
        TracePrint(kError, 3, "RegOpenKeyEx failed to open [%s], error code: [%d]\n", kSessionManagerKey,
                   static_cast<int>(code));
        return scope.Error(code);
    }
    if (const DWORD code = WriteBack(change))
        return scope.Error(code);
    ReleaseInfo();
    return scope.Ok();
}

DWORD PendingFileInfoNT::WriteBack(PendingChange& change)
{
    const HKEY key = change.key.Get();
    if (AreStepsShown())
        return MergeShown(key);
    if (change.current) // every pair of the value is in this list
        return StoreOwn(key);
    if (const DWORD code = next_.Read(key, valueName_))
        return code;
    return next_.SameAs(value_) ? StoreOwn(key) : Merge(key);
}

DWORD PendingFileInfoNT::StoreOwn(HKEY key)
{
    const DWORD first = AnyRemoved() ? 0 : written_;
    if (const DWORD code = next_.Start(first ? &value_ : nullptr, CountChars(first)))
        return code;
    AddTo(next_, first);
    if (const DWORD code = Store(key, next_, value_))
        return code;
    written_ = AnyRemoved() ? 0 : EntryCount();
    return ERROR_SUCCESS;
}

/** Writes this list, and behind it what only the value, read again, holds. */
DWORD PendingFileInfoNT::Merge(HKEY key)
{
    RenameValue merged;
    if (const DWORD code = merged.Start(nullptr, CountChars(0) + next_.CharsAtMost()))
        return code;
    AddTo(merged, 0);
    PendingFileEntry entry;
    DWORD count = 0;
    for (NarrowedPairs pairs(next_); pairs.Next();) {
        if (const DWORD code = ++count > kMaxEntries ? ERROR_NOT_ENOUGH_MEMORY : pairs.Code())
            return code;
        if (const DWORD code = entry.SetEntry(pairs.Source(), pairs.Target()))
            return code;
        pairs.HandExactTo(entry);
        if (!Holds(entry))
            merged.Add(entry);
    }
    written_ = 0;
    return Store(key, merged, next_);
}

/** As Merge, by way of a second list, whose steps the log shows. */
DWORD PendingFileInfoNT::MergeShown(HKEY key)
{
    UniqueObject<PendingFileInfoNT> held = MakeHeapObject<PendingFileInfoNT>();
    if (!held) {
        TracePrint(kWarning, 3, "%s", "Can't allocate memory.\n");
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    PendingFileInfoNT& others = *held.Get();
    others.valueName_ = valueName_;
    if (const DWORD code = others.ReceiveInfo())
        return code;
    for (DWORD index = 0; index < others.EntryCount(); ++index) {
        PendingFileEntry& entry = *others.EntryAt(index);
        entry.SetRemoved(isEntryExist(entry));
    }
    if (const DWORD code = next_.Start(nullptr, CountChars(0) + others.CountChars(0)))
        return code;
    AddTo(next_, 0);
    others.AddTo(next_, 0);
    written_ = 0;
    return Store(key, next_, others.value_);
}

/** @param present  What the value holds now. */
DWORD PendingFileInfoNT::Store(HKEY key, RenameValue& value, const RenameValue& present)
{
    if (const DWORD code = present.Refusal())
        return code;
    if (value.Empty() && !present.Exists())
        return ERROR_SUCCESS; // a value that comes into being would ask for a restart
    if (const DWORD code = value.Store(key, valueName_))
        return code;
    value_.Swap(value);
    return ERROR_SUCCESS;
}

/** Counts from an entry on, as AddTo adds. */
size_t PendingFileInfoNT::CountChars(DWORD first)
{
    size_t chars = 0;
    for (DWORD index = first; index < EntryCount(); ++index) {
        if (!EntryAt(index)->Removed())
            chars += RenameValue::CharsOf(*EntryAt(index));
    }
    return chars;
}

void PendingFileInfoNT::AddTo(RenameValue& pairs, DWORD first)
{
    for (DWORD index = first; index < EntryCount(); ++index) {
        if (!EntryAt(index)->Removed())
            pairs.Add(*EntryAt(index));
    }
}

} // namespace tarvo
