// Reference implementation of the sound analysis, slow and literal: textbook recursion, library functions, no
// tables. The product must match it byte for byte.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "inputs/spectrum.h"

namespace pixelforge::test {

class ReferenceSpectrum {
public:
    explicit ReferenceSpectrum(double rate) {
        const double bins = std::round(2.048e7 / rate);
        binsTo20k = bins >= 1 && bins < 2147483648.0 ? static_cast<std::int32_t>(bins) : 512;
        std::fill_n(binPeak_, 512, std::numeric_limits<double>::lowest());
    }

    /// Adds frames of a readable format; appends the bytes of each completed spectrum step to `steps`.
    void Add(const SampleFormat& format, const std::byte* data, std::size_t frames) {
        for (std::size_t i = 0; i < frames; ++i) {
            const std::byte* frame = data + i * format.frameBytes;
            ring_[ringPos_] =
                format.bitsPerSample == 16 ? Mono<std::int16_t>(format, frame) : Mono<float>(format, frame);
            ringPos_ = (ringPos_ + 1) % 1024;
            if (ringPos_ == 0) {
                Step();
            }
        }
    }

    std::vector<std::array<std::uint8_t, 1024>> steps;
    std::int32_t linearSpectrum = 0;
    std::int32_t binsTo20k;
    double average[512] = {};
    double spectrumPeak = std::numeric_limits<double>::lowest();

private:
    struct Complex {
        double re;
        double im;
    };

    template <class Sample>
    static double Mono(const SampleFormat& format, const std::byte* frame) {
        Sample samples[2] = {};
        std::memcpy(samples, frame, (format.channels == 2 ? 2 : 1) * sizeof(Sample));
        const double first = samples[0];
        return format.channels == 2 ? (first + samples[1]) * 0.5 : first;
    }

    /// The processor converts values outside the 32-bit range to the lowest integer, whose low byte is 0.
    static std::uint8_t LowByte(double value) {
        const bool fits = value > -2147483649.0 && value < 2147483648.0;
        return fits ? static_cast<std::uint8_t>(static_cast<std::int32_t>(value) & 0xFF) : std::uint8_t{0};
    }

    static std::vector<Complex> Transform(const std::vector<Complex>& x) {
        const std::size_t n = x.size();
        if (n == 1) {
            return x;
        }
        std::vector<Complex> even(n / 2);
        std::vector<Complex> odd(n / 2);
        for (std::size_t j = 0; j < n; ++j) {
            (j % 2 ? odd : even)[j / 2] = x[j];
        }
        even = Transform(even);
        odd = Transform(odd);
        std::vector<Complex> result(n);
        for (std::size_t k = 0; k < n / 2; ++k) {
            const double a = static_cast<double>(k) * -6.283185307179586 * (1.0 / static_cast<double>(n));
            const Complex w = {std::cos(a), std::sin(a)};
            const Complex t = {odd[k].re * w.re - odd[k].im * w.im, odd[k].re * w.im + odd[k].im * w.re};
            result[k] = {even[k].re + t.re, even[k].im + t.im};
            result[k + n / 2] = {even[k].re - t.re, even[k].im - t.im};
        }
        return result;
    }

    void Smooth(double* a) {
        for (int j = 0; j < 256; ++j) {
            scratch_[j] = (a[2 * j] + a[2 * j + 1]) / 2;
        }
        for (int i = 0; i < 512; ++i) {
            const double x = i * 0.5;
            const int k = static_cast<int>(std::floor(x));
            const double f = x - k;
            a[i] = (1 - f) * scratch_[k] + f * scratch_[k + 1];
        }
    }

    void Step() {
        std::vector<Complex> x;
        for (int n = 0; n < 1024; ++n) {
            x.push_back({(1 - std::cos(n * 0.00614192112138767)) * 0.5 * ring_[n], 0});
        }
        x = Transform(x);
        for (int i = 0; i < 512; ++i) {
            const auto bin = static_cast<std::int64_t>(i * (binsTo20k / 512.0)) % 1024;
            const Complex value = x[static_cast<std::size_t>(bin)];
            const double p = value.re * value.re + value.im * value.im;
            const double v = linearSpectrum != 0 ? p : std::log10(p + 1) * i * 0.1953125;
            average[i] = (8 * average[i] + v) / 9;
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

    void WriteBytes(std::array<std::uint8_t, 1024>& bytes) const {
        const double range = waveMax_ - waveMin_;
        for (std::size_t i = 0; i < 512; ++i) {
            const double share = average[i] / (linearSpectrum != 0 ? binPeak_[i] : spectrumPeak);
            bytes[i] = static_cast<std::uint8_t>(std::isnan(share) ? 0 : std::clamp(share, 0.0, 1.0) * 255);
            bytes[512 + i] = LowByte(std::fmin((ring_[i] - waveMin_) * (1 / range) * 255, 255));
        }
    }

    double ring_[1024] = {};
    int ringPos_ = 0;
    double binPeak_[512];
    double scratch_[512] = {};
    double waveMin_ = std::numeric_limits<double>::max();
    double waveMax_ = std::numeric_limits<double>::lowest();
};

}  // namespace pixelforge::test
