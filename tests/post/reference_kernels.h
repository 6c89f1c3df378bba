// Reference implementations of the pixel kernels, slow and literal. The product must match them bit for bit.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "post/tile_remap.h"

namespace pixelforge::reference {

inline void ForegroundCopy(const std::uint32_t* source, std::uint32_t* destination, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t rgb = source[i] & 0xFFFFFF;
        if (rgb != 0) {
            destination[i] = rgb;
        }
    }
}

inline void LevelCopy(const std::uint32_t* source, std::uint32_t* destination, std::uint32_t count,
                      std::uint32_t levelDivisor, std::int32_t foregroundOnly) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t p = source[i];
        const std::uint32_t sum = (p & 0xFF) + (p >> 8 & 0xFF) + (p >> 16 & 0xFF);
        if (foregroundOnly == 0 || (p & 0xFFFFFF) != 0) {
            destination[i] = sum / levelDivisor;
        }
    }
}

inline std::int32_t Truncate(float value) {
    return static_cast<std::int32_t>(
        std::clamp(std::trunc(static_cast<double>(value)), -2147483648.0, 2147483647.0));
}

/// One axis: the source coordinate for output coordinate `x`. The multiply-add rounds twice.
inline std::int64_t SourceCoordinate(std::int32_t x, float tileWidth, std::int32_t flipOddTiles,
                                     std::int32_t frameWidth, std::int32_t sourceWidth) {
    const float qx = static_cast<float>(x) / tileWidth;
    float wholePart = 0;
    const float fx = std::modf(qx, &wholePart);
    float lx = fx * tileWidth;
    const std::int32_t tx = Truncate(qx);
    if (flipOddTiles != 0 && (tx & 1) != 0) {
        const float product = -fx * tileWidth;
        lx = product + tileWidth;
    }
    const float scaled = lx * static_cast<float>(frameWidth);
    const float ratio = scaled / tileWidth;
    const std::int64_t s = Truncate(ratio + 0.5F);
    const std::int64_t n = sourceWidth;
    const std::int64_t r = (s < 0 ? -s : s) % n;
    const std::int64_t q = s / n;
    return (q & 1) != 0 ? n - 1 - r : r;
}

inline void TileRemap(const PixelView& destination, const ConstPixelView& source, const TileGrid& grid) {
    auto* output = static_cast<std::uint32_t*>(destination.bits);
    const auto* input = static_cast<const std::uint32_t*>(source.bits);
    const float tileWidth = static_cast<float>(destination.width) / static_cast<float>(grid.tilesX);
    const float tileHeight = static_cast<float>(destination.height) / static_cast<float>(grid.tilesY);
    for (std::int32_t y = 0; y < destination.height; ++y) {
        for (std::int32_t x = 0; x < destination.width; ++x) {
            const std::int64_t sx =
                SourceCoordinate(x, tileWidth, grid.flipOddTiles, grid.frameWidth, source.width);
            const std::int64_t sy =
                SourceCoordinate(y, tileHeight, grid.flipOddTiles, grid.frameHeight, source.height);
            output[std::int64_t{y} * destination.width + x] = input[sy * source.width + sx];
        }
    }
}

}  // namespace pixelforge::reference
