// The exports over the pending list of the library.

#include <new>

#include "base/multibyte.h"
#include "base/path.h"
#include "files/source_copy.h"
#include "frame/library_entry.h"
#include "frame/scope.h"
#include "pending/clearing.h"
#include "pending/list_nt.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/**
 * The list lies in zeroed memory that takes no room in the file; it is made on first use. The second one is made once
 * its value is there; nothing is added to it.
 */
struct GlobalLists {
    alignas(PendingFileInfoNT) unsigned char place[sizeof(PendingFileInfoNT)];
    PendingFileInfoNT* list;
    PendingFileInfoNT* second;
};

constinit GlobalLists global = {};
constinit DWORD immediateFlush = 1;

void ReleaseLists()
{
    // Changes not yet written are lost with them, as agreed with callers.
    global.list->~PendingFileInfoNT();
    global.list = nullptr;
    delete global.second;
    global.second = nullptr;
}

PendingFileInfoNT& List()
{
    if (!global.list) {
        global.list = new (global.place) PendingFileInfoNT;
        ReleaseAtUnload(ReleaseStage::kPendingList, ReleaseLists);
    }
    return *global.list;
}

/** A change of both lists. */
struct ListChange {
    SessionManagerKey key;
    PendingChange first = {key};
    PendingChange second = {key};
};

/** Makes the second list on need. @return 0; the registry's code; or ERROR_NOT_ENOUGH_MEMORY */
DWORD LookForSecond(SessionManagerKey& key)
{
    if (global.second)
        return ERROR_SUCCESS;
    if (const DWORD code = key.Open())
        return code;
    const LSTATUS code = RegQueryValueExW(key.Get(), kSecondRenameValue, nullptr, nullptr, nullptr, nullptr);
    if (code != ERROR_SUCCESS)
        return code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : static_cast<DWORD>(code);
    global.second = new (std::nothrow) PendingFileInfoNT(kSecondRenameValue);
    return global.second ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

/** Loads both lists by a function of theirs, the second where there is one. */
DWORD LoadBoth(DWORD (PendingFileInfoNT::*load)(PendingChange&), ListChange& change)
{
    if (const DWORD code = (List().*load)(change.first))
        return code;
    if (const DWORD code = LookForSecond(change.key))
        return code;
    return global.second ? (global.second->*load)(change.second) : ERROR_SUCCESS;
}

DWORD LoadOnNeed()
{
    ListChange change;
    return List().InfoReceived() ? ERROR_SUCCESS : LoadBoth(&PendingFileInfoNT::ReceiveInfo, change);
}

DWORD Update(ListChange& change)
{
    FunctionScope scope("TARVO_UpdatePFOsInfo", 0);
    DWORD code = List().UpdateInfo(change.first);
    if (code == ERROR_SUCCESS && global.second)
        code = global.second->UpdateInfo(change.second);
    return scope.End(code);
}

DWORD FlushIfImmediate(ListChange& change)
{
    return immediateFlush ? Update(change) : ERROR_SUCCESS;
}

DWORD Schedule(const char* source, const char* target)
{
    ListChange change;
    if (IsEmpty(source))
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = List().LoadToChange(change.first))
        return code;
    if (const DWORD code = List().AddEntry(source, target ? target : "", kPlain))
        return code;
    return FlushIfImmediate(change);
}

DWORD Remove(const char* source, const char* destination, PendingFileInfo::Witness* witness)
{
    ListChange change;
    if (const DWORD code = LoadBoth(&PendingFileInfoNT::LoadToChange, change))
        return code;
    const char* const target = destination && EqualNoCase(destination, "NUL") ? "" : destination; // deletions only
    bool removed = List().RemoveEntries(source, target, kPlain, witness);
    if (global.second)
        removed |= global.second->RemoveEntries(source, target, kPlain, witness);
    TracePrint(kInfo, 1, "%s", removed ? "Entry(ies) was successfully deleted.\n" : "Entry does not exist.\n");
    return FlushIfImmediate(change);
}

DWORD RemoveTraced(const char* source, const char* destination, PendingFileInfo::Witness* witness)
{
    FunctionScope scope("TARVO_RemovePendingFileOperation", 0);
    TracePrint(kInfo, 1, "Source: [%s], destination: [%s]\n", Shown(source), Shown(destination));
    return scope.End(Remove(source, destination, witness));
}

/** Deletes the source copies that were staged for renames which are taken off. */
struct StagedCopies final : PendingFileInfo::Witness {
    explicit StagedCopies(const char* sparedPath) : spared(sparedPath) {}

