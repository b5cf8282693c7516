// The exports over the one pending list of the library.

#include <new>

#include "base/multibyte.h"
#include "frame/library_entry.h"
#include "frame/scope.h"
#include "pending/list_nt.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

/** The list lies in zeroed memory that takes no room in the file; it is made on first use. */
struct GlobalList {
    alignas(PendingFileInfoNT) unsigned char place[sizeof(PendingFileInfoNT)];
    PendingFileInfoNT* list;
};

constinit GlobalList global = {};
constinit DWORD immediateFlush = 1;

void ReleaseList()
{
    // Changes not yet written are lost with it, as agreed with callers.
    global.list->~PendingFileInfoNT();
    global.list = nullptr;
}

PendingFileInfoNT& List()
{
    if (!global.list) {
        global.list = new (global.place) PendingFileInfoNT;
        ReleaseAtUnload(ReleaseStage::kPendingList, ReleaseList);
    }
    return *global.list;
}

DWORD LoadOnNeed()
{
    return List().InfoReceived() ? ERROR_SUCCESS : List().ReceiveInfo();
}

DWORD Update(PendingChange& change)
{
    FunctionScope scope("TARVO_UpdatePFOsInfo", 0);
    return scope.End(List().UpdateInfo(change));
}

DWORD FlushIfImmediate(PendingChange& change)
{
    return immediateFlush ? Update(change) : ERROR_SUCCESS;
}

DWORD Schedule(const char* source, const char* target)
{
    PendingChange change;
    if (IsEmpty(source))
        return ERROR_INVALID_PARAMETER;
    if (const DWORD code = List().LoadToChange(change))
        return code;
    if (const DWORD code = List().AddEntry(source, target ? target : "", kPlain))
        return code;
    return FlushIfImmediate(change);
}

DWORD Remove(const char* source, const char* destination)
{
    PendingChange change;
    if (const DWORD code = List().LoadToChange(change))
        return code;
    const bool deletionsOnly = destination && EqualNoCase(destination, "NUL");
    const bool removed = List().RemoveEntries(source, deletionsOnly ? "" : destination, kPlain);
    TracePrint(kInfo, 1, "%s", removed ? "Entry(ies) was successfully deleted.\n" : "Entry does not exist.\n");
    return FlushIfImmediate(change);
}

/** @param role  What the path is in the entries looked for, as the log names it. */
DWORD FindTraced(const char* source, const char* target, const char* role)
{
    const DWORD index = List().dwFindEntry(source, target, kPlain);
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

DWORD FindSource(const char* destination, char* source, DWORD size)
{
    if (!destination || !source)
        return ERROR_INVALID_PARAMETER;
    if (size < MAX_PATH)
        return ERROR_INSUFFICIENT_BUFFER;
    *source = '\0';
    if (const DWORD code = LoadOnNeed())
        return code;
    const DWORD asTarget = FindTraced(nullptr, destination, "destination");
    const DWORD asSource = FindTraced(destination, nullptr, "source");
    if (asTarget == kNoEntry && asSource == kNoEntry) {
        TracePrint(kInfo, 3, "%s", "Not found.\n");
        return ERROR_FILE_NOT_FOUND;
    }
    if (asTarget == kNoEntry || (asSource != kNoEntry && asTarget <= asSource))
        return AnswerAsSource(*List().EntryAt(asSource));
    List().UnFormatEntry(*List().EntryAt(asTarget), source, nullptr);
    TracePrint(kInfo, 2, "Return unformatted source: [%s]\n", source);
    return ERROR_SUCCESS;
}

} // namespace
} // namespace tarvo

using namespace tarvo;

DWORD __cdecl TARVO_ReceivePFOsInfo(void)
{
    FunctionScope scope("TARVO_ReceivePFOsInfo", 0);
    return scope.End(List().ReceiveInfo());
}

DWORD __cdecl TARVO_UpdatePFOsInfo(void)
{
    PendingChange change;
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
    FunctionScope scope("TARVO_RemovePendingFileOperation", 0);
    TracePrint(kInfo, 1, "Source: [%s], destination: [%s]\n", Shown(source), Shown(destination));
    return scope.End(Remove(source, destination));
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
