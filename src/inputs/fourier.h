// The 1024-point Fourier transform of real samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace pixelforge {

inline constexpr std::size_t kTransformSize = 1024;

/// Complex values, their real and imaginary parts apart, so that a vector register holds parts of one kind.
struct alignas(16) FourierBuffer {
    std::array<double, kTransformSize> real;
    std::array<double, kTransformSize> imaginary;
};

/// Forward, negative exponent, without scaling. Two levels of the radix-2 recursion are done in one walk over
/// the data, but each butterfly computes what the recursion computes, so that the results are equal to the
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

    /// Of the walks with quarters of 4, 16, 64 and 256 values in turn; each has three runs of a quarter's
    /// length: the inner level's, and the outer level's two halves.
    Factors factors_;
    double outerReal_;  ///< the first walk's factor that is not 1
    double outerImaginary_;
    double unitImaginary_;  ///< imaginary part of the factor 1: -0
    std::array<std::uint16_t, kTransformSize / 4> firstOutput_;
};

}  // namespace pixelforge
