// What the computer plays, from the device to the picture, and everything that a device can do wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/inputs/live_run.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {
namespace {

bool IsBlack(const std::vector<int>& row) {
    return std::ranges::all_of(row, [](int level) { return level == 0; });
}

/// Highest column within 10 of `column`.
double PeakNear(const std::vector<int>& row, int column) {
    const auto first = row.begin() + column - 10;
    return static_cast<double>(std::max_element(first, first + 21) - row.begin());
}

int Crossings(const std::vector<int>& wave) {
    int crossings = 0;
    bool above = wave.front() > 127;
    for (const int level : wave) {
        const bool nowAbove = above ? level > 96 : level > 160;
        crossings += nowAbove != above;
        above = nowAbove;
    }
    return crossings;
}

struct FormatCase {
    const char* settings;
    double column;  ///< of 1 kHz; 0 when nothing can be heard
};

TEST(LiveSound, AToneOfOneKilohertzPeaksInItsColumnOfThePicture) {
    const FormatCase cases[] = {
        {"signal=sine;hertz=1000", 25.6},
        {"signal=sine;hertz=1000;bits=16", 25.6},
        {"signal=sine;hertz=1000;bits=16;channels=1;rate=44100", 25.6},
        {"signal=sine;hertz=1000;channels=6", 25.6},
        {"signal=sine;hertz=1000;bits=16;channels=2;block=7", 25.6},
        {"signal=sine;hertz=1000;rate=22050", 25.6},
        {"signal=sine;hertz=1000;bits=8", 0},
        {"signal=sine;hertz=1000;bits=24", 0},
    };
    for (const FormatCase& c : cases) {
        SCOPED_TRACE(c.settings);
        SetSound(c.settings);
        LiveRun run(SoundDocument(), 512, 2);
        if (c.column == 0) {
            ASSERT_TRUE(run.DrawFor(600));
            EXPECT_TRUE(IsBlack(run.Row(0)));
            continue;
        }
        const auto peaks = [&] {
            const std::vector<int> row = run.Row(0);
            return !IsBlack(row) && std::abs(PeakNear(row, 26) - c.column) <= 2;
        };
        EXPECT_TRUE(run.DrawUntil(peaks, 5000)) << "peak at " << PeakNear(run.Row(0), 26);
        EXPECT_TRUE(run.DrawFor(500));
        EXPECT_NEAR(PeakNear(run.Row(0), 26), c.column, 2);
    }
}

TEST(LiveSound, TheUpperRowShowsTheWaveform) {
    SetSound("signal=sine;hertz=375");  // four periods in 512 samples
    LiveRun run(SoundDocument(), 512, 2);
    const auto swings = [&] {
        const std::vector<int> wave = run.Row(1);
        return *std::ranges::max_element(wave) > 240 && *std::ranges::min_element(wave) < 15;
    };
    ASSERT_TRUE(run.DrawUntil(swings, 5000));
    EXPECT_NEAR(Crossings(run.Row(1)), 8, 1);
    SetSound("signal=sine;hertz=93.75");
    EXPECT_TRUE(run.DrawUntil([&] { return Crossings(run.Row(1)) <= 3; }, 5000));
}

TEST(LiveSound, TheChannelsResolutionIsTheTextures) {
    SetSound("signal=silence");
    const std::string document =
        DocumentBuilder()
            .Image(MainImage("c = vec4(iChannelResolution[0].xy / 1024.0,"
                             "iChannelResolution[1].x / 2560.0, 1);"),
                   {{.channel = 0, .ctype = "music"}, {.channel = 1, .ctype = "webcam"}})
            .Json();
    LiveRun run(document, 32, 24);
    ASSERT_EQ(run.Frame(), FrameResult::Drawn);
    EXPECT_EQ(run.Pixel(3, 3), 0x800080U);
}

struct Fault {
    const char* settings;
    long mostCallsInASecond;  ///< that the device may receive; many more mean that the thread spins
};

TEST(LiveSound, NoFaultOfADeviceStopsFramesSpinsOrLeaks) {
    // A healthy stream of 100 packets a second takes some 400 calls; a bounded round has 64 packets.
    constexpr long kHealthy = 700;
    const Fault faults[] = {
        {"fail=create", 10},
        {"fail=endpoint", 10},
        {"fail=activate", 10},
        {"fail=mixformat", 10},
        {"fail=initialize", 10},
        {"fail=service", 20},
        {"fail=start", 20},
        {"fail=stop", kHealthy},
        {"fail=nextpacket", kHealthy},
        {"fail=getbuffer", kHealthy},
        {"fail=releasebuffer", kHealthy},
        {"null=endpoint", 10},
        {"null=activate", 10},
        {"null=mixformat", 10},
        {"null=service", 20},
        {"null=getbuffer", kHealthy},
        {"gone=1", 10},
        {"packets=never", kHealthy},
        {"packets=empty", kHealthy},
        {"packets=endless", 64 * 4 * 60},
        {"channels=0;block=4", kHealthy},
        {"block=1", kHealthy},
        {"block=0", kHealthy},
        {"bits=0;block=8", kHealthy},
        {"rate=0", kHealthy},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.settings);
        SetSound(fault.settings);
        {
            LiveRun run(SoundDocument(), 512, 2);
            ASSERT_TRUE(run.DrawFor(300));
            const long before = SoundCalls();
            const ULONGLONG start = GetTickCount64();
            ASSERT_TRUE(run.DrawFor(500));
            const double seconds = static_cast<double>(GetTickCount64() - start) / 1000;
            EXPECT_LT(static_cast<double>(SoundCalls() - before) / seconds,
                      static_cast<double>(fault.mostCallsInASecond));
        }
        EXPECT_EQ(SoundObjects(), 0);
    }
}

TEST(LiveSound, ADeviceThatWentAwayIsHeardAgainWhenItComesBack) {
    for (const char* fault : {"gone=1", "fail=nextpacket", "fail=getbuffer"}) {
        SCOPED_TRACE(fault);
        SetSound("signal=sine;hertz=1000");
        LiveRun run(SoundDocument(), 512, 2);
        const auto heard = [&] { return !IsBlack(run.Row(0)); };
        ASSERT_TRUE(run.DrawUntil(heard, 5000));
        SetSound(fault);
        ASSERT_TRUE(run.DrawFor(1700));
        EXPECT_EQ(SoundObjects(), 0) << "the lost device is still held";
        SetSound("signal=sine;hertz=3000");
        const auto newTone = [&] {
            const std::vector<int> row = run.Row(0);
            return std::abs(static_cast<double>(std::ranges::max_element(row) - row.begin()) - 76.8) <= 2;
        };
        EXPECT_TRUE(run.DrawUntil(newTone, 8000));
    }
}

}  // namespace
}  // namespace pixelforge::test
