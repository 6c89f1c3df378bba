// Cutting a cube map's faces out of one picture: a horizontal cross of four by three cells.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/bitmap.h"

namespace pixelforge {

struct PixelBox {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const PixelBox&) const = default;
};

/// The smallest box around all pixels that differ from the first one; empty when none does. `pixels` holds
/// whole rows of `width`, the top row first.
PixelBox FindCrossBox(std::span<const std::uint32_t> pixels, std::int32_t width) noexcept;

/// Where the faces lie within the cross's box, in GL's face order, without the 2 pixels at each edge of a
/// cell in which neighbours blend.
struct CrossCells {
    std::int32_t faceSize;
    PixelBox faces[6];
};

/// Nothing for a box whose cells are less than 5 pixels wide or high.
std::optional<CrossCells> CellsOfCross(std::int32_t boxWidth, std::int32_t boxHeight) noexcept;

/// Fills `faces` with square 32-bit top-down sections in GL's face order. False, with `faces` left alone,
/// for a picture without a cross or without memory for its faces.
bool SplitCubeCross(HBITMAP__* image, UniqueBitmap (&faces)[6]);

}  // namespace pixelforge
