// Foreground and level kernels: SSE2, which every x86-64 processor has, four pixels at a time.
#include "post/compositing.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace pixelforge {
namespace {

constexpr std::size_t kGroupBytes = sizeof(__m128i);
constexpr std::size_t kLineBytes = 64;
constexpr std::size_t kBlockBytes = 2 * kLineBytes;

/// The hardware prefetcher stops at page boundaries. Longer distances cost up to 30 % on some processors.
constexpr std::size_t kPrefetchBytes = 512;

/// A kernel that yields the colour, without alpha.
constexpr auto kColourKernel = [](__m128i pixels, __m128i) {
    return _mm_and_si128(pixels, _mm_set1_epi32(0xFFFFFF));
};

/// Like `kernel`, but the destination is unchanged where the source is black.
template <class Kernel>
auto ForegroundOnly(const Kernel& kernel) noexcept {
    return [kernel](__m128i source, __m128i destination) {
        const __m128i black = _mm_cmpeq_epi32(kColourKernel(source, destination), _mm_setzero_si128());
        return _mm_or_si128(_mm_andnot_si128(black, kernel(source, destination)),
                            _mm_and_si128(black, destination));
    };
}

/// Returns a kernel that divides channel sums, 0 to 765, by multiplying with a factor and shifting.
/// With factor = (2^shift + e) / divisor, 0 <= e < divisor, the product exceeds sum / divisor by
/// sum * e / (divisor * 2^shift). The quotient is exact as long as this is below 1 / divisor, that is
/// sum * e < 2^shift: the shift keeps 2^shift above 2^13 * divisor. A divisor above 765 always yields 0.
auto LevelKernel(std::uint32_t levelDivisor) noexcept {
    const std::uint32_t divisor = std::min(levelDivisor, 766U);
    const int shift = 13 + static_cast<int>(std::bit_width(divisor));
    const std::uint32_t factor = ((1U << shift) + divisor - 1) / divisor;  // at most 2^14
    return [factors = _mm_set1_epi16(static_cast<std::int16_t>(factor)),
            shiftCount = _mm_cvtsi32_si128(shift)](__m128i pixels, __m128i) {
        const __m128i blueAndRed = _mm_and_si128(pixels, _mm_set1_epi32(0xFF00FF));
        const __m128i green = _mm_and_si128(_mm_srli_epi32(pixels, 8), _mm_set1_epi32(0xFF));
        // The multiply-add sums both halves of a pixel.
        const __m128i products = _mm_madd_epi16(_mm_add_epi16(blueAndRed, green), factors);
        return _mm_srl_epi32(products, shiftCount);
    };
}

template <class Kernel>
void ApplyToGroup(const Kernel& kernel, const std::byte* source, std::byte* destination) noexcept {
    const auto* from = reinterpret_cast<const __m128i*>(source);
    auto* to = reinterpret_cast<__m128i*>(destination);
    _mm_storeu_si128(to, kernel(_mm_loadu_si128(from), _mm_loadu_si128(to)));
}

/// Inlined, so that the kernel's constants stay in registers.
template <class Kernel, std::size_t... kGroups>
[[gnu::always_inline]] inline void ApplyToBlock(const Kernel& kernel, const std::byte* source,
                                                std::byte* destination,
                                                std::index_sequence<kGroups...>) noexcept {
    (ApplyToGroup(kernel, source + kGroups * kGroupBytes, destination + kGroups * kGroupBytes), ...);
}

/// Runs `kernel(source, destination)` a block at a time; an incomplete last one is copied in and out.
template <class Kernel>
void ApplyToAll(const Kernel kernel, const void* sourceBits, void* destinationBits, std::size_t pixelCount) {
    constexpr auto kGroups = std::make_index_sequence<kBlockBytes / kGroupBytes>();
    const auto* source = static_cast<const std::byte*>(sourceBits);
    auto* destination = static_cast<std::byte*>(destinationBits);
    std::size_t bytes = pixelCount * sizeof(std::uint32_t);
    for (; bytes >= kBlockBytes; bytes -= kBlockBytes) {
        __builtin_prefetch(source + kPrefetchBytes);
        __builtin_prefetch(source + kPrefetchBytes + kLineBytes);
        ApplyToBlock(kernel, source, destination, kGroups);
        source += kBlockBytes;
        destination += kBlockBytes;
    }
    std::byte from[kBlockBytes] = {};
    std::byte to[kBlockBytes] = {};
    std::memcpy(from, source, bytes);
    std::memcpy(to, destination, bytes);
    ApplyToBlock(kernel, from, to, kGroups);
    std::memcpy(destination, to, bytes);
}

}  // namespace

std::int32_t ForegroundCopy(const void* sourceBits, void* destinationBits,
                            std::uint32_t pixelCount) noexcept {
    if (!sourceBits || !destinationBits || pixelCount == 0) {
        return 0;
    }
    ApplyToAll(ForegroundOnly(kColourKernel), sourceBits, destinationBits, pixelCount);
    return 1;
}

std::int32_t LevelCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                       std::uint32_t levelDivisor, std::int32_t foregroundOnly) noexcept {
    if (!sourceBits || !destinationBits || pixelCount == 0 || levelDivisor == 0) {
        return 0;
    }
    const auto levels = LevelKernel(levelDivisor);
    if (foregroundOnly != 0) {
        ApplyToAll(ForegroundOnly(levels), sourceBits, destinationBits, pixelCount);
    } else {
        ApplyToAll(levels, sourceBits, destinationBits, pixelCount);
    }
    return 1;
}

}  // namespace pixelforge
