// Loading and unloading the module many times in one process must not leak.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/module_library.h"
#include "tests/inputs/live_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

/// Loads the module, waits and unloads it. Returns the milliseconds that loading and unloading took.
double Round(DWORD stay) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point loading = Clock::now();
    const HMODULE module = LoadLibraryW(preview::ModulePathBesideProgram().c_str());
    const Clock::duration load = Clock::now() - loading;
    EXPECT_NE(module, nullptr);
    Sleep(stay);
    const Clock::time_point unloading = Clock::now();
    FreeLibrary(module);
    return std::chrono::duration<double, std::milli>(load + (Clock::now() - unloading)).count();
}

TEST(LoadRounds, TwoHundredRoundsLeakNoThreadsHandlesOrMemory) {
    // Milliseconds: before, during and after the capture thread's start-up.
    constexpr DWORD kStays[] = {0, 3, 120, 0, 130, 160, 1, 200};
    SetSound("signal=sine;hertz=1000");
    for (const DWORD stay : kStays) {
        Round(stay);
    }
    Sleep(500);
    const std::size_t handles = OpenHandles();
    const std::size_t threads = RunningThreads();
    const std::size_t bytes = WorkingSetBytes();
    {
        const UniqueKernelHandle planted(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        ASSERT_EQ(OpenHandles(), handles + 1) << "OpenHandles missed a new handle";
    }
    std::vector<double> rounds;
    for (int i = 0; i < 25; ++i) {
        std::ranges::transform(kStays, std::back_inserter(rounds), Round);
    }
    // The last round's thread exits on its own, after the module was unloaded.
    for (int wait = 0; wait < 100 && RunningThreads() > threads; ++wait) {
        Sleep(20);
    }
    EXPECT_EQ(RunningThreads(), threads);
    EXPECT_LE(OpenHandles(), handles + 5);
    EXPECT_LE(WorkingSetBytes(), bytes + (4U << 20));
    EXPECT_EQ(SoundObjects(), 0);
    std::ranges::sort(rounds);
    std::printf("median %.1f ms, 90 %% %.1f ms, slowest %.1f ms\n", rounds[100], rounds[180], rounds.back());
}

TEST(LoadRounds, UnloadTerminatesAHangingThread) {
    for (const char* call : {"start", "nextpacket"}) {
        SetSound(std::string("hang=") + call);
        const std::size_t threads = RunningThreads();
        Round(400);
        for (int wait = 0; wait < 100 && RunningThreads() > threads; ++wait) {
            Sleep(20);
        }
        EXPECT_LE(RunningThreads(), threads) << call;
        SetSound("signal=sine;hertz=1000");
        Round(400);
    }
}

}  // namespace
}  // namespace pixelforge::test
