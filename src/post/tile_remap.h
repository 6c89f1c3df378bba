// The tiling kernel: shows one frame as a grid of shrunken, optionally mirrored copies.
#pragma once

#include <cstdint>

#include "post/vector_path.h"

namespace pixelforge {

/// A picture of 32-bit words whose rows follow each other without a gap. Any alignment; not owned.
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

/// Fills every pixel of `destination` with the nearest pixel of its tile, taken unchanged from `source`;
/// a source smaller than the tile's span goes on as its mirror image. Returns 1, or 0 with nothing
/// touched when a picture has no bits or a side below 1, or a tile count is below 1. The pictures must
/// not overlap. Runs on the calling thread and allocates nothing.
std::int32_t TileRemap(const PixelView& destination, const ConstPixelView& source, const TileGrid& grid,
                       VectorPath path = BestVectorPath()) noexcept;

}  // namespace pixelforge
