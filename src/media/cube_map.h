// The faces of a cube map: six files, or one picture that shows them as a horizontal cross of 4 by 3 cells.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/bitmap.h"
#include "base/text.h"

namespace pixelforge {

/// The file of a face: face 0 is `path` itself, faces 1 to 5 have "_i" before the extension. False, with
/// `out` cleared, for a face above 5 or a name that does not fit.
bool CubeFacePath(const wchar_t* path, std::uint32_t face, wchar_t (&out)[kPathUnits]);

struct PixelBox {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const PixelBox&) const = default;
};

/// Bounding box of all pixels that differ from the first one; empty if there are none. `pixels` holds
/// complete rows of `width`, top row first.
PixelBox FindCrossBox(std::span<const std::uint32_t> pixels, std::int32_t width) noexcept;

/// The faces within the cross's bounding box, in GL face order, without the 2 blended pixels at each edge of
/// a cell.
struct CrossCells {
    std::int32_t faceSize;
    PixelBox faces[6];
};

/// std::nullopt if the cells are less than 5 pixels wide or high.
std::optional<CrossCells> CellsOfCross(std::int32_t boxWidth, std::int32_t boxHeight) noexcept;

/// Fills `faces` with square 32-bit top-down sections in GL face order. False, with `faces` unchanged, for a
/// picture without a cross or if out of memory; throws `LoadError` if the faces would have more than
/// `mostBytes`.
bool SplitCubeCross(UniqueBitmap image, UniqueBitmap (&faces)[6], std::uint64_t mostBytes);

}  // namespace pixelforge
