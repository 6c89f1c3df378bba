// The capture thread: start, loop and stop.
#include "inputs/audio_capture.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "base/heap.h"
#include "base/win_handles.h"
#include "inputs/audio_stream.h"

namespace pixelforge {
namespace {

constexpr LONGLONG kPassDueTime100ns = -180'000;  ///< relative
constexpr DWORD kPassMilliseconds = 18;

/// Between attempts to open a device, and after losing one.
constexpr DWORD kRetryMilliseconds = 2000;

/// Consecutive failing passes, about one second, after which the device counts as lost.
constexpr int kMaxFailingPasses = 50;

/// About two seconds. When the user switches devices, the old one may keep delivering silence.
constexpr unsigned kPassesPerDeviceCheck = 100;

constexpr DWORD kStopTimeoutMilliseconds = 1000;

/// How long an opening can delay the unload.
constexpr DWORD kHoldTimeoutMilliseconds = 30'000;

SpectrumBytes AudioSpectrum = {};

// No destructors: process exit kills the thread at an arbitrary point, perhaps while it holds the heap lock,
// so nothing here may be touched then.
constinit SlimLock audioLock;  ///< guards `AudioSpectrum`
std::atomic<std::int32_t> audioUsers{0};
std::atomic<std::int32_t> audioStop{1};     ///< the stream must be closed: no listener, or the unload
std::atomic<std::int32_t> audioUnload{0};   ///< the thread must leave this library's code
std::atomic<std::int32_t> audioStarted{0};  ///< the thread has entered `CaptureProcedure`
std::atomic<std::int32_t> audioAttempt{0};  ///< raised for each first listener; ends older attempts
std::atomic<HANDLE> audioThread{nullptr};
HANDLE audioStopEvent = nullptr;     ///< set together with `audioStop`
HANDLE audioWakeEvent = nullptr;     ///< wakes the idle thread; resets itself
HANDLE audioSettledEvent = nullptr;  ///< set by the thread while it neither opens nor closes a stream
HANDLE audioFreedEvent = nullptr;    ///< set while no hold exists
HANDLE audioClosedEvent = nullptr;   ///< set while the thread is idle, without objects of the sound system
HANDLE audioDoneEvent = nullptr;     ///< set once the thread has left this library's code
constinit SlimLock listenerLock;     ///< guards the count and what follows from a change
int audioListeners = 0;
PTP_POOL audioPool = nullptr;
PTP_WORK audioWork = nullptr;
PTP_WORK audioHold = nullptr;
std::atomic<HMODULE> audioLibrary{nullptr};  ///< a listener's reference, for the next hold
std::atomic<HMODULE> heldLibrary{nullptr};   ///< the reference of the submitted `audioHold`
SpectrumState* audioState = nullptr;

void AddFrames(const SampleFormat& format, const std::byte* frames, std::uint32_t count) noexcept {
    if (!IsReadable(format)) {
        return;
    }
    while (count > 0) {
        const std::span<double> room = FreeRing(*audioState);
        const std::size_t converted = std::min<std::size_t>(room.size(), count);
        ConvertFrames(format, frames, room.first(converted));
        frames += converted * format.frameBytes;
        count -= static_cast<std::uint32_t>(converted);
        if (AdvanceRing(*audioState, converted)) {
            PublishSpectrum(RunSpectrumStep(*audioState));
        }
    }
}

void RequestStop() noexcept {
    audioStop = 1;
    SetEvent(audioStopEvent);
}

void WaitForStop(DWORD milliseconds) noexcept {
    WaitForSingleObject(audioStopEvent, milliseconds);
}

/// Sleeps about 18 ms, or until the stop request.
void SleepBetweenPasses(HANDLE timer) noexcept {
    timeBeginPeriod(1);
    LARGE_INTEGER dueTime;
    dueTime.QuadPart = kPassDueTime100ns;
    if (timer && SetWaitableTimer(timer, &dueTime, 0, nullptr, nullptr, FALSE)) {
        const HANDLE handles[] = {audioStopEvent, timer};
        WaitForMultipleObjects(2, handles, FALSE, INFINITE);
    } else {
        WaitForStop(kPassMilliseconds);
    }
    timeEndPeriod(1);
}

/// Returns on the stop request, also if a new listener has withdrawn it, when the default device changes, and
/// when the device is lost.
void ReadUntilStop(LoopbackStream& stream, std::int32_t attempt) {
    const SampleFormat format = stream.Format();
    SetCaptureRate(*audioState, format.rate);
    const auto sink = [&format](const std::byte* frames, std::uint32_t count) {
        AddFrames(format, frames, count);
    };
    const UniqueKernelHandle timer(CreateWaitableTimerW(nullptr, TRUE, nullptr));
    int failingPasses = 0;
    for (unsigned pass = 1; !audioStop && attempt == audioAttempt; ++pass) {
        failingPasses = FAILED(stream.ReadPackets(sink)) ? failingPasses + 1 : 0;
        if (failingPasses == kMaxFailingPasses ||
            (pass % kPassesPerDeviceCheck == 0 && stream.DefaultDeviceChanged())) {
            return;
        }
        SleepBetweenPasses(timer.Get());
    }
}

/// Owns a reference to the library until the thread is settled: meanwhile it may be loading libraries or
/// waiting for threads that end, and if it were terminated then, the process could be left without sound. If
/// the host has already freed the library, it is unloaded when this returns, on this thread.
void CALLBACK HoldLibrary(PTP_CALLBACK_INSTANCE instance, void*, PTP_WORK) {
    FreeLibraryWhenCallbackReturns(instance, heldLibrary.exchange(nullptr));
    WaitForSingleObject(audioSettledEvent, kHoldTimeoutMilliseconds);
    SetEvent(audioFreedEvent);
}

/// Null if unavailable.
HMODULE ReferenceLibrary() noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(HoldLibrary),
                       &library);
    return library;
}

