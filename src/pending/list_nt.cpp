#include "pending/list_nt.h"

#include <cstring>

#include "base/multibyte.h"
#include "base/path.h"
#include "frame/scope.h"

namespace tarvo {
namespace {

/** The prefixes of the stored form, for one of an entry's two texts. */
struct StoredForm {
    const char* local;
    const char* unc;  // stands for the two backslashes of a UNC path
    size_t minLength; // a shorter text is no path
};

constexpr StoredForm kSourceForm = {"\\??\\", "\\??\\UNC\\", 5};
constexpr StoredForm kTargetForm = {"!\\??\\", "!\\??\\UNC\\", 6};

DWORD FormatText(const char* plain, const StoredForm& form, HeapText& stored)
{
    if (!plain)
        return ERROR_SUCCESS;
    bool made = false;
    if (!*plain)
        made = stored.Copy("");
    else if (plain[0] == '\\' && plain[1] == '\\')
        made = stored.Join(form.unc, plain + 2);
    else
        made = stored.Join(form.local, plain);
    return made ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

/** @param plain  MAX_PATH bytes, or NULL. @return false, the text handed out as it is, for another form. */
bool UnFormatText(const char* stored, const StoredForm& form, char* plain)
{
    if (!plain)
        return true;
    PathText path;
    bool known = true;
    if (!stored || strlen(stored) < form.minLength) {
        path.Clear();
    } else if (StartsWithNoCase(stored, form.unc)) {
        path.Format("\\\\%s", stored + strlen(form.unc));
    } else if (StartsWithNoCase(stored, form.local)) {
        path.SetCut(stored + strlen(form.local));
    } else {
        path.SetCut(stored);
        known = false;
    }
    CopyCut(plain, MAX_PATH, path.Get());
    return known;
}

DWORD OpenSessionManager(UniqueRegistryKey& key)
{
    return static_cast<DWORD>(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_ALL_ACCESS, key.Put()));
}

} // namespace

DWORD PendingFileInfoNT::FormatEntry(PendingFileEntry& entry, const char* source, const char* target)
{
    FunctionScope scope("PendingFileInfoNT::FormatEntry", 2);
    TracePrint(kInfo, 3, "Entry ptr=[%x], Source=[%s], target=[%s]\n", reinterpret_cast<unsigned>(&entry),
               Shown(source), Shown(target));
    HeapText storedSource;
    HeapText storedTarget;
    if (const DWORD code = FormatText(source, kSourceForm, storedSource)) {
        TracePrint(kWarning, 3, "%s", "Can't allocate memory.\n");
        return scope.Error(code);
    }
    if (const DWORD code = FormatText(target, kTargetForm, storedTarget)) {
        TracePrint(kWarning, 0, "%s", "Can't allocate memory.\n");
        return scope.Error(code);
    }
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
        UnFormatText(entry.Source(), kSourceForm, source) && UnFormatText(entry.Target(), kTargetForm, target);
    return known ? scope.Ok() : scope.Error(0xFFFFFFFF);
}

DWORD PendingFileInfoNT::ReceiveInfo()
{
    FunctionScope scope("PendingFileInfoNT::ReceiveInfo", 2);
    if (InfoReceived()) {
        TracePrint(kInfo, 3, "%s", "Info is received, updating info...\n");
        UpdateInfo();
        ReleaseInfo();
    }
    UniqueRegistryKey key;
    if (const DWORD code = OpenSessionManager(key)) {
        TracePrint(kError, 3, "RegOpenKeyEx failed to open [%s], error code: [%d].\n", kSessionManagerKey,
                   static_cast<int>(code));
        return code; // without Error: whoever called reports it
    }
    const DWORD code = LoadFrom(key.Get());
    if (code == ERROR_SUCCESS)
        SetReceived();
    else
        ReleaseInfo();
    return scope.End(code);
}

DWORD PendingFileInfoNT::ReceiveInfoToAdd()
{
    // A full table may have room again by now, which only reading tells.
    const bool believable = !IsTracing() && !InfoReceived() && KeptCount() < kMaxEntries;
    if (!believable || !BringBackKept())
        return ReceiveInfo();
    SetReceived();
    believed_ = true;
    return ERROR_SUCCESS;
}

void PendingFileInfoNT::DropBelief()
{
    if (believed_)
        ReleaseInfo();
    believed_ = false;
}

DWORD PendingFileInfoNT::LoadFrom(HKEY key)
{
    if (const DWORD code = next_.Read(key))
        return code;
    // What this list has written itself need not be taken apart again, but for
    // the log.
    if (!IsTracing() && next_.SameAs(value_) && BringBackKept())
        return ERROR_SUCCESS;
    ForgetKept();
    value_.Swap(next_);
    return AddPairs();
}

DWORD PendingFileInfoNT::AddPairs()
{
    PairReader pairs(value_);
    PairReader::Text source;
    PairReader::Text target;
    TextNarrower texts[2];
    while (pairs.Next(source, target)) {
        if (const DWORD code = AddPair(source, target, texts))
            return code;
    }
    return ERROR_SUCCESS;
}

DWORD PendingFileInfoNT::AddPair(PairReader::Text source, PairReader::Text target, TextNarrower (&texts)[2])
{
    ExactText exactSource;
    ExactText exactTarget;
    if (const DWORD code = texts[0].Narrow(source, exactSource))
        return code;
    if (const DWORD code = texts[1].Narrow(target, exactTarget))
        return code;
    if (const DWORD code = AddEntry(texts[0].Get(), texts[1].Get(), kStored)) {
        TracePrint(kWarning, 3, "%s", "AddEntry failed.\n");
        return code;
    }
    EntryAt(EntryCount() - 1)->SetExact(static_cast<ExactText&&>(exactSource), static_cast<ExactText&&>(exactTarget));
    return ERROR_SUCCESS;
}

DWORD PendingFileInfoNT::UpdateInfo()
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
    UniqueRegistryKey key;
    if (const DWORD code = OpenSessionManager(key)) {
        TracePrint(kError, 3, "RegOpenKeyEx failed to open [%s], error code: [%d]\n", kSessionManagerKey,
                   static_cast<int>(code));
        DropBelief();
        return scope.Error(code);
    }
    if (const DWORD code = MergeInto(key.Get()))
        return scope.Error(code);
    ReleaseInfo();
    return scope.Ok();
}

