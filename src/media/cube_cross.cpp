// Geometry of the cross.
#include "media/cube_cross.h"

#include <algorithm>

namespace pixelforge {
namespace {

constexpr std::int32_t kTrim = 2;
constexpr std::int32_t kSmallestCell = 5;

struct Cell {
    std::int32_t column;
    std::int32_t row;
};

/// Faces +X, -X, +Y, -Y, +Z, -Z: the sides stand in a row from -X to -Z, the poles above and below +Z.
constexpr Cell kFaceCells[6] = {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}};

}  // namespace

PixelBox FindCrossBox(std::span<const std::uint32_t> pixels, std::int32_t width) noexcept {
    if (width < 1 || pixels.empty()) {
        return {};
    }
    const auto rowLength = static_cast<std::size_t>(width);
    const auto rows = static_cast<std::int32_t>(pixels.size() / rowLength);
    const auto differs = [background = pixels.front()](std::uint32_t pixel) { return pixel != background; };
    std::int32_t left = width;
    std::int32_t right = 0;
    std::int32_t top = rows;
    std::int32_t bottom = 0;
    for (std::int32_t y = 0; y < rows; ++y) {
        const auto row = pixels.subspan(static_cast<std::size_t>(y) * rowLength, rowLength);
        const auto first = std::find_if(row.begin(), row.end(), differs);
        if (first != row.end()) {
            const auto last = std::find_if(row.rbegin(), row.rend(), differs);
            left = std::min(left, static_cast<std::int32_t>(first - row.begin()));
            right = std::max(right, static_cast<std::int32_t>(row.rend() - last));
            top = std::min(top, y);
            bottom = y + 1;
        }
    }
    return bottom == 0 ? PixelBox{} : PixelBox{left, top, right - left, bottom - top};
}

std::optional<CrossCells> CellsOfCross(std::int32_t boxWidth, std::int32_t boxHeight) noexcept {
    const std::int32_t width = boxWidth / 4;
    const std::int32_t height = boxHeight / 3;
    if (width < kSmallestCell || height < kSmallestCell) {
        return std::nullopt;
    }
    CrossCells cells = {std::max(width, height), {}};
    for (std::size_t face = 0; face < std::size(kFaceCells); ++face) {
        cells.faces[face] = {kFaceCells[face].column * width + kTrim, kFaceCells[face].row * height + kTrim,
                             width - 2 * kTrim, height - 2 * kTrim};
    }
    return cells;
}

}  // namespace pixelforge
