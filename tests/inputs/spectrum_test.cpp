// The sound analysis against its plain transcription, and what a viewer expects to see of known sounds.
#include "inputs/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "inputs/sample_format.h"
#include "tests/inputs/literal_spectrum.h"

namespace pixelforge::test {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr std::size_t kFrames = 15000;

/// A sample of full scale 1 at frame `n`, for one channel.
using Signal = std::function<float(std::size_t n, std::uint32_t channel, double rate)>;

Signal Tone(double hertz, double level = 0.5) {
    return [=](std::size_t n, std::uint32_t channel, double rate) {
        const double phase = 2 * kPi * hertz * static_cast<double>(n) / rate;
        return static_cast<float>(level * std::sin(phase) * (channel == 0 ? 1 : 0.3));
    };
}

Signal Noise() {
    return [random = std::mt19937(7)](std::size_t, std::uint32_t, double) mutable {
        return static_cast<float>(random() % 20001) / 10000 - 1;
    };
}

Signal From(std::size_t start, const Signal& before, const Signal& after) {
    return [=](std::size_t n, std::uint32_t channel, double rate) {
        return n < start ? before(n, channel, rate) : after(n, channel, rate);
    };
}

Signal Constant(float value) {
    return [=](std::size_t, std::uint32_t, double) { return value; };
}

Signal WithSample(std::size_t place, float value) {
    return [=, tone = Tone(440)](std::size_t n, std::uint32_t channel, double rate) {
        return n == place ? value : tone(n, channel, rate);
    };
}

struct NamedSignal {
    const char* name;
    Signal signal;
};

std::vector<NamedSignal> Signals() {
    return {
        {"silence", Constant(0)},
        {"1 kHz", Tone(1000)},
        {"two tones", [a = Tone(220), b = Tone(9000, 0.1)](auto... at) { return a(at...) + b(at...); }},
        {"noise", Noise()},
        {"clipping", [tone = Tone(300, 4)](auto... at) { return std::clamp(tone(at...), -1.F, 1.F); }},
        {"constant", Constant(0.25F)},
        {"silence after sound", From(6000, Tone(700), Constant(0))},
        {"constant after sound", From(6000, Tone(700), Constant(0.4F))},
        {"very loud", Tone(1000, 3e38)},
        {"a NaN", WithSample(5000, kNan)},
        {"a NaN from the start", WithSample(3, kNan)},
        {"only NaN", Constant(kNan)},
        {"an infinity", WithSample(5000, kInfinity)},
        {"both infinities", [a = WithSample(5000, kInfinity),
                             b = WithSample(5003, -kInfinity)](auto... at) { return a(at...) + b(at...); }},
    };
}

std::vector<std::byte> Frames(const SampleFormat& format, const Signal& signal, std::size_t count) {
    std::vector<std::byte> bytes(count * format.frameBytes);
    Signal source = signal;
    for (std::size_t n = 0; n < count; ++n) {
        for (std::uint32_t channel = 0; channel < format.channels; ++channel) {
            const float value = source(n, channel, format.rate);
            std::byte* place = &bytes[n * format.frameBytes + channel * (format.bitsPerSample / 8)];
            if (format.bitsPerSample == 32) {
                std::memcpy(place, &value, 4);
            } else {
                const float scaled = std::isnan(value) ? 0 : std::clamp(value * 32767, -32768.F, 32767.F);
                const auto sample = static_cast<std::int16_t>(scaled);
                std::memcpy(place, &sample, 2);
            }
        }
    }
    return bytes;
}

/// Feeds the analysis as the capture does: whole packets, cut where the ring ends.
std::vector<SpectrumBytes> Analyse(SpectrumState& state, const SampleFormat& format,
                                   const std::vector<std::byte>& bytes, std::size_t packetFrames) {
    std::vector<SpectrumBytes> steps;
    const std::size_t frames = bytes.size() / format.frameBytes;
    for (std::size_t n = 0; n < frames && IsReadable(format);) {
        const std::size_t packetEnd = std::min(frames, (n / packetFrames + 1) * packetFrames);
        const std::span<double> room = FreeRing(state);
        const std::size_t count = std::min(room.size(), packetEnd - n);
        ConvertFrames(format, &bytes[n * format.frameBytes], room.first(count));
        n += count;
        if (AdvanceRing(state, count))
            steps.push_back(RunSpectrumStep(state));
    }
    return steps;
}

SpectrumState StateAt(double rate) {
    SpectrumState state;
    SetCaptureRate(state, rate);
    return state;
}

void ExpectEqualAnalyses(const SampleFormat& format, const NamedSignal& signal, std::int32_t linear) {
    SCOPED_TRACE(testing::Message() << signal.name << " at " << format.rate << " Hz, " << format.bitsPerSample
                                    << " bits, " << format.channels << " channels, mode " << linear);
    const std::vector<std::byte> bytes = Frames(format, signal.signal, kFrames);
    LiteralSpectrum literal(format.rate);
    literal.linearSpectrum = linear;
    literal.Add(format, bytes.data(), kFrames);
    SpectrumState state = StateAt(format.rate);
    state.linearSpectrum = linear;
    const std::vector<SpectrumBytes> steps = Analyse(state, format, bytes, 480);
    ASSERT_EQ(state.binsTo20k, literal.binsTo20k);
    ASSERT_EQ(steps.size(), kFrames / 1024);
    ASSERT_EQ(steps, literal.steps);
}

TEST(Spectrum, EqualsItsTranscriptionOnEverySignalRateAndFormat) {
    const SampleFormat forms[] = {{0, 16, 1, 2}, {0, 16, 2, 4}, {0, 32, 2, 8}, {0, 32, 6, 24}, {0, 16, 2, 7}};
    for (const double rate : {22050.0, 44100.0, 48000.0, 96000.0, 8000.0}) {
        for (const NamedSignal& signal : Signals()) {
            // Every signal as stereo floats, the others in turn.
            static std::size_t turn = 0;
            for (SampleFormat format : {forms[2], forms[turn++ % std::size(forms)]}) {
                format.rate = rate;
                ASSERT_NO_FATAL_FAILURE(ExpectEqualAnalyses(format, signal, 0));
            }
        }
        ASSERT_NO_FATAL_FAILURE(ExpectEqualAnalyses({rate, 32, 1, 4}, {"linear", Tone(1000)}, 1));
    }
}

TEST(Spectrum, StatesEqualToTheLastBitWhateverThePackets) {
    const SampleFormat format = {48000, 32, 2, 8};
    const std::vector<std::byte> bytes = Frames(format, Noise(), 30000);
    SpectrumState reference = StateAt(48000);
    const std::vector<SpectrumBytes> expected = Analyse(reference, format, bytes, 1);
    for (const std::size_t packet : {7U, 441U, 480U, 1024U, 30000U}) {
        SpectrumState state = StateAt(48000);
        EXPECT_EQ(Analyse(state, format, bytes, packet), expected) << packet;
        EXPECT_EQ(state.ringPos, 30000 % 1024);
        EXPECT_EQ(state.waveMin, reference.waveMin);
        EXPECT_EQ(state.binAverage, reference.binAverage);
    }
}

TEST(Spectrum, LongSilenceEndsAsTheTranscriptionDoes) {
    const SampleFormat format = {48000, 16, 1, 2};
    for (const double peak : {1e-300, 1e-321}) {
        SpectrumState state = StateAt(48000);
        LiteralSpectrum literal(48000);
        for (std::size_t i = 0; i < 512; ++i)
            state.binAverage[i] = literal.average[i] = 1e-306 / static_cast<double>(1 + i % 7);
        state.spectrumPeak = literal.spectrumPeak = peak;
        const std::vector<std::byte> bytes(2 * 1024 * 400);
        literal.Add(format, bytes.data(), 1024 * 400);
        ASSERT_EQ(Analyse(state, format, bytes, 1024), literal.steps);
        EXPECT_TRUE(state.averagesSettled);
        EXPECT_GT(state.binAverage[7], 0);
    }
}

TEST(Spectrum, RatesMapColumnsToBins) {
    struct Case {
        double rate;
        std::int32_t bins;
        int lastBin;  ///< of column 511
    };
    const Case cases[] = {
        {48000, 427, 426}, {44100, 464, 463},         {22050, 929, 927},
        {96000, 213, 212}, {8000, 2560, 2555 % 1024}, {0, 512, 511},
        {1e-9, 512, 511},  {1e9, 512, 511},           {2.048e7 * 2, 1, 0},  // half a bin rounds up
    };
    for (const Case& c : cases) {
        const SpectrumState state = StateAt(c.rate);
        EXPECT_EQ(state.binsTo20k, c.bins) << c.rate;
        EXPECT_EQ(state.columnBin[511], c.lastBin) << c.rate;
    }
}

TEST(Spectrum, AToneStandsOutInItsColumnAndTheWaveShowsIt) {
    for (const double rate : {44100.0, 48000.0}) {
        const SampleFormat format = {rate, 32, 1, 4};
        SpectrumState state = StateAt(rate);
        const SpectrumBytes last =
            Analyse(state, format, Frames(format, Tone(1000, 1000), 60000), 480).back();
        const auto spectrum = std::span(last).first<512>();
        // The tilt favours the upper flank of the tone, hence the search for a local peak near it.
        const double column = 1000 * 1024 / rate * 512 / state.binsTo20k;
        const auto around = spectrum.subspan(static_cast<std::size_t>(column) - 10, 21);
        const auto peak = std::ranges::max_element(around) - around.begin() - 10 + static_cast<int>(column);
        EXPECT_NEAR(static_cast<double>(peak), column, 2);
        EXPECT_GT(*std::max_element(last.begin() + 512, last.end()), 240);
        EXPECT_LT(*std::min_element(last.begin() + 512, last.end()), 15);
    }
}

TEST(Spectrum, SilenceIsBlackAndAFlatWaveIsWhite) {
    const SampleFormat format = {48000, 16, 2, 4};
    SpectrumState state = StateAt(48000);
    const SpectrumBytes bytes = Analyse(state, format, Frames(format, Constant(0), 1024), 480).back();
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.begin() + 512, [](int byte) { return byte == 0; }));
    EXPECT_TRUE(std::all_of(bytes.begin() + 512, bytes.end(), [](int byte) { return byte == 255; }));
}

