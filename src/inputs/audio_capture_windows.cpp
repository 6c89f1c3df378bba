// Start, life and end of the capture thread.
#include "inputs/audio_capture.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "base/heap.h"
#include "base/win_handles.h"
#include "inputs/audio_stream.h"

namespace pixelforge {
namespace {

constexpr LONGLONG kPassDueTime100ns = -180'000;  ///< relative
constexpr DWORD kPassMilliseconds = 18;

/// A host that looks through its modules loads and unloads them at once. Until it is clear that this module
/// stays, the thread keeps out of COM, whose calls need the loader's lock and would wait for the unloading.
constexpr DWORD kSettlingMilliseconds = 100;

/// Without a device, and after one went away, a device is looked for this often.
constexpr DWORD kRetryMilliseconds = 2000;

/// This many passes in a row without a single good call, about a second, mean that the device is gone.
constexpr int kFailingPassesOfLostDevice = 50;

/// The user may choose another device while the former one lives on in silence: every two seconds.
constexpr unsigned kPassesPerDeviceCheck = 100;

constexpr DWORD kPatienceMilliseconds = 1000;

SpectrumBytes AudioSpectrum{};

// Plain data, without destructors: when the process ends, the system has stopped the thread wherever it was,
// perhaps inside the heap's lock, and nothing here may be touched any more.
CRITICAL_SECTION audioLock;  ///< guards `AudioSpectrum`
std::atomic<std::int32_t> audioUsers{0};
std::atomic<std::int32_t> audioStop{0};
std::atomic<std::int32_t> audioBegun{0};  ///< the thread has reached its procedure
std::atomic<HANDLE> audioThread{nullptr};
HANDLE audioStopEvent = nullptr;
HANDLE audioDoneEvent = nullptr;  ///< set when the thread has left this library's code for good
PTP_POOL audioPool = nullptr;
PTP_WORK audioWork = nullptr;
SpectrumState* audioState = nullptr;

class AudioLock {
public:
    AudioLock() noexcept { EnterCriticalSection(&audioLock); }
    AudioLock(const AudioLock&) = delete;
    AudioLock& operator=(const AudioLock&) = delete;
    ~AudioLock() { LeaveCriticalSection(&audioLock); }
};

void TakeFrames(const SampleFormat& format, const std::byte* frames, std::uint32_t count) noexcept {
    if (!IsReadable(format)) {
        return;
    }
    while (count > 0) {
        const std::span<double> room = FreeRing(*audioState);
        const std::size_t taken = std::min<std::size_t>(room.size(), count);
        ConvertFrames(format, frames, room.first(taken));
        frames += taken * format.frameBytes;
        count -= static_cast<std::uint32_t>(taken);
        if (AdvanceRing(*audioState, taken)) {
            PublishSpectrum(RunSpectrumStep(*audioState));
        }
    }
}

void RestUntilStop(DWORD milliseconds) noexcept {
    WaitForSingleObject(audioStopEvent, milliseconds);
}

/// About 18 ms, or less when the stop comes.
void RestBetweenPasses(HANDLE timer) noexcept {
    timeBeginPeriod(1);
    LARGE_INTEGER dueTime;
    dueTime.QuadPart = kPassDueTime100ns;
    if (timer && SetWaitableTimer(timer, &dueTime, 0, nullptr, nullptr, FALSE)) {
        const HANDLE ends[] = {audioStopEvent, timer};
        WaitForMultipleObjects(2, ends, FALSE, INFINITE);
    } else {
        RestUntilStop(kPassMilliseconds);
    }
    timeEndPeriod(1);
}

/// Ends with the stop, when another device has become the default one, or with a failure when the stream
/// cannot be had or its device is gone.
HRESULT CaptureStream() {
    LoopbackStream stream;
    if (const HRESULT result = stream.Open(audioStop); FAILED(result)) {
        return result;
    }
    const SampleFormat format = stream.Format();
    SetCaptureRate(*audioState, format.rate);
    const auto sink = [&format](const std::byte* frames, std::uint32_t count) {
        TakeFrames(format, frames, count);
    };
    const UniqueKernelHandle timer(CreateWaitableTimerW(nullptr, TRUE, nullptr));
    int failingPasses = 0;
    for (unsigned pass = 1; !audioStop; ++pass) {
        const HRESULT result = stream.ReadWaiting(sink);
        failingPasses = FAILED(result) ? failingPasses + 1 : 0;
        if (failingPasses == kFailingPassesOfLostDevice) {
            return result;
        }
        if (pass % kPassesPerDeviceCheck == 0 && stream.DefaultHasMoved()) {
            return S_FALSE;
        }
        RestBetweenPasses(timer.Get());
    }
    return S_OK;
}

/// After a stop request COM is not left: that can unload servers, which needs the loader's lock.
void CaptureOnce() {
    if (FAILED(CoInitialize(nullptr))) {
        return;
    }
    CaptureStream();
    if (!audioStop) {
        CoUninitialize();
    }
}

/// The usual end of a thread needs the loader's lock, which the unloading that waits for it holds. So the
/// thread belongs to a pool of its own: it goes back there, which sets the event outside this library, and
/// ends when the lock is free.
void CALLBACK CaptureProcedure(PTP_CALLBACK_INSTANCE instance, void*, PTP_WORK) {
    audioBegun = 1;
    SetEventWhenCallbackReturns(instance, audioDoneEvent);
    HANDLE thread = nullptr;
    // Without a handle nobody could end this thread when it hangs.
    if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        return;
    }
    audioThread = thread;
    RestUntilStop(kSettlingMilliseconds);
    while (!audioStop) {
        CaptureOnce();
        RestUntilStop(kRetryMilliseconds);
    }
}

void CloseEvent(HANDLE& event) noexcept {
    UniqueKernelHandle(std::exchange(event, nullptr)).Reset();
}

void FreeAudioBuffers() noexcept {
    CloseEvent(audioStopEvent);
    CloseEvent(audioDoneEvent);
    HeapRecord<SpectrumState>(audioState).reset();
    audioState = nullptr;
}

bool CreateAudioBuffers() noexcept {
    audioStopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    audioDoneEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    audioState = NewHeapRecord<SpectrumState>().release();
    return audioStopEvent && audioDoneEvent && audioState;
}

/// Loading and unloading the sound library time and again costs handles under Wine; once is enough for good.
void KeepTimerLibrary() noexcept {
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
    audioBegun = 0;
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
    // A thread in advance: the pool could not tell later that it cannot make one.
    if (!audioWork || !SetThreadpoolThreadMinimum(audioPool, 1)) {
        CloseThread();
        return false;
    }
    SubmitThreadpoolWork(audioWork);
    return true;
}

/// A thread that has not reached its procedure waits for the lock that the caller holds: it is called off.
/// Should it be on its way there all the same, it finds the stop request first.
void EndThread() noexcept {
    if (!audioBegun) {
        WaitForThreadpoolWorkCallbacks(audioWork, TRUE);
    }
    if (audioBegun && WaitForSingleObject(audioDoneEvent, kPatienceMilliseconds) != WAIT_OBJECT_0 &&
        audioThread) {
        TerminateThread(audioThread, 0);
        WaitForSingleObject(audioThread, kPatienceMilliseconds);
    }
}

}  // namespace

std::int32_t StartAudioCapture() noexcept {
    std::int32_t noUsers = 0;
    if (!audioUsers.compare_exchange_strong(noUsers, 1)) {
        ++audioUsers;
        return 1;
    }
    InitializeCriticalSection(&audioLock);
    KeepTimerLibrary();
    if (CreateAudioBuffers() && StartThread()) {
        return 1;
    }
    FreeAudioBuffers();
    DeleteCriticalSection(&audioLock);
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
    DeleteCriticalSection(&audioLock);
    FreeAudioBuffers();
}

void PublishSpectrum(const SpectrumBytes& bytes) noexcept {
    const AudioLock lock;
    AudioSpectrum = bytes;
}

SpectrumBytes CopyAudioSpectrum() noexcept {
    const AudioLock lock;
    return AudioSpectrum;
}

}  // namespace pixelforge
