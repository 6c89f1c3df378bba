// Radix-2 butterflies, two levels and two neighbouring values at a time.
#include "inputs/fourier.h"

#include <cmath>
#include <cstring>

namespace pixelforge {
namespace {

constexpr double kMinusTwoPi = -6.283185307179586;
constexpr std::size_t kFirstQuarter = 4;

using Pair [[gnu::vector_size(16)]] = double;

struct ComplexPair {
    Pair real;
    Pair imaginary;
};

inline Pair Load(const double* address) noexcept {
    Pair pair;
    std::memcpy(&pair, address, sizeof(pair));
    return pair;
}

template <class Parts>
inline ComplexPair Load(const Parts& parts, std::size_t index) noexcept {
    return {Load(&parts.real[index]), Load(&parts.imaginary[index])};
}

inline void Store(FourierBuffer& data, std::size_t index, const ComplexPair& value) noexcept {
    std::memcpy(&data.real[index], &value.real, sizeof(Pair));
    std::memcpy(&data.imaginary[index], &value.imaginary, sizeof(Pair));
}

/// Stores one lane of four values to consecutive places.
inline void StoreLane(FourierBuffer& data, std::size_t index, const ComplexPair (&values)[4],
                      int lane) noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        data.real[index + i] = values[i].real[lane];
        data.imaginary[index + i] = values[i].imaginary[lane];
    }
}

inline ComplexPair Broadcast(double real, double imaginary) noexcept {
    return {Pair{real, real}, Pair{imaginary, imaginary}};
}

/// even, odd = even + odd * factor, even - odd * factor
inline void Butterfly(ComplexPair& even, ComplexPair& odd, const ComplexPair& factor) noexcept {
    const Pair real = odd.real * factor.real - odd.imaginary * factor.imaginary;
    const Pair imaginary = odd.real * factor.imaginary + odd.imaginary * factor.real;
    odd = {even.real - real, even.imaginary - imaginary};
    even = {even.real + real, even.imaginary + imaginary};
}

std::size_t ReverseBits(std::size_t value, int bits) noexcept {
    std::size_t reversed = 0;
    for (int bit = 0; bit < bits; ++bit) {
        reversed |= (value >> bit & 1) << (bits - 1 - bit);
    }
    return reversed;
}

double Angle(std::size_t k, std::size_t size) noexcept {
    return static_cast<double>(k) * kMinusTwoPi * (1.0 / static_cast<double>(size));
}

}  // namespace

FourierTransform::FourierTransform() noexcept
    : outerReal_(std::cos(Angle(1, 4))), outerImaginary_(std::sin(Angle(1, 4))), unitImaginary_(-0.0) {
    factors_ = {};
    std::size_t factor = 0;
    const auto add = [&](std::size_t first, std::size_t count, std::size_t size) {
        for (std::size_t k = first; k < first + count; ++k, ++factor) {
            factors_.real[factor] = std::cos(Angle(k, size));
            factors_.imaginary[factor] = std::sin(Angle(k, size));
        }
    };
    for (std::size_t quarter = kFirstQuarter; quarter < kTransformSize; quarter *= 4) {
        add(0, quarter, 2 * quarter);
        add(0, 2 * quarter, 4 * quarter);
    }
    for (std::size_t i = 0; i < firstOutput_.size(); ++i) {
        firstOutput_[i] = static_cast<std::uint16_t>(4 * ReverseBits(i, 8));
    }
}

void FourierTransform::Run(std::span<const double, kTransformSize> samples,
                           FourierBuffer& result) const noexcept {
    FirstTwoLevels(samples.data(), result);
    std::size_t factor = 0;
    for (std::size_t quarter = kFirstQuarter; quarter < kTransformSize; quarter *= 4) {
        TwoLevels(result, quarter, factor);
        factor += 3 * quarter;
    }
}

/// The recursion splits off even samples at every level, so samples i, i + 512, i + 256 and i + 768 combine
/// first, and their four results belong at i with its bits reversed. Multiplying by 1 and -0 is not skipped:
/// it turns infinities into NaN.
void FourierTransform::FirstTwoLevels(const double* samples, FourierBuffer& data) const noexcept {
    constexpr std::size_t kQuarter = kTransformSize / 4;
    const ComplexPair unit = Broadcast(1, unitImaginary_);
    const ComplexPair outer = Broadcast(outerReal_, outerImaginary_);
    for (std::size_t i = 0; i < kQuarter; i += 2) {
        ComplexPair values[4] = {{Load(samples + i), Pair{}},
                                 {Load(samples + i + 2 * kQuarter), Pair{}},
                                 {Load(samples + i + kQuarter), Pair{}},
                                 {Load(samples + i + 3 * kQuarter), Pair{}}};
        Butterfly(values[0], values[1], unit);
        Butterfly(values[2], values[3], unit);
        Butterfly(values[0], values[2], unit);
        Butterfly(values[1], values[3], outer);
        StoreLane(data, firstOutput_[i], values, 0);
        StoreLane(data, firstOutput_[i + 1], values, 1);
    }
}

void FourierTransform::TwoLevels(FourierBuffer& data, std::size_t quarter,
                                 std::size_t factor) const noexcept {
    for (std::size_t k = 0; k < quarter; k += 2) {
        const ComplexPair inner = Load(factors_, factor + k);
        const ComplexPair outerLow = Load(factors_, factor + quarter + k);
        const ComplexPair outerHigh = Load(factors_, factor + 2 * quarter + k);
        for (std::size_t i = k; i < kTransformSize; i += 4 * quarter) {
            ComplexPair a = Load(data, i);
            ComplexPair b = Load(data, i + quarter);
            ComplexPair c = Load(data, i + 2 * quarter);
            ComplexPair d = Load(data, i + 3 * quarter);
            Butterfly(a, b, inner);
            Butterfly(c, d, inner);
            Butterfly(a, c, outerLow);
            Butterfly(b, d, outerHigh);
            Store(data, i, a);
            Store(data, i + quarter, b);
            Store(data, i + 2 * quarter, c);
            Store(data, i + 3 * quarter, d);
        }
    }
}

}  // namespace pixelforge