TEST(SampleFormat, UnreadableFormsAreRefused) {
    struct Case {
        SampleFormat format;
        bool readable;
    };
    const Case cases[] = {
        {{48000, 16, 1, 2}, true},  {{48000, 16, 2, 4}, true},   {{48000, 32, 6, 24}, true},
        {{48000, 16, 6, 2}, true},  {{48000, 16, 2, 5}, true},   {{48000, 8, 2, 2}, false},
        {{48000, 24, 2, 6}, false}, {{48000, 64, 2, 16}, false}, {{48000, 0, 2, 4}, false},
        {{48000, 16, 0, 4}, false}, {{48000, 16, 1, 1}, false},  {{48000, 32, 2, 4}, false},
        {{48000, 32, 1, 0}, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(IsReadable(c.format), c.readable)
            << c.format.bitsPerSample << " bits, " << c.format.channels << " channels, "
            << c.format.frameBytes;
}

TEST(SampleFormat, StereoIsAveragedAndOtherCountsTakeTheFirstChannel) {
    const std::int16_t integers[] = {-32768, 32767, 100, 200, 7, 9};
    double mono[3];
    ConvertFrames({48000, 16, 2, 4}, reinterpret_cast<const std::byte*>(integers), mono);
    EXPECT_EQ(std::vector(mono, mono + 3), (std::vector<double>{-0.5, 150, 8}));
    ConvertFrames({48000, 16, 3, 6}, reinterpret_cast<const std::byte*>(integers), std::span(mono, 2));
    EXPECT_EQ(std::vector(mono, mono + 2), (std::vector<double>{-32768, 200}));
    const float floats[] = {0.5F, -1.5F, 2, 4};
    ConvertFrames({48000, 32, 2, 8}, reinterpret_cast<const std::byte*>(floats), std::span(mono, 2));
    EXPECT_EQ(std::vector(mono, mono + 2), (std::vector<double>{-0.5, 3}));
}

TEST(FourierTransform, PutsEveryExactFrequencyIntoItsBin) {
    const FourierTransform transform;
    FourierBuffer result;
    for (std::size_t bin = 0; bin < kTransformSize; bin += 37) {
        std::array<double, kTransformSize> samples;
        for (std::size_t n = 0; n < kTransformSize; ++n)
            samples[n] = std::cos(2 * kPi * static_cast<double>(bin * n % kTransformSize) / 1024);
        transform.Run(samples, result);
        for (std::size_t k = 0; k < kTransformSize; ++k) {
            const bool hit = k == bin || k == (kTransformSize - bin) % kTransformSize;
            const double height = bin == 0 || bin == 512 ? 1024 : 512;
            ASSERT_NEAR(result.real[k], hit ? height : 0, 1e-9) << "bin " << bin << " at " << k;
            ASSERT_NEAR(result.imaginary[k], 0, 1e-9) << "bin " << bin << " at " << k;
        }
    }
}

}  // namespace
}  // namespace pixelforge::test
