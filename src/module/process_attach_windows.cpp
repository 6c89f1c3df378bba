// Process attach and detach.
#include <windows.h>

#include <mutex>

#include "base/heap.h"
#include "base/win_handles.h"
#include "inputs/audio_capture.h"
#include "module/host_folders.h"

#ifdef __GLIBCXX__
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace {

/// Guards the use count, although the system serialises these calls. Created by attach and destroyed by
/// detach; a static object would also be destroyed at process exit.
pixelforge::CriticalSection* loadLock = nullptr;
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

void DestroyLoadLock() {
    pixelforge::HeapRecord<pixelforge::CriticalSection>(loadLock).reset();
    loadLock = nullptr;
}

bool AddUse() {
    const std::lock_guard lock(*loadLock);
    if (loadCount == 0 && !StartSharedServices()) {
        return false;
    }
    ++loadCount;
    return true;
}

bool Attach(HMODULE module) {
    loadLock = pixelforge::NewHeapRecord<pixelforge::CriticalSection>().release();
    if (!loadLock) {
        return false;
    }
    if (!AddUse()) {
        DestroyLoadLock();
        return false;
    }
    DisableThreadLibraryCalls(module);
    return true;
}

void RemoveUse() {
    const std::lock_guard lock(*loadLock);
    if (loadCount == 1) {
        pixelforge::StopAudioCapture();
    }
    --loadCount;
}

void Detach() {
    // The system also calls this after a refused load, when the lock no longer exists.
    if (loadCount == 0) {
        return;
    }
    RemoveUse();
    if (loadCount == 0) {
        DestroyLoadLock();
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

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        return Attach(module) ? TRUE : FALSE;
    }
    // At process exit the other threads are already gone, and the locks that they held stay locked.
    if (reason == DLL_PROCESS_DETACH && !processEnds) {
        Detach();
        FreeExceptionReserve();
    }
    return TRUE;
}
