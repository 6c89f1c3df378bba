// Process attach and detach.
#include <windows.h>

#include <cxxabi.h>

#include <mutex>
#include <utility>

#include "base/heap.h"
#include "base/win_handles.h"
#include "inputs/audio_capture.h"
#include "module/host_folders.h"
#include "render/window_input.h"

#ifdef __GLIBCXX__
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace {

/// The C++ library's state of exceptions in one thread.
struct ExceptionState {
    void* caught;
    unsigned int uncaught;
};

DWORD exceptionSlot = FLS_OUT_OF_INDEXES;

/// For all threads without a state of their own: the process has no free slot, or no memory is left.
ExceptionState sharedExceptionState = {};

/// The system calls this at the end of each thread and, for all threads, when the slot is freed.
void WINAPI FreeExceptionState(void* state) {
    pixelforge::ReleaseHeapBlock(state);
}

/// Guards the use count. The system serialises these calls; a detach may come on the capture pool's thread.
constinit pixelforge::SlimLock loadLock;
int loadCount = 0;

/// The live inputs and the cache folders are shared by all instances. Sound capture comes first because only
/// its failure makes the load fail.
bool StartSharedServices() {
    if (pixelforge::StartAudioCapture() == 0) {
        return false;
    }
    pixelforge::PrepareHostFolders();
    return true;
}

bool AddUse() {
    const std::lock_guard lock(loadLock);
    if (loadCount == 0 && !StartSharedServices()) {
        return false;
    }
    ++loadCount;
    return true;
}

bool Attach(HMODULE module) {
    exceptionSlot = FlsAlloc(FreeExceptionState);
    if (!AddUse()) {
        return false;
    }
    DisableThreadLibraryCalls(module);
    return true;
}

/// The system also calls this after a refused load, when the count is 0.
void Detach() {
    const std::lock_guard lock(loadLock);
    if (loadCount == 1) {
        pixelforge::StopAudioCapture();
    }
    loadCount -= loadCount > 0 ? 1 : 0;
}

void FreeExceptionSlot() {
    const DWORD slot = std::exchange(exceptionSlot, FLS_OUT_OF_INDEXES);
    if (slot != FLS_OUT_OF_INDEXES) {
        FlsFree(slot);
    }
}

/// On load, the C++ library linked into this DLL allocates a 70 KB reserve for exceptions and never frees it.
/// No exception is thrown after this.
void FreeExceptionReserve() {
#ifdef __GLIBCXX__
    __gnu_cxx::__freeres();
#endif
}

}  // namespace

#ifdef __GLIBCXX__
// Replace the C++ library's own functions, whose state is kept by the thread library: that leaves four
// handles and a thread-local slot of the process in use at each unload after an exception.
namespace __cxxabiv1 {

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    void* const own = exceptionSlot != FLS_OUT_OF_INDEXES ? FlsGetValue(exceptionSlot) : nullptr;
    return static_cast<__cxa_eh_globals*>(own ? own : &sharedExceptionState);
}

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept {
    if (exceptionSlot != FLS_OUT_OF_INDEXES && !FlsGetValue(exceptionSlot)) {
        void* const created = pixelforge::AllocateHeapBlock(sizeof(ExceptionState));
        if (created && !FlsSetValue(exceptionSlot, created)) {
            pixelforge::ReleaseHeapBlock(created);
        }
    }
    return __cxa_get_globals_fast();
}

}  // namespace __cxxabiv1
#endif

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        return Attach(module) ? TRUE : FALSE;
    }
    // At process exit the other threads are already gone, and the locks that they held stay locked.
    if (reason == DLL_PROCESS_DETACH && !processEnds) {
        pixelforge::RestoreAllWindows();
        Detach();
        FreeExceptionReserve();
        FreeExceptionSlot();
    }
    return TRUE;
}
