// The constant cost of audio capture: the thread's processor time, both sides of its lock, and loading and
// unloading the module. The device is the tests' double, whose own work on the thread counts as well.
#include <windows.h>

#include <tlhelp32.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "bench/paired_runner.h"
#include "inputs/audio_capture.h"

namespace pixelforge::bench {
namespace {

/// Thread time / elapsed time: half a percent of a core.
constexpr double kShareLimit = 0.005;
constexpr DWORD kSettlingMilliseconds = 2000;
/// A single call is too short for the clock.
constexpr int kCallsPerRound = 20000;

std::set<DWORD> ThreadIds() {
    const UniqueKernelHandle snapshot = AdoptFileHandle(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::set<DWORD> ids;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) {
            ids.insert(entry.th32ThreadID);
        }
    }
    return ids;
}

/// User and kernel time.
double ProcessorMilliseconds(const std::set<DWORD>& threadIds) {
    double sum = 0;
    for (const DWORD id : threadIds) {
        const UniqueKernelHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, id));
        FILETIME times[4] = {};
        if (!GetThreadTimes(thread.Get(), &times[0], &times[1], &times[2], &times[3])) {
            std::fprintf(stderr, "GetThreadTimes failed\n");
            std::exit(2);
        }
        for (const FILETIME& time : {times[2], times[3]}) {
            sum += static_cast<double>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 1e4;
        }
    }
    return sum;
}

/// The threads that did not exist before the capture started.
std::set<DWORD> NewThreads(const std::set<DWORD>& before) {
    const std::set<DWORD> now = ThreadIds();
    std::set<DWORD> added;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::inserter(added, added.end()));
    return added;
}

void Start() {
    if (StartAudioCapture() != 1) {
        std::fprintf(stderr, "StartAudioCapture failed\n");
        std::exit(2);
    }
}

void MeasureThread(const char* name, const char* sound, int seconds, Report& report) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", sound);
    const std::set<DWORD> before = ThreadIds();
    Start();
    Sleep(kSettlingMilliseconds);
    const std::set<DWORD> threads = NewThreads(before);
    if (threads.empty()) {
        std::fprintf(stderr, "capture thread not found\n");
        std::exit(2);
    }
    const double start = ProcessorMilliseconds(threads);
    Sleep(static_cast<DWORD>(seconds) * 1000);
    const double used = ProcessorMilliseconds(threads) - start;
    StopAudioCapture();
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
    StopAudioCapture();
}

double LoadRoundMilliseconds(DWORD stay) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point loading = Clock::now();
    const HMODULE module = LoadLibraryW(L"Pixelforge.dll");
    const Clock::duration load = Clock::now() - loading;
    Sleep(stay);
    const Clock::time_point unloading = Clock::now();
    if (!module || !FreeLibrary(module)) {
        std::fprintf(stderr, "cannot load and unload the module\n");
        std::exit(2);
    }
    return std::chrono::duration<double, std::milli>(load + (Clock::now() - unloading)).count();
}

/// Loads and unloads the module, which waits for the thread; the time in between is not counted.
void MeasureLoads(Report& report) {
    // Milliseconds: before, during and after the thread's start-up.
    constexpr DWORD kStays[] = {0, 3, 120, 0, 130, 160, 1, 200};
    constexpr std::size_t kRounds = 200;
    constexpr double kLimitMilliseconds = 100;
    std::vector<double> rounds(kRounds);
    for (std::size_t i = 0; i < kRounds; ++i) {
        rounds[i] = LoadRoundMilliseconds(kStays[i % std::size(kStays)]);
    }
    const auto share = [&](double quantile) { return Quantile(rounds, quantile) / kLimitMilliseconds; };
    report.Add({"loading and unloading the module", "100 ms", Quantile(rounds, 0.5), kLimitMilliseconds,
                share(0.5), share(0.25), share(0.75), 1.0});
}

}  // namespace
}  // namespace pixelforge::bench

/// Usage: capture_bench [JSON file [seconds]]. Exits with 1 if a limit is exceeded.
int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    const int seconds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 60;
    Report report;
    MeasureThread("no packets", "packets=never", seconds, report);
    MeasureThread("silence", "signal=silence", seconds, report);
    MeasureThread("sound", "signal=sine;hertz=440", seconds, report);
    TimeBothSidesOfTheLock(report);
    MeasureLoads(report);
    return report.Finish(argc > 1 ? argv[1] : nullptr);
}
