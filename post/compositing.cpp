// Foreground and level kernels: one body each, compiled for one, four and eight pixels at a time.
#include "post/compositing.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "post/target.h"

namespace pixelforge {
namespace {

constexpr std::uint32_t kColourMask = 0xFFFFFF;

struct OnePixel {
    static constexpr std::size_t kCount = 1;
    using Words = std::uint32_t;
    using Integers = std::int32_t;
    using Floats = float;
};

struct FourPixels {
    static constexpr std::size_t kCount = 4;
    using Words [[gnu::vector_size(16)]] = std::uint32_t;
    using Integers [[gnu::vector_size(16)]] = std::int32_t;
    using Floats [[gnu::vector_size(16)]] = float;
};

struct EightPixels {
    static constexpr std::size_t kCount = 8;
    using Words [[gnu::vector_size(32)]] = std::uint32_t;
    using Integers [[gnu::vector_size(32)]] = std::int32_t;
    using Floats [[gnu::vector_size(32)]] = float;
};

// Vectors travel by reference: by value they would need a calling convention that the baseline lacks.
template <class From, class To>
PIXELFORGE_INLINE void Convert(const From& from, To& to) noexcept {
    if constexpr (std::is_arithmetic_v<From>) {
        to = static_cast<To>(from);
    } else {
        to = __builtin_convertvector(from, To);
    }
}

struct ForegroundKernel {
    template <class Lanes>
    PIXELFORGE_INLINE void Apply(const typename Lanes::Words& source,
                                 typename Lanes::Words& destination) const noexcept {
        const typename Lanes::Words colour = source & kColourMask;
        destination = colour != 0U ? colour : destination;
    }
};

template <bool ForegroundOnly>
struct LevelKernel {
    /// One part of the divisor. (sum + 0.5) / divisor is never nearer than 0.5 / divisor to a whole number;
    /// for sums up to 765 that is far more than the rounding errors, so truncation gives the exact quotient.
    float reciprocal;

    template <class Lanes>
    PIXELFORGE_INLINE void Apply(const typename Lanes::Words& source,
                                 typename Lanes::Words& destination) const noexcept {
        const typename Lanes::Words sum =
            (source & 0xFFU) + ((source >> 8) & 0xFFU) + ((source >> 16) & 0xFFU);
        typename Lanes::Floats quotient;
        Convert(__builtin_bit_cast(typename Lanes::Integers, sum), quotient);
        quotient = (quotient + 0.5F) * reciprocal;
        typename Lanes::Integers whole;
        Convert(quotient, whole);
        const auto level = __builtin_bit_cast(typename Lanes::Words, whole);
        if constexpr (ForegroundOnly) {
            destination = (source & kColourMask) != 0U ? level : destination;
        } else {
            destination = level;
        }
    }
};

/// Treats whole groups from pixel `first` on and returns the first pixel that is left.
template <class Lanes, class Kernel>
PIXELFORGE_INLINE std::size_t ApplyToGroups(const Kernel& kernel, const std::byte* source,
                                            std::byte* destination, std::size_t first,
                                            std::size_t count) noexcept {
    using Words = typename Lanes::Words;
    for (; count - first >= Lanes::kCount; first += Lanes::kCount) {
        const std::size_t offset = first * sizeof(std::uint32_t);
        Words from;
        Words to;
        std::memcpy(&from, source + offset, sizeof from);
        std::memcpy(&to, destination + offset, sizeof to);
        kernel.template Apply<Lanes>(from, to);
        std::memcpy(destination + offset, &to, sizeof to);
    }
    return first;
}

template <class Kernel>
void RunPortable(const Kernel& kernel, const std::byte* source, std::byte* destination,
                 std::size_t count) noexcept {
    ApplyToGroups<OnePixel>(kernel, source, destination, 0, count);
}

template <class Kernel>
void RunSse2(const Kernel& kernel, const std::byte* source, std::byte* destination,
             std::size_t count) noexcept {
    const std::size_t done = ApplyToGroups<FourPixels>(kernel, source, destination, 0, count);
    ApplyToGroups<OnePixel>(kernel, source, destination, done, count);
}

template <class Kernel>
PIXELFORGE_TARGET_AVX2 void RunAvx2(const Kernel& kernel, const std::byte* source, std::byte* destination,
                                    std::size_t count) noexcept {
    const std::size_t done = ApplyToGroups<EightPixels>(kernel, source, destination, 0, count);
    ApplyToGroups<OnePixel>(kernel, source, destination, done, count);
}

template <class Kernel>
void Run(VectorPath path, const Kernel& kernel, const void* sourceBits, void* destinationBits,
         std::size_t count) noexcept {
    const auto* source = static_cast<const std::byte*>(sourceBits);
    auto* destination = static_cast<std::byte*>(destinationBits);
    switch (path) {
        case VectorPath::Avx2:
            return RunAvx2(kernel, source, destination, count);
        case VectorPath::Sse2:
            return RunSse2(kernel, source, destination, count);
        case VectorPath::Portable:
            return RunPortable(kernel, source, destination, count);
    }
}

}  // namespace

std::int32_t ForegroundCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                            VectorPath path) noexcept {
    if (!sourceBits || !destinationBits || pixelCount == 0) {
        return 0;
    }
    Run(path, ForegroundKernel{}, sourceBits, destinationBits, pixelCount);
    return 1;
}

std::int32_t LevelCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                       std::uint32_t levelDivisor, std::int32_t foregroundOnly, VectorPath path) noexcept {
    if (!sourceBits || !destinationBits || pixelCount == 0 || levelDivisor == 0) {
        return 0;
    }
    const float reciprocal = 1.0F / static_cast<float>(levelDivisor);
    if (foregroundOnly != 0) {
        Run(path, LevelKernel<true>{reciprocal}, sourceBits, destinationBits, pixelCount);
    } else {
        Run(path, LevelKernel<false>{reciprocal}, sourceBits, destinationBits, pixelCount);
    }
    return 1;
}

}  // namespace pixelforge
