// The tiling kernel: draws one frame as a grid of scaled-down, optionally mirrored copies.
#pragma once

#include <cstdint>

namespace pixelforge {

/// A picture of 32-bit words without row padding. Any alignment; not owned.
struct PixelView {
    void* bits;
    std::int32_t width;   ///< pixels
    std::int32_t height;  ///< pixels
};

struct ConstPixelView {
    const void* bits;
    std::int32_t width;   ///< pixels
    std::int32_t height;  ///< pixels
};

struct TileGrid {
    std::int32_t frameWidth;   ///< source pixels that one tile spans
    std::int32_t frameHeight;  ///< source pixels that one tile spans
    std::int32_t tilesX;
    std::int32_t tilesY;
    std::int32_t flipOddTiles;  ///< non-zero: odd columns and odd rows of tiles are mirrored
};

/// Copies to every pixel of `destination` the nearest `source` pixel of its tile; a source smaller than
/// `frameWidth` x `frameHeight` is repeated in alternating mirror images. Returns 1, or 0 with nothing
/// written if a picture has no bits or a side below 1, or a tile count is below 1. The pictures must not
/// overlap. Runs on the calling thread and allocates nothing.
std::int32_t TileRemap(const PixelView& destination, const ConstPixelView& source,
                       const TileGrid& grid) noexcept;

}  // namespace pixelforge
