// The sound analysis written down step by step, slowly and plainly, one sample at a time: what the fast one
// must equal byte for byte.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "inputs/sample_format.h"

namespace pixelforge::test {

struct LiteralSpectrum {
    explicit LiteralSpectrum(double rate);

    /// Adds `frames` frames; the bytes of each spectrum step on the way go to `steps`.
    void Add(const SampleFormat& format, const std::byte* data, std::size_t frames);

    std::vector<std::array<std::uint8_t, 1024>> steps;
    std::int32_t linearSpectrum = 0;
    std::int32_t binsTo20k = 512;
    double average[512] = {};
    double spectrumPeak = std::numeric_limits<double>::lowest();

private:
    struct Complex {
        double re;
        double im;
    };

    static void Transform(std::vector<Complex>& x);
    void Smooth(double* a);
    void Step();
    std::int64_t Bin(int column) const;

    double ring_[1024] = {};
    int ringPos_ = 0;
    double binPeak_[512];
    double scratch_[512] = {};
    double waveMin_ = std::numeric_limits<double>::max();
    double waveMax_ = std::numeric_limits<double>::lowest();
};

}  // namespace pixelforge::test
