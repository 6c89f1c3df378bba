// The sound analysis against its reference implementation.
#include "inputs/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "tests/inputs/reference_spectrum.h"

namespace pixelforge::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Full scale is 1.
float Tone(std::size_t n) {
    return static_cast<float>(0.5 * std::sin(0.13 * static_cast<double>(n)));
}

float Noise(std::size_t) {
    static std::mt19937 random(7);
    return static_cast<float>(random() % 20001) / 10000 - 1;
}

struct Signal {
    const char* name;
    std::function<float(std::size_t n)> sample;
};

const Signal kSignals[] = {
    {"silence", [](auto) { return 0.0F; }},
    {"tone", Tone},
    {"two tones", [](auto n) { return Tone(n) + 0.2F * Tone(9 * n); }},
    {"noise", Noise},
    {"clipping", [](auto n) { return std::clamp(8 * Tone(n), -1.0F, 1.0F); }},
    {"constant", [](auto) { return 0.25F; }},
    {"silence after sound", [](auto n) { return n < 6000 ? Tone(n) : 0; }},
    {"constant after sound", [](auto n) { return n < 6000 ? Tone(n) : 0.4F; }},
    {"very loud", [](auto n) { return 3e38F * Tone(n); }},
    {"a NaN", [](auto n) { return n == 5000 ? kNan : Tone(n); }},
    {"a NaN from the start", [](auto n) { return n == 3 ? kNan : Tone(n); }},
    {"only NaN", [](auto) { return kNan; }},
    {"an infinity", [](auto n) { return n == 5000 ? kInfinity : Tone(n); }},
    {"both infinities", [](auto n) { return n == 5000   ? kInfinity
                                            : n == 5003 ? -kInfinity
                                                        : Tone(n); }},
};

/// The second channel is the first at 30 %, further channels are silent.
std::vector<std::byte> Frames(const SampleFormat& format, const Signal& signal, std::size_t count) {
    std::vector<std::byte> bytes(count * format.frameBytes + 8);
    for (std::size_t n = 0; n < count; ++n) {
        const float first = signal.sample(n);
        const float values[] = {first, first * 0.3F};
        std::byte* frame = &bytes[n * format.frameBytes];
        for (std::size_t channel = 0; channel < std::min<std::size_t>(format.channels, 2); ++channel) {
            const float value = values[channel];
            if (format.bitsPerSample == 32) {
                std::memcpy(frame + 4 * channel, &value, 4);
            } else {
                const float scaled = std::isnan(value) ? 0 : std::clamp(value * 32767, -32768.0F, 32767.0F);
                const auto sample = static_cast<std::int16_t>(scaled);
                std::memcpy(frame + 2 * channel, &sample, 2);
            }
        }
    }
    return bytes;
}

/// Feeds the analysis as the capture thread does: packet by packet, split where the ring ends.
std::vector<SpectrumBytes> Analyse(SpectrumState& state, const SampleFormat& format, const std::byte* frames,
                                   std::size_t count, std::size_t packetFrames) {
    std::vector<SpectrumBytes> steps;
    for (std::size_t n = 0; n < count;) {
        const std::size_t packetEnd = std::min(count, (n / packetFrames + 1) * packetFrames);
        const std::span<double> room = FreeRing(state);
        const std::size_t converted = std::min(room.size(), packetEnd - n);
        ConvertFrames(format, frames + n * format.frameBytes, room.first(converted));
        n += converted;
        if (AdvanceRing(state, converted)) {
            steps.push_back(RunSpectrumStep(state));
        }
    }
    return steps;
}

void ExpectEqualAverages(const SpectrumState& state, const ReferenceSpectrum& reference) {
    for (std::size_t i = 0; i < 512; ++i) {
        const bool bothNan = std::isnan(state.binAverage[i]) && std::isnan(reference.average[i]);
        ASSERT_TRUE(bothNan || state.binAverage[i] == reference.average[i])
            << "column " << i << ": " << state.binAverage[i] << ", expected " << reference.average[i];
    }
}

