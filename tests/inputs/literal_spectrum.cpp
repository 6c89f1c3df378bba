// Textbook recursion, library functions, no tables.
#include "tests/inputs/literal_spectrum.h"

namespace pixelforge::test {
namespace {

/// What the processor does with a value that a 32-bit integer cannot hold: the lowest integer.
std::uint8_t LowByte(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return 0;
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(std::trunc(value)) & 0xFF);
}

double Mono(const SampleFormat& format, const std::byte* frame) {
    double first = 0;
    double second = 0;
    if (format.bitsPerSample == 16) {
        std::int16_t samples[2] = {};
        std::memcpy(samples, frame, format.channels == 2 ? 4 : 2);
        first = samples[0];
        second = samples[1];
    } else {
        float samples[2] = {};
        std::memcpy(samples, frame, format.channels == 2 ? 8 : 4);
        first = static_cast<double>(samples[0]);
        second = static_cast<double>(samples[1]);
    }
    return format.channels == 2 ? (first + second) * 0.5 : first;
}

}  // namespace

LiteralSpectrum::LiteralSpectrum(double rate) {
    for (double& peak : binPeak_)
        peak = std::numeric_limits<double>::lowest();
    const double bins = std::round(2.048e7 / rate);
    binsTo20k = bins >= 1 && bins < 2147483648.0 ? static_cast<std::int32_t>(bins) : 512;
}

void LiteralSpectrum::Add(const SampleFormat& format, const std::byte* data, std::size_t frames) {
    const std::size_t sampleBytes = format.bitsPerSample / 8;
    if (format.bitsPerSample != 16 && format.bitsPerSample != 32)
        return;
    if (format.channels == 0 || format.frameBytes < (format.channels == 2 ? 2 : 1) * sampleBytes)
        return;
    for (std::size_t i = 0; i < frames; ++i) {
        ring_[ringPos_] = Mono(format, data + i * format.frameBytes);
        ringPos_ = (ringPos_ + 1) % 1024;
        if (ringPos_ == 0)
            Step();
    }
}

void LiteralSpectrum::Transform(std::vector<Complex>& x) {
    const std::size_t n = x.size();
    if (n < 2)
        return;
    std::vector<Complex> even(n / 2);
    std::vector<Complex> odd(n / 2);
    for (std::size_t j = 0; j < n / 2; ++j) {
        even[j] = x[2 * j];
        odd[j] = x[2 * j + 1];
    }
    Transform(even);
    Transform(odd);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const double a = static_cast<double>(k) * -6.283185307179586 * (1.0 / static_cast<double>(n));
        const Complex w = {std::cos(a), std::sin(a)};
        const Complex t = {odd[k].re * w.re - odd[k].im * w.im, odd[k].re * w.im + odd[k].im * w.re};
        x[k] = {even[k].re + t.re, even[k].im + t.im};
        x[k + n / 2] = {even[k].re - t.re, even[k].im - t.im};
    }
}

void LiteralSpectrum::Smooth(double* a) {
    constexpr int kShift = 1;
    constexpr int g = 1 << kShift;
    constexpr int m = 512 / g;
    for (int j = 0; j < m; ++j) {
        double sum = 0;
        int count = 0;
        for (int i = j * g; i < std::min(j * g + g, 512); ++i, ++count)
            sum += a[i];
        scratch_[j] = sum / count;
    }
    for (int i = 0; i < 512; ++i) {
        const double x = i * (m * (1.0 / 512));
        const int k = static_cast<int>(std::floor(x));
        const double f = x - k;
        a[i] = (1 - f) * scratch_[k] + f * scratch_[k + 1];
    }
}

std::int64_t LiteralSpectrum::Bin(int column) const {
    const double factor = binsTo20k / 512.0;
    return static_cast<std::int64_t>(std::trunc(column * factor)) % 1024;
}

void LiteralSpectrum::Step() {
    std::vector<Complex> x(1024);
    for (int n = 0; n < 1024; ++n)
        x[static_cast<std::size_t>(n)] = {(1 - std::cos(n * 0.00614192112138767)) * 0.5 * ring_[n], 0};
    Transform(x);
    for (int i = 0; i < 512; ++i) {
        const Complex value = x[static_cast<std::size_t>(Bin(i))];
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
    const double range = waveMax_ - waveMin_;
    std::array<std::uint8_t, 1024>& bytes = steps.emplace_back();
    for (std::size_t i = 0; i < 512; ++i) {
        double share = average[i] / (linearSpectrum != 0 ? binPeak_[i] : spectrumPeak);
        share = std::isnan(share) ? 0 : std::fmin(std::fmax(share, 0), 1);
        bytes[i] = static_cast<std::uint8_t>(std::trunc(share * 255));
        bytes[512 + i] = LowByte(std::fmin((ring_[i] - waveMin_) * (1 / range) * 255, 255));
    }
    for (double& peak : binPeak_)
        peak *= 0.999;
    spectrumPeak *= 0.999;
    const double d = (waveMax_ - waveMin_) * (1 - 0.999);
    waveMin_ += d;
    waveMax_ -= d;
}

}  // namespace pixelforge::test
