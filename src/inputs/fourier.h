// The 1024-point Fourier transform of real samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace pixelforge {

inline constexpr std::size_t kTransformSize = 1024;

/// Complex values with real and imaginary parts in separate arrays, for vector loads.
struct alignas(16) FourierBuffer {
    std::array<double, kTransformSize> real;
    std::array<double, kTransformSize> imaginary;
};

/// Forward transform: negative exponent, no scaling. Each sweep over the data performs two levels of the
/// radix-2 recursion with the recursion's own butterflies, so the results match those of the recursion to the
/// last bit, infinities and NaN included.
class FourierTransform {
public:
    FourierTransform() noexcept;

    void Run(std::span<const double, kTransformSize> samples, FourierBuffer& result) const noexcept;

private:
    struct alignas(16) Factors {
        std::array<double, kTransformSize> real;
        std::array<double, kTransformSize> imaginary;
    };

    void FirstTwoLevels(const double* samples, FourierBuffer& data) const noexcept;
    void TwoLevels(FourierBuffer& data, std::size_t quarter, std::size_t factor) const noexcept;

    /// Twiddle factors of the sweeps over blocks of 16, 64, 256 and 1024 values. For a block of 4n values a
    /// sweep has three runs of n factors: the inner level's, then the two halves of the outer level's.
    Factors factors_;
    double outerReal_;  ///< the only factor of the first sweep other than 1
    double outerImaginary_;
    double unitImaginary_;  ///< of the factor 1: -0
    std::array<std::uint16_t, kTransformSize / 4> firstOutput_;
};

}  // namespace pixelforge
