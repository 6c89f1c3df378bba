// Kernels that bring a frame onto the host's picture: its colours only, or one brightness level a pixel.
// A pixel is a 32-bit word: blue in the low byte, then green, red, alpha. Pointers may have any
// alignment; the two runs of pixels must not overlap. Both kernels run on the calling thread.
#pragma once

#include <cstdint>

#include "post/vector_path.h"

namespace pixelforge {

/// Writes the colour of every pixel that is not black, with a top byte of 0; where the frame is black
/// (whatever its alpha) the destination keeps its pixel. Returns 1, or 0 with nothing done when a
/// pointer is null or the count is 0.
std::int32_t ForegroundCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                            VectorPath path = BestVectorPath()) noexcept;

/// Writes (blue + green + red) / `levelDivisor` as a whole word, to every pixel or, with
/// `foregroundOnly`, to those that are not black. Returns 1, or 0 with nothing done when a pointer is
/// null, the count is 0 or the divisor is 0.
std::int32_t LevelCopy(const void* sourceBits, void* destinationBits, std::uint32_t pixelCount,
                       std::uint32_t levelDivisor, std::int32_t foregroundOnly,
                       VectorPath path = BestVectorPath()) noexcept;

}  // namespace pixelforge
