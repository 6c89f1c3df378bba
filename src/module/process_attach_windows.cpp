// What happens when the library is loaded into a process and unloaded from it.
#include <windows.h>

#include <cstddef>

#include "inputs/audio_capture.h"
#include "module/host_folders.h"

#ifdef __GLIBCXX__
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace {

// Guards the use count. The system serialises these calls already; the section also covers what later
// runs beside them on threads of the module's own.
CRITICAL_SECTION loadLock;
int loadCount = 0;

/// The live inputs and the cache folders are shared by all instances. The sound capture starts here
/// first, because a failure refuses the load; the cache folders are prepared after it.
bool StartSharedServices() {
    if (pixelforge::StartAudioCapture() == 0) {
        return false;
    }
    pixelforge::PrepareHostFolders();
    return true;
}

void StopSharedServices() {
    pixelforge::StopAudioCapture();
}

bool Attach(HMODULE module) {
    InitializeCriticalSection(&loadLock);
    EnterCriticalSection(&loadLock);
    if (loadCount == 0 && !StartSharedServices()) {
        LeaveCriticalSection(&loadLock);
        DeleteCriticalSection(&loadLock);
        return false;
    }
    ++loadCount;
    LeaveCriticalSection(&loadLock);
    DisableThreadLibraryCalls(module);
    return true;
}

void Detach() {
    // The system calls this after a refused load too, when the lock is gone already.
    if (loadCount == 0) {
        return;
    }
    EnterCriticalSection(&loadLock);
    if (loadCount == 1) {
        StopSharedServices();
    }
    --loadCount;
    LeaveCriticalSection(&loadLock);
    if (loadCount == 0) {
        DeleteCriticalSection(&loadLock);
    }
}

/// The C++ library inside this one takes 70 KB for exceptions in need when it is loaded, and would leave them
/// behind at every unloading. No exception is thrown after this.
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
    // When the process ends its other threads are gone already, and what they held stays locked.
    if (reason == DLL_PROCESS_DETACH && !processEnds) {
        Detach();
        FreeExceptionReserve();
    }
    return TRUE;
}
