// The library entry and the exports about the library itself.

#include "frame/library_entry.h"

#include "frame/scope.h"
#include "frame/trace.h"
#include "frame/version.h"
#include "tarvo/tarvo.h"

namespace tarvo {
namespace {

constexpr int kStageCount = static_cast<int>(ReleaseStage::kCount);

constinit HINSTANCE libraryInstance = nullptr;
constinit bool loadedInSetup = false;
using Release = void (*)();
constinit Release releases[kStageCount] = {};

void RunRelease(ReleaseStage stage)
{
    if (const Release release = releases[static_cast<int>(stage)])
        release();
}

void Attach(HINSTANCE instance)
{
    libraryInstance = instance;
    OpenTraceRoot();
}

void Detach()
{
    RunRelease(ReleaseStage::kSecurityPolicies);
    RunRelease(ReleaseStage::kCurrentSid);
    RunRelease(ReleaseStage::kProgressDialog);
    CloseTraceRoot();
    RunRelease(ReleaseStage::kPendingList);
    RunRelease(ReleaseStage::kUninstallLog);
}

} // namespace

void ReleaseAtUnload(ReleaseStage stage, void (*release)())
{
    releases[static_cast<int>(stage)] = release;
}

HINSTANCE LibraryInstance()
{
    return libraryInstance;
}

bool IsLoadedInSetup()
{
    return loadedInSetup;
}

} // namespace tarvo

using namespace tarvo;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH)
        Attach(instance);
    // When the process ends, the system has already stopped its other threads
    // wherever they were, perhaps inside the heap: what is left goes with it.
    if (reason == DLL_PROCESS_DETACH && !processEnds)
        Detach();
    return TRUE;
}

HINSTANCE __cdecl TARVO_GetTarvoDllInstance(void)
{
    FunctionScope scope("TARVO_GetTarvoDllInstance", 0);
    TracePrint(kInfo, 1, "DLL instance of TARVO.DLL is [%x]\n", reinterpret_cast<unsigned>(libraryInstance));
    scope.Ok();
    return libraryInstance;
}

void __cdecl TARVO_LoadedInSetup(void)
{
    loadedInSetup = true;
}

void __stdcall TARVO_DelayLoadInitialize(void) {}
