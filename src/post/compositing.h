// Kernels that copy a frame onto the host's picture: its foreground, or one brightness level per pixel.
// A pixel is a 32-bit word: blue in the low byte, then green, red, alpha. Pointers may have any alignment;
// source and destination must not overlap. Both kernels run on the calling thread.
#pragma once

#include <cstdint>

namespace pixelforge {

/// Writes the colour of every non-black pixel, with a top byte of 0; where the frame is black (whatever its
/// alpha) the destination is unchanged. Returns 1, or 0 with nothing written if a pointer is null or the
/// count is 0.
std::int32_t ForegroundCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount) noexcept;

/// Writes (blue + green + red) / `levelDivisor` as a 32-bit word, for every pixel or, with `foregroundOnly`,
/// for non-black ones. Returns 1, or 0 with nothing written if a pointer is null or the count or the divisor
/// is 0.
std::int32_t LevelCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                       std::uint32_t levelDivisor, std::int32_t foregroundOnly) noexcept;

}  // namespace pixelforge
