// Handles console interrupts and crashes of the process.
#include "preview/early_end.h"

#include <windows.h>

#include <cstdio>

#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

std::atomic<bool> stopWanted = false;
std::atomic<ShaderDrop*> guardedDrop = nullptr;

/// The system ends a program soon after its console was closed or its session ended, and at once when
/// the handler returns; so it waits for the run to clean up, for as long as the system grants anyway.
constexpr DWORD kLongestWaitMilliseconds = 5000;
constexpr DWORD kWaitStepMilliseconds = 10;

BOOL WINAPI OnConsoleEvent(DWORD event) {
    stopWanted = true;
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        for (DWORD waited = 0; guardedDrop != nullptr && waited < kLongestWaitMilliseconds;
             waited += kWaitStepMilliseconds) {
            Sleep(kWaitStepMilliseconds);
        }
    }
    return TRUE;
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* pointers) {
    if (ShaderDrop* drop = guardedDrop.exchange(nullptr)) {
        drop->Remove();
    }
    std::fprintf(stderr, "preview: the module crashed (exception 0x%08lX)\n",
                 static_cast<unsigned long>(pointers->ExceptionRecord->ExceptionCode));
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitStatus::Failed));
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

EarlyEndGuard::EarlyEndGuard(ShaderDrop& drop) {
    stopWanted = false;
    guardedDrop = &drop;
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    SetUnhandledExceptionFilter(OnCrash);
}

EarlyEndGuard::~EarlyEndGuard() {
    SetUnhandledExceptionFilter(nullptr);
    SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    if (ShaderDrop* drop = guardedDrop.exchange(nullptr)) {
        drop->Remove();
    }
}

const std::atomic<bool>& EarlyEndGuard::StopWanted() const noexcept {
    return stopWanted;
}

}  // namespace pixelforge::preview
