// The sound analysis against its reference implementation, and where camera snapshots are drawn.
#include "inputs/spectrum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
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

/// Slow and literal: textbook recursion, library functions, no tables. The product must match it byte for
/// byte.
class ReferenceSpectrum {
public:
    explicit ReferenceSpectrum(double rate, bool linear) : linear_(linear) {
        const double bins = std::round(2.048e7 / rate);
        binsTo20k_ = bins >= 1 && bins < 2147483648.0 ? static_cast<std::int32_t>(bins) : 512;
        std::ranges::fill(binPeak_, std::numeric_limits<double>::lowest());
    }

    /// Adds frames of a readable format; appends the bytes of each completed spectrum step to `steps`.
    void Add(const SampleFormat& format, const std::byte* data, std::size_t frames) {
        const std::size_t bytes = format.bitsPerSample / 8;
        for (std::size_t i = 0; i < frames; ++i, data += format.frameBytes) {
            const double first = Sample(bytes, data);
            ring_[ringPos_] = format.channels == 2 ? (first + Sample(bytes, data + bytes)) * 0.5 : first;
            ringPos_ = (ringPos_ + 1) % 1024;
            if (ringPos_ == 0) {
                Step();
            }
        }
    }

    std::vector<SpectrumBytes> steps;
    double average[512] = {};
    double spectrumPeak = std::numeric_limits<double>::lowest();

private:
    using Complex = std::complex<double>;

    static double Sample(std::size_t bytes, const std::byte* place) {
        std::int16_t integer = 0;
        float real = 0;
        std::memcpy(bytes == 2 ? static_cast<void*>(&integer) : &real, place, bytes);
        return bytes == 2 ? integer : real;
    }

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
            const int k = i / 2;
            const double f = i * 0.5 - k;
            a[i] = (1 - f) * means[k] + f * means[k + 1];
        }
    }

    void Step() {
        std::valarray<Complex> x(1024);
        for (std::size_t n = 0; n < 1024; ++n) {
            x[n] = (1 - std::cos(static_cast<double>(n) * 0.00614192112138767)) * 0.5 * ring_[n];
        }
        x = Transform(x);
        for (int i = 0; i < 512; ++i) {
            const auto bin = static_cast<std::int64_t>(i * (binsTo20k_ / 512.0)) % 1024;
            const Complex value = x[static_cast<std::size_t>(bin)];
            const double p = value.real() * value.real() + value.imag() * value.imag();
            average[i] = (8 * average[i] + (linear_ ? p : std::log10(p + 1) * i * 0.1953125)) / 9;
            binPeak_[i] = std::fmax(binPeak_[i], average[i]);
        }
        Smooth(average);
        for (int i = 0; i < 512; ++i) {
            waveMin_ = std::fmin(waveMin_, ring_[i]);
            waveMax_ = std::fmax(waveMax_, ring_[i]);
            spectrumPeak = std::fmax(spectrumPeak, average[i]);
        }
        Smooth(ring_);
        WriteBytes(steps.emplace_back());
        for (double& peak : binPeak_) {
            peak *= 0.999;
        }
        spectrumPeak *= 0.999;
        const double d = (waveMax_ - waveMin_) * (1 - 0.999);
        waveMin_ += d;
        waveMax_ -= d;
    }

    /// The processor converts levels outside the 32-bit range to the lowest integer, whose low byte is 0.
    void WriteBytes(SpectrumBytes& bytes) const {
        const double range = waveMax_ - waveMin_;
        for (std::size_t i = 0; i < 512; ++i) {
            const double share = average[i] / (linear_ ? binPeak_[i] : spectrumPeak);
            bytes[i] = static_cast<std::uint8_t>(std::isnan(share) ? 0 : std::clamp(share, 0.0, 1.0) * 255);
            const double level = std::fmin((ring_[i] - waveMin_) * (1 / range) * 255, 255);
            bytes[512 + i] =
                static_cast<std::uint8_t>(level > -2147483649.0 ? static_cast<std::int32_t>(level) : 0);
        }
    }

    const bool linear_;
    std::int32_t binsTo20k_;
    double ring_[1024] = {};
    int ringPos_ = 0;
    double binPeak_[512];
    double waveMin_ = std::numeric_limits<double>::max();
    double waveMax_ = std::numeric_limits<double>::lowest();
};

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

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
    const std::size_t bytes = format.bitsPerSample / 8;
    std::vector<std::byte> frames(count * format.frameBytes + 8);
    for (std::size_t n = 0; n < count; ++n) {
        const float first = signal.sample(n);
        for (std::size_t channel = 0; channel < std::min<std::size_t>(format.channels, 2); ++channel) {
            const float value = channel == 0 ? first : first * 0.3F;
            const auto integer = static_cast<std::int16_t>(
                std::isnan(value) ? 0 : std::clamp(value * 32767, -32768.0F, 32767.0F));
            std::memcpy(&frames[n * format.frameBytes + bytes * channel],
                        bytes == 4 ? static_cast<const void*>(&value) : &integer, bytes);
        }
    }
    return frames;
}

