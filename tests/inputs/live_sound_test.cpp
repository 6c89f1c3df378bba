// Captured sound from the device to the picture, and every way a device can fail.
#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <ranges>
#include <thread>
#include <tuple>

#include "inputs/audio_capture.h"
#include "tests/inputs/live_run.h"

/// The system does not reveal how often its timer's resolution has been raised, so the calls end here.
static std::atomic<int> raises{0};
static std::atomic<int> lowers{0};
extern "C" {
decltype(&timeBeginPeriod) __imp_timeBeginPeriod = [](UINT period) -> MMRESULT {
    raises += period == 1;
    return TIMERR_NOERROR;
};
decltype(&timeEndPeriod) __imp_timeEndPeriod = [](UINT period) -> MMRESULT {
    lowers += period == 1;
    return TIMERR_NOERROR;
};
}

namespace pixelforge::test {
namespace {

using LiveSound = DeviceTest;

/// Draws the 512 x 2 sound texture pixel by pixel; black if it has another size.
struct SoundRun : LiveRun {
    SoundRun()
        : LiveRun("music",
                  "c = vec4(texelFetch(iChannel0, ivec2(p), 0).x);"
                  "if (iChannelResolution[0].xy != vec2(512, 2)) c = vec4(0);") {}

    int Level(int x, int y) const { return static_cast<int>(Pixel(x, y) >> 16); }

    /// The peak within 10 columns of `column`, 0 if they are black. The tilt can raise noise farther away.
    int PeakNear(int column) const {
        const auto level = [this](int x) { return Level(x, 0); };
        const int peak = std::ranges::max(std::views::iota(column - 10, column + 11), {}, level);
        return level(peak) > 0 ? peak : 0;
    }

    bool ShowsTone(int column) const { return std::abs(PeakNear(column) - column) <= 2; }

