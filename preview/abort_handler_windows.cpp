// Console control handler and exception filter.
#include "preview/abort_handler.h"

#include <windows.h>

#include <cstdio>

#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

std::atomic<bool> stopRequested = false;

void Print(const char* text) {
    std::fprintf(stderr, "preview: %s\n", text);
    std::fflush(stderr);
}

void Abort(const char* reason) {
    Print(reason);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::Failed));
}

/// A frame may take long, and a driver may compile a shader for minutes: the second Ctrl-C does not wait.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    const bool again = stopRequested.exchange(true);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        // The console is closing or the user is logging off. The system kills the process after 5 seconds, or
        // as soon as this returns: give the run time to end by itself.
        Sleep(5000);
    } else if (again) {
        Abort("interrupted");
    } else {
        Print("stopping after this frame; press Ctrl-C again to stop immediately");
    }
    return TRUE;
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* pointers) {
    char reason[64];
    std::snprintf(reason, sizeof reason, "the module crashed (exception 0x%08lX)",
                  static_cast<unsigned long>(pointers->ExceptionRecord->ExceptionCode));
    Abort(reason);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

const std::atomic<bool>& HandleAborts() {
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    SetUnhandledExceptionFilter(OnCrash);
    return stopRequested;
}

}  // namespace pixelforge::preview