    void Tell(PendingFileInfo& list, const PendingFileEntry& entry) override
    {
        PathText source;
        PathText target;
        list.UnFormatEntry(entry, source.Buffer(), target.Buffer());
        if (IsSourceCopy(source.Get(), target.Get()) && !(spared && EqualNoCase(source.Get(), spared)))
            DeleteSourceCopy(source.Get());
    }

    const char* spared; // or NULL
};

/** @param role  What the path is in the entries looked for, as the log names it. */
DWORD FindTraced(PendingFileInfo& list, const char* source, const char* target, const char* role)
{
    const DWORD index = list.dwFindEntry(source, target, kPlain);
    if (index != kNoEntry)
        TracePrint(kInfo, 3, "As %s found at index [%d]\n", role, static_cast<int>(index));
    return index;
}

/** The newest entry about a path moves it away or deletes it. */
DWORD AnswerAsSource(const PendingFileEntry& entry)
{
    if (*entry.Target()) {
        TracePrint(kWarning, 2, "%s", "Found move-file record where pchDestination is a source.\n");
        return ERROR_FILE_NOT_FOUND;
    }
    TracePrint(kInfo, 2, "%s", "Found deletion record.\n");
    return ERROR_SUCCESS;
}

/** @return false if the list says nothing of the destination. */
bool FindIn(PendingFileInfo& list, const char* destination, char* source, DWORD& code)
{
    const DWORD asTarget = FindTraced(list, nullptr, destination, "destination");
    const DWORD asSource = FindTraced(list, destination, nullptr, "source");
    if (asTarget == kNoEntry && asSource == kNoEntry)
        return false;
    if (asTarget == kNoEntry || (asSource != kNoEntry && asTarget <= asSource)) {
        code = AnswerAsSource(*list.EntryAt(asSource));
        return true;
    }
    list.UnFormatEntry(*list.EntryAt(asTarget), source, nullptr);
    TracePrint(kInfo, 2, "Return unformatted source: [%s]\n", source);
    code = ERROR_SUCCESS;
    return true;
}

DWORD FindSource(const char* destination, char* source, DWORD size)
{
    if (!destination || !source)
        return ERROR_INVALID_PARAMETER;
    if (size < MAX_PATH)
        return ERROR_INSUFFICIENT_BUFFER;
    *source = '\0';
    DWORD code = LoadOnNeed();
    if (code != ERROR_SUCCESS || (global.second && FindIn(*global.second, destination, source, code)) ||
        FindIn(List(), destination, source, code))
        return code;
    TracePrint(kInfo, 3, "%s", "Not found.\n");
    return ERROR_FILE_NOT_FOUND;
}

} // namespace

void ClearRenamesOnto(const char* path, const char* spared)
{
    StagedCopies staged(spared);
    RemoveTraced(nullptr, path, &staged);
}

void ClearPendingEntries(const char* path, const char* spared)
{
    ClearRenamesOnto(path, spared);
    TARVO_RemovePendingFileOperation(path, nullptr);
}

} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ReceivePFOsInfo(void)
{
    FunctionScope scope("TARVO_ReceivePFOsInfo", 0);
    ListChange change;
    return scope.End(LoadBoth(&PendingFileInfoNT::ReceiveInfo, change));
}

DWORD __cdecl TARVO_UpdatePFOsInfo(void)
{
    ListChange change;
    return Update(change);
}

DWORD __cdecl TARVO_RenameAfterReboot(const char* source, const char* target)
{
    FunctionScope scope("TARVO_RenameAfterReboot", 0);
    TracePrint(kInfo, 1, "From [%s] to [%s]\n", Shown(source), Shown(target));
    return scope.End(Schedule(source, target));
}

DWORD __cdecl TARVO_RemovePendingFileOperation(const char* source, const char* destination)
{
    return RemoveTraced(source, destination, nullptr);
}

DWORD __cdecl TARVO_FindSourceInPFOs(const char* destination, char* source, DWORD size)
{
    FunctionScope scope("TARVO_FindSourceInPFOs", 0);
    TracePrint(kInfo, 1, "Destination: [%s], dwSize: [%d]\n", Shown(destination), static_cast<int>(size));
    return scope.End(FindSource(destination, source, size));
}

void __cdecl TARVO_SetPFOsImmediateFlush(DWORD flag)
{
    FunctionScope scope("TARVO_SetPFOsImmediateFlush", 0);
    TracePrint(kInfo, 1, "Set flag to [%d]\n", static_cast<int>(flag));
    immediateFlush = flag;
}
