// The constant cost of audio capture: the thread's processor time against a bare loop on the same device,
// both sides of its lock, and loading and unloading the module. The device is the tests' double, whose own
// work on either thread counts as well.
#include <windows.h>

#include <audioclient.h>
#include <mmdeviceapi.h>
#include <mmsystem.h>
#include <wrl/client.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "bench/paired_runner.h"
#include "inputs/audio_capture.h"
#include "tests/support/process_census.h"

namespace pixelforge::bench {
namespace {

using Microsoft::WRL::ComPtr;

constexpr double kBareLoopLimit = 1.5;
constexpr DWORD kSettlingMilliseconds = 2000;
/// A single call is too short for the clock.
constexpr int kCallsPerRound = 20000;

void Require(HRESULT result) {
    if (FAILED(result)) {
        throw std::runtime_error("cannot open the sound device");
    }
}

/// A thread that waits as the module's does, reads the same packets and only copies their samples.
class BareCapture {
public:
    BareCapture() : stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)), thread_([this] { Run(); }) {}
    BareCapture(const BareCapture&) = delete;
    BareCapture& operator=(const BareCapture&) = delete;
    ~BareCapture() {
        SetEvent(stop_.Get());
        thread_.join();
    }

private:
    void Run() {
        const ComApartment apartment;
        ComPtr<IMMDeviceEnumerator> enumerator;
        ComPtr<IMMDevice> device;
        ComPtr<IAudioClient> client;
        ComPtr<IAudioCaptureClient> capture;
        WAVEFORMATEX* format = nullptr;
        Require(CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL,
                                 IID_PPV_ARGS(enumerator.GetAddressOf())));
        Require(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, device.GetAddressOf()));
        Require(device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                 reinterpret_cast<void**>(client.GetAddressOf())));
        Require(client->GetMixFormat(&format));
        Require(client->Initialize(AUDCLNT_SHAREMODE_SHARED, AUDCLNT_STREAMFLAGS_LOOPBACK, 0, 0, format,
                                   nullptr));
        Require(client->GetService(IID_PPV_ARGS(capture.GetAddressOf())));
        Require(client->Start());
        frameBytes_ = format->nBlockAlign;
        samples_.resize(format->nAvgBytesPerSec);
        CoTaskMemFree(format);
        do {
            ReadPackets(*capture.Get());
        } while (!Wait());
        client->Stop();
    }

    void ReadPackets(IAudioCaptureClient& capture) {
        UINT32 frames = 0;
        while (SUCCEEDED(capture.GetNextPacketSize(&frames)) && frames > 0) {
            BYTE* packet = nullptr;
            DWORD flags = 0;
            if (capture.GetBuffer(&packet, &frames, &flags, nullptr, nullptr) != S_OK) {
                return;
            }
            std::memcpy(samples_.data(), packet, std::min(samples_.size(), frames * frameBytes_));
            capture.ReleaseBuffer(frames);
        }
    }

    /// Waits 18 ms; true on the stop request.
    bool Wait() const {
        LARGE_INTEGER dueTime;
        dueTime.QuadPart = -180'000;
        const HANDLE handles[] = {stop_.Get(), timer_.Get()};
        timeBeginPeriod(1);
        SetWaitableTimer(timer_.Get(), &dueTime, 0, nullptr, nullptr, FALSE);
        const DWORD signalled = WaitForMultipleObjects(2, handles, FALSE, INFINITE);
        timeEndPeriod(1);
        return signalled == WAIT_OBJECT_0;
    }

    UniqueKernelHandle stop_;
    UniqueKernelHandle timer_{CreateWaitableTimerW(nullptr, TRUE, nullptr)};
    std::size_t frameBytes_ = 0;
    std::vector<BYTE> samples_;
    std::thread thread_;  ///< last: uses the others
};

/// User and kernel time of those threads that still run: the pool's second thread only lives while the stream
/// is opened.
double ProcessorMilliseconds(const std::set<std::uint32_t>& threadIds) {
    double sum = 0;
    for (const std::uint32_t id : threadIds) {
        const UniqueKernelHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, id));
        if (!thread) {
            continue;
        }
        FILETIME times[4] = {};
        if (!GetThreadTimes(thread.Get(), &times[0], &times[1], &times[2], &times[3])) {
            throw std::runtime_error("GetThreadTimes failed");
        }
        for (const FILETIME& time : {times[2], times[3]}) {
            sum += static_cast<double>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 1e4;
        }
    }
    return sum;
}

