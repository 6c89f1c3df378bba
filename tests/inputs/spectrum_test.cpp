// The sound analysis against its reference implementation, and where camera snapshots are drawn.
#include "inputs/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <tuple>
#include <valarray>
#include <vector>

#include "inputs/webcam_capture.h"

namespace pixelforge::test {
namespace {

/// Slow and literal: textbook recursion, no tables. The product must match it byte for byte.
struct ReferenceSpectrum {
    ReferenceSpectrum(double rate, bool isLinear) : linear(isLinear) {
        const double bins = std::round(2.048e7 / rate);
        binsTo20k = bins >= 1 && bins < 2147483648.0 ? bins : 512;
    }

    using Complex = std::complex<double>;

    static std::valarray<Complex> Transform(const std::valarray<Complex>& x) {
        const std::size_t n = x.size();
        if (n == 1) {
            return x;
        }
        const std::valarray<Complex> even = Transform(x[std::slice(0, n / 2, 2)]);
        const std::valarray<Complex> odd = Transform(x[std::slice(1, n / 2, 2)]);
        std::valarray<Complex> result(n);
        for (std::size_t k = 0; k < n / 2; ++k) {
            const double a = static_cast<double>(k) * -6.283185307179586 * (1.0 / static_cast<double>(n));
            const Complex w = std::polar(1.0, a);
            // Not the library's product, which treats infinities differently.
            const Complex t(odd[k].real() * w.real() - odd[k].imag() * w.imag(),
                            odd[k].real() * w.imag() + odd[k].imag() * w.real());
            result[k] = even[k] + t;
            result[k + n / 2] = even[k] - t;
        }
        return result;
    }

    static void Smooth(double* a) {
        double means[257] = {};
        for (int j = 0; j < 256; ++j) {
            means[j] = (a[2 * j] + a[2 * j + 1]) / 2;
        }
        for (int i = 0; i < 512; ++i) {
            const double f = i % 2 * 0.5;
            a[i] = (1 - f) * means[i / 2] + f * means[i / 2 + 1];
        }
    }

    /// The bytes after the next 1024 samples.
    SpectrumBytes Step(const double* mono) {
        std::copy_n(mono, 1024, ring);
        std::valarray<Complex> x(1024);
        for (std::size_t n = 0; n < 1024; ++n) {
            x[n] = (1 - std::cos(static_cast<double>(n) * 0.00614192112138767)) * 0.5 * ring[n];
        }
        x = Transform(x);
        for (std::size_t i = 0; i < 512; ++i) {
            const auto column = static_cast<double>(i);
            const Complex value = x[static_cast<std::size_t>(column * (binsTo20k / 512)) % 1024];
            const double p = value.real() * value.real() + value.imag() * value.imag();
            average[i] = (8 * average[i] + (linear ? p : std::log10(p + 1) * column * 0.1953125)) / 9;
            binPeak[i] = std::fmax(binPeak[i], average[i]);
        }
        Smooth(average);
        for (int i = 0; i < 512; ++i) {
            waveMin = std::fmin(waveMin, ring[i]);
            waveMax = std::fmax(waveMax, ring[i]);
            spectrumPeak = std::fmax(spectrumPeak, average[i]);
        }
        Smooth(ring);
        SpectrumBytes bytes;
        for (std::size_t i = 0; i < 512; ++i) {
            const double share = average[i] / (linear ? binPeak[i] : spectrumPeak);
            bytes[i] = static_cast<std::uint8_t>(std::isnan(share) ? 0 : std::clamp(share, 0.0, 1.0) * 255);
            // Levels outside the 32-bit range become its lowest integer, whose low byte is 0.
            const double level = std::fmin((ring[i] - waveMin) * (1 / (waveMax - waveMin)) * 255, 255);
            bytes[512 + i] = static_cast<std::uint8_t>(level > -2147483649.0 ? static_cast<int>(level) : 0);
            binPeak[i] *= 0.999;
        }
        spectrumPeak *= 0.999;
        const double d = (waveMax - waveMin) * (1 - 0.999);
        waveMin += d;
        waveMax -= d;
        return bytes;
    }

