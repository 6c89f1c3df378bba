// The kernels as the frame driver calls them: on the records that `GetObjectW` fills.
#pragma once

#include <windows.h>

#include <cstdint>

namespace pixelforge {

/// Pixels that both bitmaps have, which is as far as a copy from one to the other may go. 0 when a
/// record is null or has no bits, a side below 1 or pixels of another size than 32 bits.
std::uint32_t SharedPixelCount(const BITMAP* first, const BITMAP* second) noexcept;

/// Tiles `source` over `destination`; see `TileRemap` on pixel views. The two reserved arguments are
/// ignored. Returns 0, with nothing touched, for a null record or pixels of another size than 32 bits too.
std::int32_t TileRemap(const BITMAP* destination, const BITMAP* source, std::uint64_t reserved1,
                       std::uint64_t reserved2, std::int32_t frameWidth, std::int32_t frameHeight,
                       std::int32_t tilesX, std::int32_t tilesY, std::int32_t flipOddTiles) noexcept;

}  // namespace pixelforge
