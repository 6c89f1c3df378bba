// Captured sound from the device to the picture, and every way a device can fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/inputs/live_run.h"

namespace pixelforge::test {
namespace {

/// Draws the 512 x 2 sound texture pixel by pixel; black if it has another size.
class SoundRun : public LiveRun {
public:
    SoundRun()
        : LiveRun("music",
                  "c = vec4(texelFetch(iChannel0, ivec2(p), 0).x);"
                  "if (iChannelResolution[0].xy != vec2(512, 2)) c = vec4(0);",
                  512, 2) {}

    std::vector<int> Row(std::int32_t y) const {
        std::vector<int> levels;
        for (std::int32_t x = 0; x < 512; ++x) {
            levels.push_back(static_cast<int>(Pixel(x, y) >> 16));
        }
        return levels;
    }

    /// The peak within 10 columns of `column`, 0 if they are black. The tilt can raise noise farther away.
    double PeakNear(int column) const {
        const std::vector<int> row = Row(0);
        const auto peak = std::max_element(row.begin() + column - 10, row.begin() + column + 11);
        return *peak > 0 ? static_cast<double>(peak - row.begin()) : 0;
    }

    /// How often the waveform crosses its middle.
    int Crossings() const {
        const std::vector<int> wave = Row(1);
        int crossings = 0;
        bool above = wave.front() > 127;
        for (const int level : wave) {
            const bool nowAbove = above ? level > 96 : level > 160;
            crossings += nowAbove != above;
            above = nowAbove;
        }
        return crossings;
    }
};

TEST(LiveSound, PictureShowsSpectrumAndWaveformOfEveryReadableFormat) {
    const struct {
        const char* format;
        int crossings;  ///< of 1 kHz in 512 samples; 0 if the format is unreadable
    } cases[] = {
        {"bits=32", 21},
        {"bits=16", 21},
        {"bits=16;channels=1;rate=44100", 23},
        {"channels=6", 21},
        {"bits=16;channels=2;block=7", 21},
        {"rate=22050", 46},
        {"bits=8", 0},
        {"bits=24", 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.format);
        SetSound(std::string("signal=sine;hertz=1000;") + each.format);
        SoundRun run;
        // 512 columns span 20 kHz.
        const double column = each.crossings > 0 ? 25.6 : 0;
        const auto shows = [&] { return column > 0 && std::abs(run.PeakNear(26) - column) <= 2; };
        EXPECT_EQ(run.DrawUntil(shows, column > 0 ? 5000 : 600), column > 0);
        run.DrawFor(500);
        EXPECT_NEAR(run.PeakNear(26), column, 2);
        EXPECT_NEAR(run.Crossings(), each.crossings, 1);
    }
}

TEST(LiveSound, FaultsNeitherStopFramesNorSpinNorLeak) {
    const struct {
        double maxCallsPerSecond;  ///< to the device; far more mean that the thread spins
        std::vector<const char*> faults;
    } cases[] = {
        // Retried every two seconds.
        {20,
         {"fail=create", "fail=endpoint", "fail=activate", "fail=mixformat", "fail=initialize",
          "fail=service", "fail=start", "null=endpoint", "null=activate", "null=mixformat", "null=service",
          "gone=1"}},
        // A healthy stream of 100 packets per second takes about 400 calls.
        {700,
         {"fail=stop", "fail=nextpacket", "fail=getbuffer", "fail=releasebuffer", "null=getbuffer",
          "packets=never", "packets=empty", "channels=0;block=4", "block=1", "block=0", "bits=0;block=8",
          "rate=0"}},
        // Each pass reads at most 64 packets.
        {64 * 4 * 60, {"packets=endless"}},
    };
    const long objects = SoundObjects();
    for (const auto& [maxCallsPerSecond, faults] : cases) {
        for (const char* fault : faults) {
            SCOPED_TRACE(fault);
            SetSound(fault);
            {
                SoundRun run;
                run.DrawFor(300);
                const long before = SoundCalls();
                const ULONGLONG start = GetTickCount64();
                run.DrawFor(500);
                const double seconds = static_cast<double>(GetTickCount64() - start) / 1000;
                EXPECT_LT(static_cast<double>(SoundCalls() - before) / seconds, maxCallsPerSecond);
            }
            EXPECT_EQ(SoundObjects(), objects);
        }
    }
}

TEST(LiveSound, OpeningEndsWithTheLastInstance) {
    SetSound("slow=200");
    const long before = SoundCalls();
    LiveRun run("music", "c = vec4(1);", 32, 24);
    Sleep(100);
    run.Close();
    EXPECT_EQ(SoundCalls(), before + 1) << "calls after the device enumerator was created";
}

TEST(LiveSound, CaptureLastsAsLongAsAnyInstanceAndStartsAgain) {
    const preview::ModuleLibrary loaded;
    const long objects = SoundObjects();
    for (const auto& [hertz, column] : {std::pair(1000, 26), std::pair(3000, 77)}) {
        SetSound("signal=sine;hertz=" + std::to_string(hertz));
        std::optional<SoundRun> first(std::in_place);
        std::optional<SoundRun> second(std::in_place);
        EXPECT_TRUE(second->DrawUntil([&] { return second->PeakNear(column) > 0; }, 5000)) << hertz;
        first.reset();
        const long calls = SoundCalls();
        second->DrawFor(200);
        EXPECT_GT(SoundCalls(), calls) << "capture ended with the first of two instances";
        second.reset();
        EXPECT_EQ(SoundObjects(), objects) << "capture continues without an instance";
    }
}

TEST(LiveSound, CaptureResumesWhenALostDeviceReturns) {
    const long objects = SoundObjects();
    for (const char* fault : {"gone=1", "fail=nextpacket", "fail=getbuffer"}) {
        SCOPED_TRACE(fault);
        SetSound("signal=sine;hertz=1000");
        SoundRun run;
        ASSERT_TRUE(run.DrawUntil([&] { return run.PeakNear(26) > 0; }, 5000));
        SetSound(fault);
        run.DrawFor(1700);
        EXPECT_EQ(SoundObjects(), objects) << "the lost device was not released";
        SetSound("signal=sine;hertz=3000");
        EXPECT_TRUE(run.DrawUntil([&] { return std::abs(run.PeakNear(77) - 76.8) <= 2; }, 8000));
    }
}

TEST(LiveSound, CaptureFollowsTheDefaultDevice) {
    SetSound("signal=sine;hertz=1000");
    SoundRun run;
    ASSERT_TRUE(run.DrawUntil([&] { return run.PeakNear(26) > 0; }, 5000));
    for (const char* unnamed : {"fail=id", "null=id"}) {
        SetSound(std::string("device=headphones;signal=sine;hertz=3000;") + unnamed);
        EXPECT_FALSE(run.DrawUntil([&] { return run.PeakNear(77) > 0; }, 2500)) << "device without an id";
    }
    SetSound("device=headphones;signal=sine;hertz=3000");
    EXPECT_TRUE(run.DrawUntil([&] { return std::abs(run.PeakNear(77) - 76.8) <= 2; }, 10000));
}

}  // namespace
}  // namespace pixelforge::test