    const bool linear;
    double binsTo20k;
    double ring[1024] = {};
    double average[512] = {};
    std::vector<double> binPeak = std::vector(512, std::numeric_limits<double>::lowest());
    double spectrumPeak = std::numeric_limits<double>::lowest();
    double waveMin = std::numeric_limits<double>::max();
    double waveMax = std::numeric_limits<double>::lowest();
};

struct Signal {
    const char* name;
    std::function<float(std::size_t n)> sample;  ///< full scale is 1
};

float Tone(std::size_t n) {
    return static_cast<float>(0.5 * std::sin(0.13 * static_cast<double>(n)));
}

const Signal kSilence = {"silence", [](auto) { return 0.0F; }};
const Signal kSignals[] = {
    {"tone", Tone},
    kSilence,
    {"constant", [](auto) { return 0.25F; }},
    {"noise", [random = std::mt19937(7)](auto) mutable { return float(random() % 20001) / 10000 - 1; }},
    {"silence after sound", [](auto n) { return n < 6000 ? Tone(n) : 0; }},
    {"constant after sound", [](auto n) { return n < 6000 ? Tone(n) : 0.4F; }},
    {"very loud", [](auto n) { return 3e38F * Tone(n); }},
    {"a NaN, then half as loud", [](auto n) { return n == 4100 ? NAN : Tone(n) / (n < 4096 ? 1 : 2); }},
    {"a NaN from the start", [](auto n) { return n == 3 ? NAN : Tone(n); }},
    {"only NaN", [](auto) { return NAN; }},
    {"an infinity", [](auto n) { return n == 5000 ? INFINITY : Tone(n); }},
    {"infinities", [](auto n) { return n == 5000 || n == 5003 ? (5001 - float(n)) * INFINITY : Tone(n); }}};

/// The product and its reference.
struct Analyses {
    explicit Analyses(double rate, bool linear = false) : reference(rate, linear) {
        SetCaptureRate(state, rate);
        state.linearSpectrum = linear;
    }

    /// Feeds the analysis as the capture thread does: packet by packet, split where the ring ends. The second
    /// channel is the first at 30 %, further channels are silent.
    void ExpectEqual(const SampleFormat& format, const Signal& signal, std::size_t packetFrames = 480,
                     std::size_t count = 9000) {
        SCOPED_TRACE(testing::Message()
                     << signal.name << " at " << format.rate << " Hz, " << format.bitsPerSample << " bits, "
                     << format.channels << " channels, packets of " << packetFrames);
        const std::size_t bytes = format.bitsPerSample / 8;
        std::vector<std::byte> frames(count * format.frameBytes + 8);
        std::vector<double> mono(count);
        for (std::size_t n = 0; n < count; ++n) {
            const float first = signal.sample(n);
            double read[2] = {};
            for (std::size_t channel = 0; channel < std::min<std::size_t>(format.channels, 2); ++channel) {
                const float value = channel == 0 ? first : first * 0.3F;
                const auto integer = static_cast<std::int16_t>(
                    std::isnan(value) ? 0 : std::clamp(value * 32767, -32768.0F, 32767.0F));
                read[channel] = bytes == 4 ? value : integer;
                std::memcpy(&frames[n * format.frameBytes + bytes * channel],
                            bytes == 4 ? static_cast<const void*>(&value) : &integer, bytes);
            }
            mono[n] = format.channels == 2 ? (read[0] + read[1]) * 0.5 : read[0];
        }
        std::size_t steps = 0;
        for (std::size_t n = 0; n < count;) {
            const std::size_t packetEnd = std::min(count, (n / packetFrames + 1) * packetFrames);
            const std::span<double> room = FreeRing(state);
            const std::size_t converted = std::min(room.size(), packetEnd - n);
            ConvertFrames(format, &frames[n * format.frameBytes], room.first(converted));
            n += converted;
            if (AdvanceRing(state, converted)) {
                ASSERT_EQ(n, ++steps * 1024);
                ASSERT_EQ(RunSpectrumStep(state), reference.Step(&mono[n - 1024]));
            }
        }
        ASSERT_EQ(steps, count / 1024);
        for (std::size_t i = 0; i < 512; ++i) {
            const bool bothNan = std::isnan(state.binAverage[i]) && std::isnan(reference.average[i]);
            ASSERT_TRUE(bothNan || state.binAverage[i] == reference.average[i]) << "column " << i;
        }
    }

