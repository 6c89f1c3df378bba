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

/// Hosts enumerate modules by loading and unloading them; COM would then block on the loader lock. The thread
/// makes no COM call before this delay.
constexpr DWORD kStartDelayMilliseconds = 100;

/// Between attempts to open a device, and after losing one.
constexpr DWORD kRetryMilliseconds = 2000;

/// Consecutive failing passes, about one second, after which the device counts as lost.
constexpr int kMaxFailingPasses = 50;

/// About two seconds. When the user switches devices, the old one may keep delivering silence.
constexpr unsigned kPassesPerDeviceCheck = 100;

constexpr DWORD kStopTimeoutMilliseconds = 1000;

SpectrumBytes AudioSpectrum = {};

// No destructors: process exit kills the thread at an arbitrary point, perhaps while it holds the heap lock,
// so nothing here may be touched then.
CriticalSection* audioLock = nullptr;  ///< guards `AudioSpectrum`
std::atomic<std::int32_t> audioUsers{0};
std::atomic<std::int32_t> audioStop{0};
std::atomic<std::int32_t> audioStarted{0};  ///< the thread has entered `CaptureProcedure`
std::atomic<HANDLE> audioThread{nullptr};
HANDLE audioStopEvent = nullptr;
HANDLE audioDoneEvent = nullptr;  ///< set once the thread has left this library's code
PTP_POOL audioPool = nullptr;
PTP_WORK audioWork = nullptr;
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

/// Returns on the stop request, when the default device changes, and with a failure when the stream cannot be
/// opened or its device is lost.
HRESULT CaptureStream() {
    LoopbackStream stream;
    if (const HRESULT result = stream.Open(audioStop); FAILED(result)) {
        return result;
    }
    const SampleFormat format = stream.Format();
    SetCaptureRate(*audioState, format.rate);
    const auto sink = [&format](const std::byte* frames, std::uint32_t count) {
        AddFrames(format, frames, count);
    };
    const UniqueKernelHandle timer(CreateWaitableTimerW(nullptr, TRUE, nullptr));
    int failingPasses = 0;
    for (unsigned pass = 1; !audioStop; ++pass) {
        const HRESULT result = stream.ReadPackets(sink);
        failingPasses = FAILED(result) ? failingPasses + 1 : 0;
        if (failingPasses == kMaxFailingPasses) {
            return result;
        }
        if (pass % kPassesPerDeviceCheck == 0 && stream.DefaultDeviceChanged()) {
            return S_FALSE;
        }
        SleepBetweenPasses(timer.Get());
    }
    return S_OK;
}

/// After a stop request the apartment is abandoned: leaving it can unload servers, which needs the loader
/// lock.
void CaptureOnce() {
    ComApartment apartment;
    if (apartment) {
        CaptureStream();
    }
    if (audioStop) {
        apartment.Abandon();
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
    WaitForStop(kStartDelayMilliseconds);
    while (!audioStop) {
        CaptureOnce();
        WaitForStop(kRetryMilliseconds);
    }
}

void CloseEvent(HANDLE& event) noexcept {
    UniqueKernelHandle(std::exchange(event, nullptr)).Reset();
}

void FreeAudioBuffers() noexcept {
    CloseEvent(audioStopEvent);
    CloseEvent(audioDoneEvent);
    HeapRecord<SpectrumState>(std::exchange(audioState, nullptr)).reset();
    HeapRecord<CriticalSection>(std::exchange(audioLock, nullptr)).reset();
}

bool CreateAudioBuffers() noexcept {
    audioLock = NewHeapRecord<CriticalSection>().release();
    audioStopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    audioDoneEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    audioState = NewHeapRecord<SpectrumState>().release();
    return audioLock && audioStopEvent && audioDoneEvent && audioState;
}

/// Under Wine each load of winmm leaks handles, so it is loaded permanently.
void PinTimerLibrary() noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, L"winmm.dll", &library);
}

void CloseThread() noexcept {
    if (audioWork) {
        CloseThreadpoolWork(std::exchange(audioWork, nullptr));
    }
    if (audioPool) {
        CloseThreadpool(std::exchange(audioPool, nullptr));
    }
    UniqueKernelHandle(audioThread.exchange(nullptr)).Reset();
}

bool StartThread() noexcept {
    audioStop = 0;
    audioStarted = 0;
    audioPool = CreateThreadpool(nullptr);
    if (!audioPool) {
        return false;
    }
    SetThreadpoolThreadMaximum(audioPool, 1);
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackPool(&environment, audioPool);
    SetThreadpoolCallbackRunsLong(&environment);
    audioWork = CreateThreadpoolWork(CaptureProcedure, nullptr, &environment);
    // Creates the thread now, because a later failure could not be reported.
    if (!audioWork || !SetThreadpoolThreadMinimum(audioPool, 1)) {
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
    audioStop = 1;
    SetEvent(audioStopEvent);
    EndThread();
    CloseThread();
    audioUsers = 0;
    FreeAudioBuffers();
}

void PublishSpectrum(const SpectrumBytes& bytes) noexcept {
    const std::lock_guard lock(*audioLock);
    AudioSpectrum = bytes;
}

SpectrumBytes CopyAudioSpectrum() noexcept {
    const std::lock_guard lock(*audioLock);
    return AudioSpectrum;
}

}  // namespace pixelforge
