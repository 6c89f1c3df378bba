// The module comes and goes many times in one process and leaves nothing behind.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <vector>

#include "base/win_handles.h"
#include "preview/module_library.h"
#include "tests/inputs/live_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

struct Census {
    std::size_t handles = OpenHandles();
    std::size_t threads = RunningThreads();
    std::size_t bytes = WorkingSetBytes();
};

/// Milliseconds that loading and unloading took, the time in between not counted.
double Round(DWORD stay) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER times[4];
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&times[0]);
    const HMODULE module = LoadLibraryW(preview::ModulePathBesideProgram().c_str());
    QueryPerformanceCounter(&times[1]);
    EXPECT_NE(module, nullptr);
    Sleep(stay);
    QueryPerformanceCounter(&times[2]);
    FreeLibrary(module);
    QueryPerformanceCounter(&times[3]);
    const LONGLONG ticks = times[1].QuadPart - times[0].QuadPart + times[3].QuadPart - times[2].QuadPart;
    return static_cast<double>(ticks) * 1000 / static_cast<double>(frequency.QuadPart);
}

DWORD WINAPI Idle(void*) {
    Sleep(INFINITE);
    return 0;
}

TEST(Census, SeesPlantedLeaks) {
    const Census before;
    std::vector<UniqueKernelHandle> handles;
    for (int i = 0; i < 50; ++i)
        handles.emplace_back(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const UniqueKernelHandle thread(CreateThread(nullptr, 0, Idle, nullptr, 0, nullptr));
    std::vector<char> memory(8U << 20, 'x');
    const Census after;
    EXPECT_GE(after.handles, before.handles + 51);
    EXPECT_EQ(after.threads, before.threads + 1);
    EXPECT_GE(after.bytes, before.bytes + memory.size() / 2);
    TerminateThread(thread.Get(), 0);
}

TEST(LoadRounds, TwoHundredLeaveThreadsHandlesAndMemoryAsTheyWere) {
    constexpr DWORD kStays[] = {0,   3,   120, 0,
                                130, 160, 1,   200};  // milliseconds: before, during, after start-up
    SetSound("signal=sine;hertz=1000");
    for (const DWORD stay : kStays)
        Round(stay);
    Sleep(500);
    const Census before;
    std::vector<double> rounds;
    for (int i = 0; i < 200; ++i)
        rounds.push_back(Round(kStays[static_cast<std::size_t>(i) % std::size(kStays)]));
    // The last round's thread ends on its own, outside the module.
    for (int wait = 0; wait < 100 && RunningThreads() > before.threads; ++wait)
        Sleep(20);
    const Census after;
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 5);
    EXPECT_LE(after.bytes, before.bytes + (4U << 20));
    EXPECT_EQ(SoundObjects(), 0);
    std::ranges::sort(rounds);
    EXPECT_LT(rounds[100], 100) << "milliseconds, median";
    RecordProperty("medianMilliseconds", static_cast<int>(rounds[100]));
    RecordProperty("slowestMilliseconds", static_cast<int>(rounds.back()));
    std::printf("median %.1f ms, 90 %% %.1f ms, slowest %.1f ms\n", rounds[100], rounds[180], rounds.back());
    std::printf("handles %zu -> %zu, threads %zu -> %zu, KiB %zu -> %zu\n", before.handles, after.handles,
                before.threads, after.threads, before.bytes / 1024, after.bytes / 1024);
}

}  // namespace
}  // namespace pixelforge::test