/** Holds what another list has read; what cannot be taken apart counts as empty. */
void PendingFileInfoNT::Adopt(RenameValue& value)
{
    value_.Swap(value);
    if (AddPairs() != ERROR_SUCCESS)
        ReleaseInfo();
}

/** Writes this list, and behind it what only the value, read again, holds. */
DWORD PendingFileInfoNT::MergeInto(HKEY key)
{
    const bool believed = believed_;
    believed_ = false;
    // Of a value that is still as it was received, every pair is in this list:
    // a second list would only show in the log.
    const bool readAgain = !IsTracing() && next_.Read(key) == ERROR_SUCCESS;
    if (readAgain && next_.SameAs(value_))
        return StoreOwn(key);
    UniqueObject<PendingFileInfoNT> others = MakeHeapObject<PendingFileInfoNT>();
    if (!others) {
        TracePrint(kWarning, 3, "%s", "Can't allocate memory.\n");
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (believed)
        return CorrectBelief(key, *others.Get());
    if (readAgain)
        others.Get()->Adopt(next_);
    else
        others.Get()->ReceiveInfo(); // what cannot be read counts as empty
    for (DWORD index = 0; index < others.Get()->EntryCount(); ++index) {
        PendingFileEntry& entry = *others.Get()->EntryAt(index);
        entry.SetRemoved(HasEntryOf(entry));
    }
    return StoreMerged(key, *others.Get());
}

/** Others have changed the value: loads the list from it after all, adds the additions to that, and writes it. */
DWORD PendingFileInfoNT::CorrectBelief(HKEY key, PendingFileInfoNT& additions)
{
    DWORD code = ERROR_SUCCESS;
    for (DWORD index = KeptCount(); index < EntryCount() && code == ERROR_SUCCESS; ++index)
        code = additions.AddEntry(EntryAt(index)->Source(), EntryAt(index)->Target(), kStored);
    ReleaseInfo();
    if (code == ERROR_SUCCESS)
        code = LoadFrom(key);
    if (code == ERROR_SUCCESS)
        SetReceived();
    else
        ReleaseInfo();
    for (DWORD index = 0; index < additions.EntryCount() && code == ERROR_SUCCESS; ++index)
        code = AddEntry(additions.EntryAt(index)->Source(), additions.EntryAt(index)->Target(), kStored);
    return code == ERROR_SUCCESS ? StoreOwn(key) : code;
}

/** Writes this list alone; the value is as it was received, and so is next_. */
DWORD PendingFileInfoNT::StoreOwn(HKEY key)
{
    if (EntryCount() == 0)
        return ERROR_SUCCESS;
    const DWORD kept = KeptCount();
    if (kept)
        next_.Reopen();
    else
        next_.Clear();
    if (const DWORD code = next_.ReserveFurther(CountChars(kept)))
        return code;
    const bool allAdded = AddTo(next_, kept);
    if (const DWORD code = next_.Store(key))
        return code;
    ForgetKept();
    value_.Swap(next_);
    if (allAdded)
        KeepEntries();
    return ERROR_SUCCESS;
}

DWORD PendingFileInfoNT::StoreMerged(HKEY key, PendingFileInfoNT& others)
{
    if (EntryCount() == 0 && others.EntryCount() == 0)
        return ERROR_SUCCESS;
    next_.Clear();
    if (const DWORD code = next_.ReserveFurther(CountChars(0) + others.CountChars(0)))
        return code;
    AddTo(next_, 0);
    others.AddTo(next_, 0);
    return next_.Store(key);
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

/** @return whether there was no removed entry among them. */
bool PendingFileInfoNT::AddTo(RenameValue& pairs, DWORD first)
{
    bool all = true;
    for (DWORD index = first; index < EntryCount(); ++index) {
        if (EntryAt(index)->Removed())
            all = false;
        else
            pairs.Add(*EntryAt(index));
    }
    return all;
}

} // namespace tarvo