/// The threads that did not exist before.
std::set<std::uint32_t> NewThreads(const std::set<std::uint32_t>& before) {
    const std::set<std::uint32_t> now = test::ThreadIds();
    std::set<std::uint32_t> added;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::inserter(added, added.end()));
    if (added.empty()) {
        throw std::runtime_error("capture thread not found");
    }
    return added;
}

void Start() {
    if (StartAudioCapture() != 1) {
        throw std::runtime_error("StartAudioCapture failed");
    }
    AddAudioListener();
}

void Stop() {
    RemoveAudioListener();
    StopAudioCapture();
}

/// Runs both threads at the same time, so that other programs affect both alike.
void MeasureThread(const char* name, const char* sound, int seconds, std::optional<double> limit,
                   Report& report) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", sound);
    const std::set<std::uint32_t> before = test::ThreadIds();
    Start();
    Sleep(kSettlingMilliseconds);
    const std::set<std::uint32_t> subject = NewThreads(before);
    const std::set<std::uint32_t> beforePeer = test::ThreadIds();
    {
        const BareCapture bare;
        Sleep(kSettlingMilliseconds);
        const std::set<std::uint32_t> peer = NewThreads(beforePeer);
        const double subjectStart = ProcessorMilliseconds(subject);
        const double peerStart = ProcessorMilliseconds(peer);
        Sleep(static_cast<DWORD>(seconds) * 1000);
        const double subjectTime = ProcessorMilliseconds(subject) - subjectStart;
        const double peerTime = ProcessorMilliseconds(peer) - peerStart;
        const double ratio = subjectTime / peerTime;
        report.Add({name, "bare loop", subjectTime, peerTime, ratio, ratio, ratio, limit});
    }
    Stop();
}

/// Reports the median time of 20,000 calls.
void TimeCalls(const char* name, const std::function<void()>& call, Report& report) {
    std::vector<double> rounds(31);
    for (double& round : rounds) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < kCallsPerRound; ++i) {
            call();
        }
        round = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }
    report.Add(Timing{name, Quantile(std::move(rounds), 0.5)});
}

/// While the capture thread runs.
void TimeBothSidesOfTheLock(Report& report) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", "signal=sine;hertz=440");
    Start();
    SpectrumBytes bytes = {};
    TimeCalls(
        "20,000 x CopyAudioSpectrum", [&] { bytes = CopyAudioSpectrum(); }, report);
    TimeCalls(
        "20,000 x PublishSpectrum", [&] { PublishSpectrum(bytes); }, report);
    Stop();
}

/// Loads the module, waits and unloads it: the milliseconds of both.
double LoadRoundMilliseconds(DWORD stay) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point loading = Clock::now();
    const HMODULE module = LoadLibraryW(L"Pixelforge.dll");
    const Clock::duration load = Clock::now() - loading;
    Sleep(stay);
    const Clock::time_point unloading = Clock::now();
    if (!module || !FreeLibrary(module)) {
        throw std::runtime_error("cannot load and unload the module");
    }
    return std::chrono::duration<double, std::milli>(load + (Clock::now() - unloading)).count();
}

/// Unloading the module includes waiting for the thread.
void MeasureLoads(Report& report) {
    constexpr std::size_t kRounds = 200;
    constexpr double kLimitMilliseconds = 100;
    /// Milliseconds between load and unload: before and after the capture thread's start.
    constexpr DWORD kStays[] = {0, 3, 120, 0, 130, 160, 1, 200};
    std::vector<double> rounds(kRounds);
    for (std::size_t i = 0; i < kRounds; ++i) {
        rounds[i] = LoadRoundMilliseconds(kStays[i % std::size(kStays)]);
    }
    const auto share = [&](double quantile) { return Quantile(rounds, quantile) / kLimitMilliseconds; };
    report.Add({"loading and unloading the module", "100 ms", Quantile(rounds, 0.5), kLimitMilliseconds,
                share(0.5), share(0.25), share(0.75), 1.0});
}

void MeasureAll(int seconds, Report& report) {
    MeasureThread("capture thread, no packets", "packets=never", seconds, std::nullopt, report);
    MeasureThread("capture thread, silence", "signal=sine;hertz=0", seconds, kBareLoopLimit, report);
    MeasureThread("capture thread, sound", "signal=sine;hertz=440", seconds, kBareLoopLimit, report);
    TimeBothSidesOfTheLock(report);
    MeasureLoads(report);
}

}  // namespace
}  // namespace pixelforge::bench

/// The second argument is seconds per measurement.
int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 60, MeasureAll);
}
