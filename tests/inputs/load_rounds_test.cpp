// Loading and unloading the module many times in one process must not leak.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <vector>

#include "base/win_handles.h"
#include "tests/inputs/live_run.h"
#include "tests/support/load_round.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

double Round(DWORD stay) {
    const std::optional<double> milliseconds = LoadRoundMilliseconds(stay);
    EXPECT_TRUE(milliseconds) << "cannot load and unload the module";
    return milliseconds.value_or(0);
}

/// Threads may briefly outlive the module's unloading.
void WaitForThreads(std::size_t count) {
    for (int wait = 0; wait < 100 && ThreadIds().size() > count; ++wait) {
        Sleep(20);
    }
}

TEST(LoadRounds, TwoHundredRoundsLeakNoThreadsHandlesOrMemory) {
    SetSound("signal=sine;hertz=1000");
    for (const DWORD stay : kStays) {
        Round(stay);
    }
    Sleep(500);
    const std::size_t handles = OpenHandles();
    const std::size_t threads = ThreadIds().size();
    const std::size_t bytes = WorkingSetBytes();
    {
        const UniqueKernelHandle planted(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        ASSERT_EQ(OpenHandles(), handles + 1) << "OpenHandles missed a new handle";
    }
    std::vector<double> rounds;
    for (int i = 0; i < 25; ++i) {
        std::ranges::transform(kStays, std::back_inserter(rounds), Round);
    }
    WaitForThreads(threads);
    EXPECT_EQ(ThreadIds().size(), threads);
    EXPECT_LE(OpenHandles(), handles + 5);
    EXPECT_LE(WorkingSetBytes(), bytes + (4U << 20));
    EXPECT_EQ(SoundObjects(), 0);
    std::ranges::sort(rounds);
    std::printf("median %.1f ms, 90 %% %.1f ms, slowest %.1f ms\n", rounds[100], rounds[180], rounds.back());
}

TEST(LoadRounds, UnloadTerminatesAHangingThread) {
    for (const char* call : {"start", "nextpacket"}) {
        SetSound(std::string("hang=") + call);
        const std::size_t threads = ThreadIds().size();
        Round(400);
        WaitForThreads(threads);
        EXPECT_LE(ThreadIds().size(), threads) << call;
        SetSound("signal=sine;hertz=1000");
        Round(400);
    }
}

}  // namespace
}  // namespace pixelforge::test