    /// How often the waveform crosses its middle.
    int Crossings() const {
        const auto crosses = [this](int x) { return (Level(x, 1) > 127) != (Level(x - 1, 1) > 127); };
        return static_cast<int>(std::ranges::count_if(std::views::iota(1, 512), crosses));
    }
};

/// The columns of 1 and 3 kHz; 512 columns span 20 kHz.
constexpr int kColumn1k = 26;
constexpr int kColumn3k = 77;
constexpr const char* kTone1k = "signal=sine;hertz=1000;";
constexpr const char* kTone3k = "signal=sine;hertz=3000;";

TEST_F(LiveSound, PictureShowsSpectrumAndWaveformOfEveryReadableFormat) {
    // Crossings of 1 kHz in 512 samples; 0 if the format is unreadable.
    const std::pair<const char*, int> cases[] = {
        {"bits=32", 21},    {"bits=16", 21},    {"bits=16;channels=1;rate=44100", 23},
        {"channels=6", 21}, {"rate=22050", 46}, {"bits=16;block=7", 21},
        {"bits=8", 0},      {"bits=24", 0},     {"block=4", 0}};
    for (const auto& [format, crossings] : cases) {
        SCOPED_TRACE(format);
        kSound.Set(std::string(kTone1k) + format);
        const long packets = kSound.Count("releasebuffer");
        SoundRun run;
        EXPECT_TRUE(run.DrawUntil([&] { return kSound.Count("releasebuffer") > packets + 60; }));
        EXPECT_NEAR(run.PeakNear(kColumn1k), crossings > 0 ? kColumn1k : 0, 2);
        EXPECT_NEAR(run.Crossings(), crossings, 1);
        for (int x = 0; x < 512; ++x) {
            const int level = run.Level(x, 1);
            EXPECT_EQ(std::lround(std::lround(level * 127 / 255.0) * 255 / 127.0), level) << "not of 7 bits";
        }
    }
}

TEST_F(LiveSound, FaultsNeitherStopFramesNorSpinNorLeak) {
    // Calls to the device, at most, within milliseconds; far more mean that the thread spins.
    // Retried every two seconds.
    const std::vector<const char*> opening = {
        "fail=create", "fail=endpoint", "fail=activate", "fail=mixformat", "fail=initialize", "fail=service",
        "fail=start",  "null=endpoint", "null=activate", "null=mixformat", "null=service",    "gone=1"};
    // Each pass of 18 ms reads at most 64 packets, with three calls each.
    const std::vector<const char*> reading = {
        "fail=stop",      "fail=nextpacket", "fail=getbuffer", "fail=releasebuffer",
        "null=getbuffer", "packets=never",   "packets=empty",  "channels=0;block=4",
        "block=1",        "block=0",         "bits=0;block=8", "rate=0",
        "packets=endless"};
    const std::tuple<long, int, std::vector<const char*>> cases[] = {{8, 2000, opening}, {200, 18, reading}};
    for (const auto& [calls, milliseconds, faults] : cases) {
        for (const char* fault : faults) {
            SCOPED_TRACE(fault);
            kSound.Set(fault);
            const long before = kSound.Count("any");
            const ULONGLONG start = GetTickCount64();
            {
                SoundRun run;
                EXPECT_TRUE(run.DrawUntil([&] { return kSound.Count("any") > before; }));
                Sleep(300);
                EXPECT_EQ(run.Frame(), FrameResult::Drawn);
            }
            const auto periods = static_cast<long>(GetTickCount64() - start) / milliseconds + 2;
            EXPECT_LE(kSound.Count("any") - before, calls * periods);
        }
    }
}

TEST_F(LiveSound, CaptureLastsAsLongAsAnyInstanceAndStartsAgain) {
    const preview::ModuleLibrary loaded;
    for (const auto& [tone, column] : {std::pair(kTone1k, kColumn1k), std::pair(kTone3k, kColumn3k)}) {
        kSound.Set(tone);
        std::optional<SoundRun> first(std::in_place);
        std::optional<SoundRun> second(std::in_place);
        EXPECT_TRUE(second->DrawUntil([&] { return second->PeakNear(column) > 0; })) << tone;
        first.reset();
        const long calls = kSound.Count("any");
        EXPECT_TRUE(WaitUntil([&] { return kSound.Count("any") > calls; })) << "ends with the first instance";
        second.reset();
        EXPECT_EQ(kSound.Count("objects"), counts[0]) << "capture continues without an instance";
    }
}

TEST_F(LiveSound, CaptureResumesWhenALostDeviceReturns) {
    for (const char* fault : {"gone=1", "fail=nextpacket", "fail=getbuffer"}) {
        SCOPED_TRACE(fault);
        kSound.Set(kTone1k);
        SoundRun run;
        ASSERT_TRUE(run.DrawUntil([&] { return run.ShowsTone(kColumn1k); }));
        kSound.Set(fault);
        EXPECT_TRUE(run.DrawUntil([&] { return kSound.Count("objects") == counts[0]; })) << "not released";
        kSound.Set(kTone3k);
        EXPECT_TRUE(run.DrawUntil([&] { return run.ShowsTone(kColumn3k); }));
    }
}

TEST_F(LiveSound, CaptureFollowsTheDefaultDevice) {
    kSound.Set(kTone1k);
    SoundRun run;
    ASSERT_TRUE(run.DrawUntil([&] { return run.ShowsTone(kColumn1k); }));
    const long stops = kSound.Count("stop");
    for (const char* unknown : {"fail=endpoint;", "fail=id;", "null=id;"}) {
        kSound.Set(std::string("device=headphones;") + unknown + kTone3k);
        const long checks = kSound.Count("endpoint");
        EXPECT_TRUE(WaitUntil([&] { return kSound.Count("endpoint") > checks + 1; }));
        EXPECT_EQ(kSound.Count("stop"), stops) << unknown;
    }
    kSound.Set(std::string("device=headphones;") + kTone3k);
    EXPECT_TRUE(run.DrawUntil([&] { return run.ShowsTone(kColumn3k); }));
}

class CaptureThread : public DeviceTest {
protected:
    CaptureThread() { EXPECT_EQ(StartAudioCapture(), 1); }
    ~CaptureThread() override { StopAudioCapture(); }
};

TEST_F(CaptureThread, OpeningStopsAfterTheStepThatTheLastListenerInterrupts) {
    for (const char* step : {"create", "initialize"}) {
        SCOPED_TRACE(step);
        kSound.Set(std::string("hang=") + step);
        const long before = kSound.Count(step);
        AddAudioListener();
        ASSERT_TRUE(WaitUntil([&] { return kSound.Count(step) > before; }));
        const long calls = kSound.Count("any");
        RemoveAudioListener();
        kSound.Resume();
        EXPECT_TRUE(WaitUntil([&] { return kSound.Count("objects") == counts[0]; }));
        EXPECT_EQ(kSound.Count("any"), calls);
    }
}

TEST_F(CaptureThread, SleepsWithARaisedTimerAlsoAfterSingleFailures) {
    EXPECT_EQ(StartAudioCapture(), 1);
    StopAudioCapture();  // leaves the first user's thread
    kSound.Set("packets=never;flaky=nextpacket");
    const int passes = raises + 120;
    const long stops = kSound.Count("stop");
    AddAudioListener();
    EXPECT_TRUE(WaitUntil([&] { return raises > passes; }));
    EXPECT_EQ(kSound.Count("stop"), stops) << "the capture restarted";
    RemoveAudioListener();
    EXPECT_TRUE(WaitUntil([] { return raises == lowers; }));
}

TEST_F(CaptureThread, ReadersNeverSeeTornSpectra) {
    const std::jthread writer([](const std::stop_token& stop) {
        SpectrumBytes bytes = {};
        for (std::uint8_t level = 0; !stop.stop_requested(); ++level) {
            bytes.fill(level);
            PublishSpectrum(bytes);
        }
    });
    std::uint8_t last = 0;
    for (int changes = 0; changes < 200 && !HasFailure();) {
        const SpectrumBytes bytes = CopyAudioSpectrum();
        EXPECT_EQ(std::ranges::count(bytes, bytes[0]), 1024);
        changes += bytes[0] != last;
        last = bytes[0];
    }
}

}  // namespace
}  // namespace pixelforge::test