void FreeReference(HMODULE library) noexcept {
    if (library) {
        FreeLibrary(library);
    }
}

/// Keeps the library loaded until `audioSettledEvent` is set. False during an unload; the reference may even
/// wait for the unload's loader lock, and the thread is terminated there. Every callback of `audioHold` owns
/// a reference, so none is left when the library is unloaded.
bool StartHold() noexcept {
    ResetEvent(audioSettledEvent);
    HMODULE library = audioLibrary.exchange(nullptr);
    if (!library && !audioUnload) {
        library = ReferenceLibrary();
    }
    if (!library || audioUnload) {
        return false;
    }
    HMODULE submitted = nullptr;
    ResetEvent(audioFreedEvent);
    if (heldLibrary.compare_exchange_strong(submitted, library)) {
        SubmitThreadpoolWork(audioHold);
    } else {
        FreeLibrary(library);
    }
    return true;
}

void CaptureOnce(std::int32_t attempt) {
    LoopbackStream stream;
    if (SUCCEEDED(stream.Open(audioStop))) {
        SetEvent(audioSettledEvent);
        ReadUntilStop(stream, attempt);
        StartHold();
    }
    if (audioUnload) {
        stream.ReleaseDuringUnload();
    }
}

/// During the unload the apartment is abandoned: leaving it can unload servers, which needs the loader lock.
void CaptureUntilStop() {
    ComApartment apartment;
    while (!audioStop) {
        const std::int32_t attempt = audioAttempt;
        if (StartHold() && apartment) {
            CaptureOnce(attempt);
        }
        SetEvent(audioSettledEvent);
        if (attempt == audioAttempt) {
            WaitForStop(kRetryMilliseconds);
        }
    }
    if (audioUnload) {
        apartment.Abandon();
    }
}

/// Only this thread changes `audioClosedEvent`. It does so before it looks at `audioStop`, so that whoever
/// sets that and then finds the event set knows that no stream will be opened.
void ServeListeners() {
    while (!audioUnload) {
        ResetEvent(audioClosedEvent);
        if (!audioStop) {
            CaptureUntilStop();
        }
        SetEvent(audioClosedEvent);
        WaitForSingleObject(audioWakeEvent, INFINITE);
    }
}

/// A thread needs the loader lock to exit, but an unload that waits for it holds that lock. The procedure
/// therefore runs on a private thread pool: when it returns, the pool sets the event from outside this
/// library's code, and the thread exits once the lock is free.
void CALLBACK CaptureProcedure(PTP_CALLBACK_INSTANCE instance, void*, PTP_WORK) {
    audioStarted = 1;
    SetEventWhenCallbackReturns(instance, audioDoneEvent);
    HANDLE thread = nullptr;
    // Without a handle, this thread could not be terminated if it hung.
    if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        return;
    }
    audioThread = thread;
    ServeListeners();
}

void FreeAudioBuffers() noexcept {
    for (HANDLE* event : {&audioStopEvent, &audioWakeEvent, &audioSettledEvent, &audioFreedEvent,
                          &audioClosedEvent, &audioDoneEvent}) {
        UniqueKernelHandle(std::exchange(*event, nullptr)).Reset();
    }
    HeapRecord<SpectrumState>(std::exchange(audioState, nullptr)).reset();
}

