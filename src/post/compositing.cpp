// Foreground and level kernels, each written once and compiled for one, four and eight pixels at a time.
#include "post/compositing.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "post/vector_path.h"

namespace pixelforge {
namespace {

constexpr std::uint32_t kColourMask = 0xFFFFFF;
constexpr std::size_t kPixelBytes = sizeof(std::uint32_t);
constexpr std::size_t kLinePixels = 16;
constexpr std::size_t kPrefetchBytes = 4096;

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

// Vectors are passed by reference: the baseline ABI cannot pass wide ones by value.
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
    /// 1 / divisor. (sum + 0.5) / divisor is at least 0.5 / divisor away from any integer. For sums up to 765
    /// that is far more than the rounding error, so truncation yields the exact quotient.
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

template <class Lanes, class Kernel>
PIXELFORGE_INLINE void ApplyToGroup(const Kernel& kernel, const std::byte* source,
                                    std::byte* destination) noexcept {
    typename Lanes::Words from;
    typename Lanes::Words to;
    std::memcpy(&from, source, sizeof from);
    std::memcpy(&to, destination, sizeof to);
    kernel.template Apply<Lanes>(from, to);
    std::memcpy(destination, &to, sizeof to);
}

/// Processes a cache line at a time, and the remainder pixel by pixel. Prefetches from the next page: on
/// large pictures the hardware prefetcher alone is too slow.
template <class Lanes, class Kernel>
PIXELFORGE_INLINE void ApplyToAll(const Kernel& kernel, const std::byte* source, std::byte* destination,
                                  std::size_t count) noexcept {
    for (; count >= kLinePixels; count -= kLinePixels) {
        __builtin_prefetch(source + kPrefetchBytes);
        __builtin_prefetch(destination + kPrefetchBytes, 1);
        for (std::size_t group = 0; group < kLinePixels / Lanes::kCount; ++group) {
            ApplyToGroup<Lanes>(kernel, source, destination);
            source += Lanes::kCount * kPixelBytes;
            destination += Lanes::kCount * kPixelBytes;
        }
    }
    for (; count > 0; --count) {
        ApplyToGroup<OnePixel>(kernel, source, destination);
        source += kPixelBytes;
        destination += kPixelBytes;
    }
}

template <class Kernel>
void RunPortable(const Kernel& kernel, const std::byte* source, std::byte* destination,
                 std::size_t count) noexcept {
    ApplyToAll<OnePixel>(kernel, source, destination, count);
}

template <class Kernel>
void RunSse2(const Kernel& kernel, const std::byte* source, std::byte* destination,
             std::size_t count) noexcept {
    ApplyToAll<FourPixels>(kernel, source, destination, count);
}

template <class Kernel>
PIXELFORGE_TARGET_AVX2 void RunAvx2(const Kernel& kernel, const std::byte* source, std::byte* destination,
                                    std::size_t count) noexcept {
    ApplyToAll<EightPixels>(kernel, source, destination, count);
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