void ExpectEqualAnalyses(const SampleFormat& format, const Signal& signal, std::size_t packetFrames,
                         std::int32_t linear) {
    constexpr std::size_t kFrames = 9000;
    SCOPED_TRACE(testing::Message() << signal.name << " at " << format.rate << " Hz, " << format.bitsPerSample
                                    << " bits, " << format.channels << " channels, packets of "
                                    << packetFrames);
    const std::vector<std::byte> bytes = Frames(format, signal, kFrames);
    ReferenceSpectrum reference(format.rate);
    reference.linearSpectrum = linear;
    reference.Add(format, bytes.data(), kFrames);
    SpectrumState state;
    SetCaptureRate(state, format.rate);
    state.linearSpectrum = linear;
    ASSERT_EQ(Analyse(state, format, bytes.data(), kFrames, packetFrames), reference.steps);
    ASSERT_EQ(state.binsTo20k, reference.binsTo20k);
    ExpectEqualAverages(state, reference);
}

TEST(Spectrum, MatchesReferenceForEverySignalRateFormatAndPacketSize) {
    const SampleFormat forms[] = {{0, 16, 1, 2}, {0, 16, 2, 4}, {0, 32, 2, 8}, {0, 32, 6, 24}, {0, 16, 2, 7}};
    const std::size_t packets[] = {480, 1, 7, 441, 1024, 15000};
    std::size_t turn = 0;
    // Below 20 kHz columns wrap past the end of the transform.
    for (const double rate : {22050.0, 44100.0, 48000.0, 96000.0, 8000.0}) {
        for (const Signal& signal : kSignals) {
            // Every signal as stereo floats and in one of the formats, in rotation.
            for (SampleFormat format : {forms[2], forms[turn % std::size(forms)]}) {
                format.rate = rate;
                const std::size_t packetFrames = packets[turn++ % std::size(packets)];
                ASSERT_NO_FATAL_FAILURE(ExpectEqualAnalyses(format, signal, packetFrames, 0));
            }
        }
        ASSERT_NO_FATAL_FAILURE(ExpectEqualAnalyses({rate, 32, 1, 4}, kSignals[1], 480, 1));
    }
    // Bin counts that are infinite, too large, below 1 and exactly 0.5.
    for (const double rate : {0.0, 1e-9, 1e9, 2.048e7 * 2}) {
        ASSERT_NO_FATAL_FAILURE(ExpectEqualAnalyses({rate, 32, 1, 4}, kSignals[1], 480, 0));
    }
}

TEST(Spectrum, MatchesReferenceThroughLongSilence) {
    constexpr std::size_t kFrames = 1024 * 200;
    const SampleFormat format = {48000, 16, 1, 2};
    const std::vector<std::byte> silence(2 * kFrames);
    for (const double peak : {1e-300, 1e-321}) {
        SpectrumState state;
        SetCaptureRate(state, format.rate);
        ReferenceSpectrum reference(format.rate);
        for (std::size_t i = 0; i < 512; ++i) {
            state.binAverage[i] = reference.average[i] = 1e-316 / static_cast<double>(1 + i % 7);
        }
        state.spectrumPeak = reference.spectrumPeak = peak;
        reference.Add(format, silence.data(), kFrames);
        ASSERT_EQ(Analyse(state, format, silence.data(), kFrames, 1024), reference.steps);
        ExpectEqualAverages(state, reference);
        EXPECT_TRUE(state.averagesSettled);
        EXPECT_GT(state.binAverage[7], 0);
    }
}

TEST(Spectrum, SilenceGivesBlackSpectrumAndWhiteWaveform) {
    SpectrumState state;
    const SpectrumBytes bytes = RunSpectrumStep(state);
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.begin() + 512, [](int byte) { return byte == 0; }));
    EXPECT_TRUE(std::all_of(bytes.begin() + 512, bytes.end(), [](int byte) { return byte == 255; }));
}

TEST(SampleFormat, AcceptsOnlyReadableFormats) {
    const SampleFormat readable[] = {{0, 16, 1, 2}, {0, 16, 6, 2}, {0, 16, 2, 5}, {0, 32, 6, 24}};
    const SampleFormat unreadable[] = {{0, 8, 2, 2},  {0, 24, 2, 6}, {0, 64, 2, 16}, {0, 0, 2, 4},
                                       {0, 16, 0, 4}, {0, 16, 1, 1}, {0, 32, 2, 4},  {0, 32, 1, 0}};
    for (const SampleFormat& format : readable) {
        EXPECT_TRUE(IsReadable(format)) << format.bitsPerSample << " bits in " << format.frameBytes;
    }
    for (const SampleFormat& format : unreadable) {
        EXPECT_FALSE(IsReadable(format)) << format.bitsPerSample << " bits in " << format.frameBytes;
    }
}

}  // namespace
}  // namespace pixelforge::test