bool CreateAudioBuffers() noexcept {
    audioStopEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    audioWakeEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    audioSettledEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    audioFreedEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    audioClosedEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    audioDoneEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    audioState = NewHeapRecord<SpectrumState>().release();
    return audioStopEvent && audioWakeEvent && audioSettledEvent && audioFreedEvent && audioClosedEvent &&
           audioDoneEvent && audioState;
}

/// Under Wine each load of winmm leaks handles, so it is loaded permanently.
void PinTimerLibrary() noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, L"winmm.dll", &library);
}

void CloseThread() noexcept {
    for (PTP_WORK* work : {&audioWork, &audioHold}) {
        if (*work) {
            CloseThreadpoolWork(std::exchange(*work, nullptr));
        }
    }
    if (audioPool) {
        CloseThreadpool(std::exchange(audioPool, nullptr));
    }
    UniqueKernelHandle(audioThread.exchange(nullptr)).Reset();
}

bool StartThread() noexcept {
    audioStop = 1;
    audioUnload = 0;
    audioStarted = 0;
    audioListeners = 0;
    audioPool = CreateThreadpool(nullptr);
    if (!audioPool) {
        return false;
    }
    SetThreadpoolThreadMaximum(audioPool, 2);
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackPool(&environment, audioPool);
    SetThreadpoolCallbackRunsLong(&environment);
    audioWork = CreateThreadpoolWork(CaptureProcedure, nullptr, &environment);
    audioHold = CreateThreadpoolWork(HoldLibrary, nullptr, &environment);
    // Creates the thread now, because a later failure could not be reported.
    if (!audioWork || !audioHold || !SetThreadpoolThreadMinimum(audioPool, 1)) {
        CloseThread();
        return false;
    }
    SubmitThreadpoolWork(audioWork);
    return true;
}

/// Work that has not started is cancelled: its thread is waiting for the loader lock, which the caller holds.
/// If it starts after all, it sees the stop request first.
void EndThread() noexcept {
    if (!audioStarted) {
        WaitForThreadpoolWorkCallbacks(audioWork, TRUE);
    }
    if (audioStarted && WaitForSingleObject(audioDoneEvent, kStopTimeoutMilliseconds) != WAIT_OBJECT_0 &&
        audioThread) {
        TerminateThread(audioThread, 0);
        WaitForSingleObject(audioThread, kStopTimeoutMilliseconds);
    }
}

}  // namespace

std::int32_t StartAudioCapture() noexcept {
    std::int32_t noUsers = 0;
    if (!audioUsers.compare_exchange_strong(noUsers, 1)) {
        ++audioUsers;
        return 1;
    }
    PinTimerLibrary();
    if (CreateAudioBuffers() && StartThread()) {
        return 1;
    }
    FreeAudioBuffers();
    --audioUsers;
    return 0;
}

void StopAudioCapture() noexcept {
    if (audioUsers.fetch_sub(1) > 1) {
        return;
    }
    audioUnload = 1;
    RequestStop();
    SetEvent(audioWakeEvent);
    EndThread();
    CloseThread();
    audioUsers = 0;
    FreeAudioBuffers();
}

/// The first hold's reference is taken here: the capture thread would have to wait for the loader lock of an
/// early unload. The loader is called outside the lock, because a caller may hold the loader lock.
void AddAudioListener() noexcept {
    HMODULE library = ReferenceLibrary();
    {
        const std::lock_guard lock(listenerLock);
        if (audioListeners++ == 0) {
            library = audioLibrary.exchange(library);
            ++audioAttempt;
            audioStop = 0;
            ResetEvent(audioStopEvent);
            SetEvent(audioWakeEvent);
        }
    }
    FreeReference(library);
}

/// An opening that takes longer ends by itself; its hold keeps the library loaded until then.
void RemoveAudioListener() noexcept {
    HMODULE library = nullptr;
    {
        const std::lock_guard lock(listenerLock);
        if (--audioListeners == 0) {
            RequestStop();
            if (WaitForSingleObject(audioClosedEvent, kStopTimeoutMilliseconds) == WAIT_OBJECT_0) {
                WaitForSingleObject(audioFreedEvent, kStopTimeoutMilliseconds);
            }
            library = audioLibrary.exchange(nullptr);
        }
    }
    FreeReference(library);
}

void PublishSpectrum(const SpectrumBytes& bytes) noexcept {
    const std::lock_guard lock(audioLock);
    AudioSpectrum = bytes;
}

SpectrumBytes CopyAudioSpectrum() noexcept {
    const std::lock_guard lock(audioLock);
    return AudioSpectrum;
}

}  // namespace pixelforge
