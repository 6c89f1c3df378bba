// What listening costs, all day long: processor time, and how long a reader waits.
#include <gtest/gtest.h>

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstdio>

#include "inputs/audio_capture.h"
#include "tests/inputs/live_run.h"

namespace pixelforge::test {
namespace {

/// Of the whole process, whose other threads rest meanwhile.
double ProcessorSeconds() {
    FILETIME times[4] = {};
    EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &times[0], &times[1], &times[2], &times[3]));
    const auto seconds = [](const FILETIME& time) {
        return static_cast<double>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 1e7;
    };
    return seconds(times[2]) + seconds(times[3]);
}

/// What the stand-in needs to make the sound is in it.
TEST(CaptureCost, StaysBelowOnePercentOfACore) {
    constexpr int kMeasuredSeconds = 60;
    for (const char* sound : {"packets=never", "signal=silence", "signal=sine;hertz=440"}) {
        SetSound(sound);
        ASSERT_EQ(StartAudioCapture(), 1);
        Sleep(2000);
        const double start = ProcessorSeconds();
        Sleep(kMeasuredSeconds * 1000);
        const double share = (ProcessorSeconds() - start) / kMeasuredSeconds;
        StopAudioCapture();
        std::printf("%-28s %.3f %% of a core\n", sound, share * 100);
        // Well above what an idle machine needs: busy ones charge more for the same work.
        EXPECT_LT(share, 0.01) << sound;
    }
}

TEST(CaptureCost, AReaderTakesMicroseconds) {
    constexpr int kCopies = 200000;
    SetSound("signal=sine;hertz=440");
    ASSERT_EQ(StartAudioCapture(), 1);
    unsigned sum = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCopies; ++i)
        sum += CopyAudioSpectrum()[600];
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    StopAudioCapture();
    std::printf("%.3f microseconds a copy (%u)\n", time.count() / kCopies, sum);
    EXPECT_LT(time.count() / kCopies, 20);
}

}  // namespace
}  // namespace pixelforge::test
