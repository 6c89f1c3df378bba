// What listening costs, all day long: the capture thread's own processor time, and how long a reader waits.
#include <gtest/gtest.h>

#include <windows.h>

#include <tlhelp32.h>

#include <cstdint>
#include <cstdio>
#include <set>
#include <string>

#include "base/win_handles.h"
#include "inputs/audio_capture.h"
#include "tests/inputs/live_run.h"

namespace pixelforge::test {
namespace {

constexpr double kMeasuredSeconds = 60;
/// Well above what an idle machine needs: busy ones charge more for the same work.
constexpr double kMostShareOfACore = 0.01;

std::set<DWORD> ThreadIds() {
    const UniqueKernelHandle snapshot = AdoptFileHandle(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::set<DWORD> ids;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId())
            ids.insert(entry.th32ThreadID);
    }
    return ids;
}

double ProcessorSeconds(DWORD threadId) {
    const UniqueKernelHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, threadId));
    FILETIME times[4] = {};
    EXPECT_TRUE(GetThreadTimes(thread.Get(), &times[0], &times[1], &times[2], &times[3]));
    const auto seconds = [](const FILETIME& time) {
        return static_cast<double>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 1e7;
    };
    return seconds(times[2]) + seconds(times[3]);
}

/// The thread that the start of the capture adds.
DWORD CaptureThread(const std::set<DWORD>& before) {
    for (int attempt = 0; attempt < 100; ++attempt, Sleep(20)) {
        for (const DWORD id : ThreadIds()) {
            if (!before.contains(id))
                return id;
        }
    }
    return 0;
}

/// A share of one core. What the stand-in needs to make the sound is in it.
double MeasureShare(const std::string& sound) {
    SetSound(sound);
    const std::set<DWORD> before = ThreadIds();
    EXPECT_EQ(StartAudioCapture(), 1);
    const DWORD thread = CaptureThread(before);
    Sleep(2000);
    const double start = ProcessorSeconds(thread);
    Sleep(static_cast<DWORD>(kMeasuredSeconds * 1000));
    const double share = (ProcessorSeconds(thread) - start) / kMeasuredSeconds;
    StopAudioCapture();
    return share;
}

TEST(CaptureCost, StaysBelowOnePercentOfACore) {
    for (const char* sound : {"packets=never", "signal=silence", "signal=square;hertz=440"}) {
        const double share = MeasureShare(sound);
        std::printf("%-28s %.3f %% of a core\n", sound, share * 100);
        EXPECT_LT(share, kMostShareOfACore) << sound;
    }
}

TEST(CaptureCost, AReaderTakesMicroseconds) {
    SetSound("signal=square;hertz=440");
    ASSERT_EQ(StartAudioCapture(), 1);
    constexpr int kCopies = 200000;
    LARGE_INTEGER frequency;
    LARGE_INTEGER start;
    LARGE_INTEGER end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    unsigned sum = 0;
    for (int i = 0; i < kCopies; ++i)
        sum += CopyAudioSpectrum()[600];
    QueryPerformanceCounter(&end);
    StopAudioCapture();
    const double microseconds = static_cast<double>(end.QuadPart - start.QuadPart) * 1e6 /
                                static_cast<double>(frequency.QuadPart) / kCopies;
    std::printf("%.3f microseconds a copy (%u)\n", microseconds, sum);
    EXPECT_LT(microseconds, 20);
}

}  // namespace
}  // namespace pixelforge::test
