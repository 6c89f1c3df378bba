// Validates `BITMAP` records and passes their pixels to the kernels.
#include "post/bitmap_adapter.h"

#include <algorithm>

#include "post/tile_remap.h"

namespace pixelforge {
namespace {

/// With another depth the kernels would run past the end of the bits. A depth of 0 is allowed for records
/// filled in by hand with only size and bits.
bool HasWordPixels(const BITMAP* bitmap) noexcept {
    return bitmap && (bitmap->bmBitsPixel == 32 || bitmap->bmBitsPixel == 0);
}

std::uint64_t PixelCount(const BITMAP* bitmap) noexcept {
    if (!HasWordPixels(bitmap) || !bitmap->bmBits || bitmap->bmWidth < 1 || bitmap->bmHeight < 1) {
        return 0;
    }
    return static_cast<std::uint64_t>(bitmap->bmWidth) * static_cast<std::uint64_t>(bitmap->bmHeight);
}

}  // namespace

std::uint32_t SharedPixelCount(const BITMAP* first, const BITMAP* second) noexcept {
    return static_cast<std::uint32_t>(
        std::min({PixelCount(first), PixelCount(second), std::uint64_t{UINT32_MAX}}));
}

std::int32_t TileRemap(const BITMAP* destination, const BITMAP* source, std::uint64_t, std::uint64_t,
                       std::int32_t frameWidth, std::int32_t frameHeight, std::int32_t tilesX,
                       std::int32_t tilesY, std::int32_t flipOddTiles) noexcept {
    if (!HasWordPixels(destination) || !HasWordPixels(source)) {
        return 0;
    }
    return TileRemap(PixelView{destination->bmBits, destination->bmWidth, destination->bmHeight},
                     ConstPixelView{source->bmBits, source->bmWidth, source->bmHeight},
                     TileGrid{frameWidth, frameHeight, tilesX, tilesY, flipOddTiles});
}

}  // namespace pixelforge