/// The product and its reference.
struct Analyses {
    explicit Analyses(double rate, bool linear = false) : reference(rate, linear) {
        SetCaptureRate(state, rate);
        state.linearSpectrum = linear;
    }

    /// Feeds the analysis as the capture thread does: packet by packet, split where the ring ends.
    void ExpectEqual(const SampleFormat& format, const Signal& signal, std::size_t packetFrames = 480,
                     std::size_t count = 9000) {
        SCOPED_TRACE(testing::Message()
                     << signal.name << " at " << format.rate << " Hz, " << format.bitsPerSample << " bits, "
                     << format.channels << " channels, packets of " << packetFrames);
        const std::vector<std::byte> frames = Frames(format, signal, count);
        std::vector<SpectrumBytes> steps;
        for (std::size_t n = 0; n < count;) {
            const std::size_t packetEnd = std::min(count, (n / packetFrames + 1) * packetFrames);
            const std::span<double> room = FreeRing(state);
            const std::size_t converted = std::min(room.size(), packetEnd - n);
            ConvertFrames(format, &frames[n * format.frameBytes], room.first(converted));
            n += converted;
            if (AdvanceRing(state, converted)) {
                steps.push_back(RunSpectrumStep(state));
            }
        }
        reference.Add(format, frames.data(), count);
        ASSERT_EQ(steps, reference.steps);
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
    }
}

TEST(SampleFormat, AcceptsOnlyReadableFormats) {
    const std::pair<SampleFormat, bool> cases[] = {
        {{0, 16, 1, 2}, true},  {{0, 16, 6, 2}, true},  {{0, 16, 2, 5}, true},   {{0, 32, 6, 24}, true},
        {{0, 8, 2, 2}, false},  {{0, 24, 2, 6}, false}, {{0, 64, 2, 16}, false}, {{0, 0, 2, 4}, false},
        {{0, 16, 0, 4}, false}, {{0, 16, 1, 1}, false}, {{0, 32, 2, 4}, false},  {{0, 32, 1, 0}, false}};
    for (const auto& [format, readable] : cases) {
        EXPECT_EQ(IsReadable(format), readable) << format.bitsPerSample << " bits in " << format.frameBytes;
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
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    // Source width and height; top, width and height in the picture. Empty: rejected.
    const std::tuple<Header, std::size_t, std::vector<std::int32_t>> cases[] = {
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
        {{.width = kMax, .height = kMax}, 2000000, {}},
        {{.width = kMax, .height = kMin}, 2000000, {}},
    };
    for (const auto& [header, bytes, expected] : cases) {
        std::vector<std::byte> block(std::max(bytes, sizeof(Header)));
        std::memcpy(block.data(), &header, sizeof(Header));
        const auto plan = PlanWebcamStretch(std::span(block).first(bytes));
        std::vector<std::int32_t> drawn;
        if (plan) {
            drawn = {plan->sourceWidth, plan->sourceHeight, plan->top, plan->width, plan->height};
        }
        EXPECT_EQ(drawn, expected) << header.width << " x " << header.height << ", " << header.bits
                                   << " bits in " << bytes << " bytes";
    }
}

}  // namespace
}  // namespace pixelforge::test