    SpectrumState state;
    ReferenceSpectrum reference;
};

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
                ASSERT_NO_FATAL_FAILURE(Analyses(rate).ExpectEqual(format, signal, packetFrames));
            }
        }
        ASSERT_NO_FATAL_FAILURE(Analyses(rate, true).ExpectEqual({rate, 32, 1, 4}, kSignals[0]));
    }
    // Bin counts that are infinite, too large, below 1 and exactly 0.5.
    for (const double rate : {0.0, 1e-9, 1e9, 2.048e7 * 2}) {
        ASSERT_NO_FATAL_FAILURE(Analyses(rate).ExpectEqual({rate, 32, 1, 4}, kSignals[0]));
    }
}

TEST(Spectrum, MatchesReferenceThroughLongSilence) {
    const std::pair<double, bool> cases[] = {{1e-300, false}, {1e-321, false}, {1e-300, true}};
    for (const auto& [peak, linear] : cases) {
        Analyses analyses(48000, linear);
        SpectrumState& state = analyses.state;
        for (std::size_t i = 0; i < 512; ++i) {
            state.binAverage[i] = analyses.reference.average[i] = 1e-316 / static_cast<double>(1 + i % 7);
        }
        state.spectrumPeak = analyses.reference.spectrumPeak = peak;
        ASSERT_NO_FATAL_FAILURE(analyses.ExpectEqual({48000, 16, 1, 2}, kSilence, 1024, 1024 * 200));
        EXPECT_EQ(state.averagesSettled, !linear);
        EXPECT_GT(state.binAverage[7], 0);
        ASSERT_NO_FATAL_FAILURE(analyses.ExpectEqual({48000, 16, 1, 2}, {"sound again", Tone}));
    }
}

/// A bitmap header that may misstate the block.
struct Header {
    std::uint32_t size = 40;
    std::int32_t width = 640;
    std::int32_t height = 480;
    std::uint16_t planes = 1;
    std::uint16_t bits = 32;
    std::uint32_t compression = 0;
};

TEST(PlanWebcamStretch, PlacesCompleteUncompressedBitmapsAndRejectsOthers) {
    // Source width and height; top, width and height in the picture. Zeros: rejected.
    const std::tuple<Header, std::size_t, std::array<std::int32_t, 5>> cases[] = {
        {{.bits = 16}, 40 + 640 * 480 * 2, {640, 480, 0, 1280, 720}},
        {{.width = 800, .height = 240}, 40 + 800 * 240 * 4, {640, 240, 360, 1280, 360}},
        {{.width = 320, .height = -240}, 40 + 320 * 240 * 4, {320, 240, 0, 640, 360}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 24, {3, 2, 717, 6, 3}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 23, {}},
        {{.bits = 8}, 2000000, {}},
        {{.compression = 3}, 2000000, {}},
        {{.size = 124}, 2000000, {}},
        {{.width = 0}, 2000000, {}},
        {{.height = 0}, 2000000, {}},
        {{.width = INT32_MAX, .height = INT32_MAX}, 2000000, {}},
        {{.width = INT32_MAX, .height = INT32_MIN}, 2000000, {}}};
    for (const auto& [header, bytes, expected] : cases) {
        std::vector<std::byte> block(std::max(bytes, sizeof(Header)));
        std::memcpy(block.data(), &header, sizeof(Header));
        const auto plan = PlanWebcamStretch(std::span(block).first(bytes));
        EXPECT_EQ(plan.has_value(), expected[0] > 0);
        const auto drawn = std::bit_cast<std::array<std::int32_t, 5>>(plan.value_or(WebcamStretch()));
        EXPECT_EQ(drawn, expected) << header.width << " x " << header.height << ", " << header.bits
                                   << " bits in " << bytes << " bytes";
    }
}

}  // namespace
}  // namespace pixelforge::test
