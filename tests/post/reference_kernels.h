// Reference implementations of the pixel kernels, slow and literal. The product must match them bit for bit.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "post/tile_remap.h"

namespace pixelforge::reference {

inline void ForegroundCopy(const std::uint32_t* source, std::uint32_t* destination, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        destination[i] = (source[i] & 0xFFFFFF) != 0 ? source[i] & 0xFFFFFF : destination[i];
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
    return static_cast<std::int32_t>(std::clamp(double{value}, -2147483648.0, 2147483647.0));
}

/// One axis: the source coordinate for output coordinate `x`. The multiply-add rounds twice.
inline std::int64_t SourceOf(std::int32_t x, float tileSize, std::int32_t flipOddTiles,
                             std::int32_t frameSize, std::int64_t sourceSize) {
    const float position = static_cast<float>(x) / tileSize;
    const float fraction = position - std::trunc(position);
    float inside = fraction * tileSize;
    if (flipOddTiles != 0 && (Truncate(position) & 1) != 0) {
        inside = -fraction * tileSize + tileSize;
    }
    const std::int64_t s = Truncate(inside * static_cast<float>(frameSize) / tileSize + 0.5F);
    const std::int64_t rest = (s < 0 ? -s : s) % sourceSize;
    return (s / sourceSize & 1) != 0 ? sourceSize - 1 - rest : rest;
}

inline void TileRemap(const PixelView& destination, const ConstPixelView& source, const TileGrid& grid) {
    auto* output = static_cast<std::uint32_t*>(destination.bits);
    const auto* input = static_cast<const std::uint32_t*>(source.bits);
    const float tileWidth = static_cast<float>(destination.width) / static_cast<float>(grid.tilesX);
    const float tileHeight = static_cast<float>(destination.height) / static_cast<float>(grid.tilesY);
    for (std::int32_t y = 0; y < destination.height; ++y) {
        for (std::int32_t x = 0; x < destination.width; ++x) {
            const auto column = SourceOf(x, tileWidth, grid.flipOddTiles, grid.frameWidth, source.width);
            const auto row = SourceOf(y, tileHeight, grid.flipOddTiles, grid.frameHeight, source.height);
            *output++ = input[row * source.width + column];
        }
    }
}

}  // namespace pixelforge::reference
