// The memory layout of GDI sections, and their pixels without a GDI handle.
#pragma once

#include <cstdint>
#include <span>

namespace pixelforge {

/// The largest picture that is given memory. The system would grant far larger ones and leave the process
/// with nothing.
inline constexpr std::int32_t kLargestSide = 16384;
inline constexpr std::int64_t kMostSectionBytes = std::int64_t{1} << 30;

/// Bytes from one row to the next: rows begin on 4-byte limits. 0 for sides or depths below 1.
std::int64_t SectionRowBytes(std::int32_t width, std::int32_t bitsPerPixel) noexcept;

/// True for sides of 1 to 16,384 and a depth of at least 1 bit whose rows take at most 1 GiB.
bool FitsSection(std::int64_t width, std::int64_t height, std::int32_t bitsPerPixel) noexcept;

/// A section's pixels in the order of memory. `height` is positive whichever row comes first.
struct SectionPixels {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bitsPerPixel = 0;
    std::span<std::uint8_t> bytes;  ///< all rows with their padding; empty when there is no section
};

}  // namespace pixelforge
