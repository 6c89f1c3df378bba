// One thread publishes the spectrum while another reads it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "inputs/audio_capture.h"
#include "tests/inputs/live_run.h"

namespace pixelforge::test {
namespace {

TEST(SharedSpectrum, ReadersNeverSeeTornData) {
    SetSound("packets=never");
    ASSERT_EQ(StartAudioCapture(), 1);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        SpectrumBytes bytes = {};
        for (std::uint8_t level = 0; !stop; ++level) {
            bytes.fill(level);
            PublishSpectrum(bytes);
        }
    });
    int changes = 0;
    std::uint8_t last = 0;
    for (int torn = 0; changes < 200 && torn == 0;) {
        const SpectrumBytes bytes = CopyAudioSpectrum();
        torn = static_cast<int>(std::ranges::count_if(bytes, [&](std::uint8_t b) { return b != bytes[0]; }));
        EXPECT_EQ(torn, 0);
        changes += bytes[0] != last;
        last = bytes[0];
    }
    stop = true;
    writer.join();
    StopAudioCapture();
}

}  // namespace
}  // namespace pixelforge::test
