// Lets the frame driver run the pixel kernels on `BITMAP` records, as `GetObjectW` fills them.
#pragma once

#include <windows.h>

#include <cstdint>

namespace pixelforge {

/// The number of pixels that can be copied between two bitmaps: the smaller pixel count. 0 if a record is
/// null, or has no bits, a side below 1 or a depth other than 32 bits.
std::uint32_t SharedPixelCount(const BITMAP* first, const BITMAP* second) noexcept;

/// Tiles `source` over `destination` like `TileRemap` on pixel views. The reserved arguments are ignored.
/// Also returns 0, with nothing written, for a null record or a depth other than 32 bits.
std::int32_t TileRemap(const BITMAP* destination, const BITMAP* source, std::uint64_t reserved1,
                       std::uint64_t reserved2, std::int32_t frameWidth, std::int32_t frameHeight,
                       std::int32_t tilesX, std::int32_t tilesY, std::int32_t flipOddTiles) noexcept;

}  // namespace pixelforge
