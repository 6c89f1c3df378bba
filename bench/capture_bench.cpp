// The constant cost of audio capture: the thread's processor time, both sides of its lock, and loading and
// unloading the module. The device is the tests' double, whose own work on the thread counts as well.
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "bench/paired_runner.h"
#include "inputs/audio_capture.h"
#include "tests/support/load_round.h"
#include "tests/support/process_census.h"

namespace pixelforge::bench {
namespace {

/// Thread time / elapsed time: half a percent of a core.
constexpr double kShareLimit = 0.005;
constexpr DWORD kSettlingMilliseconds = 2000;
/// A single call is too short for the clock.
constexpr int kCallsPerRound = 20000;

/// User and kernel time.
double ProcessorMilliseconds(const std::set<std::uint32_t>& threadIds) {
    double sum = 0;
    for (const std::uint32_t id : threadIds) {
        const UniqueKernelHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, id));
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

/// The threads that did not exist before the capture started.
std::set<std::uint32_t> NewThreads(const std::set<std::uint32_t>& before) {
    const std::set<std::uint32_t> now = test::ThreadIds();
    std::set<std::uint32_t> added;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::inserter(added, added.end()));
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

void MeasureThread(const char* name, const char* sound, int seconds, Report& report) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", sound);
    const std::set<std::uint32_t> before = test::ThreadIds();
    Start();
    Sleep(kSettlingMilliseconds);
    const std::set<std::uint32_t> threads = NewThreads(before);
    if (threads.empty()) {
        throw std::runtime_error("capture thread not found");
    }
    const double start = ProcessorMilliseconds(threads);
    Sleep(static_cast<DWORD>(seconds) * 1000);
    const double used = ProcessorMilliseconds(threads) - start;
    Stop();
    const double elapsed = seconds * 1000.0;
    const double share = used / elapsed;
    report.Add({name, "elapsed time", used, elapsed, share, share, share, kShareLimit});
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

/// Unloading the module includes waiting for the thread.
void MeasureLoads(Report& report) {
    constexpr std::size_t kRounds = 200;
    constexpr double kLimitMilliseconds = 100;
    std::vector<double> rounds(kRounds);
    for (std::size_t i = 0; i < kRounds; ++i) {
        const auto milliseconds = test::LoadRoundMilliseconds(test::kStays[i % std::size(test::kStays)]);
        if (!milliseconds) {
            throw std::runtime_error("cannot load and unload the module");
        }
        rounds[i] = *milliseconds;
    }
    const auto share = [&](double quantile) { return Quantile(rounds, quantile) / kLimitMilliseconds; };
    report.Add({"loading and unloading the module", "100 ms", Quantile(rounds, 0.5), kLimitMilliseconds,
                share(0.5), share(0.25), share(0.75), 1.0});
}

void MeasureAll(int seconds, Report& report) {
    MeasureThread("no packets", "packets=never", seconds, report);
    MeasureThread("silence", "signal=silence", seconds, report);
    MeasureThread("sound", "signal=sine;hertz=440", seconds, report);
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
