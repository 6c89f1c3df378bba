// Names of face files, and the geometry of the cross.
#include "media/cube_map.h"

#include <algorithm>
#include <string>

namespace pixelforge {
namespace {

constexpr std::int32_t kTrim = 2;  ///< pixels, from each edge of a cell
constexpr std::int32_t kSmallestCell = 5;

struct Cell {
    std::int32_t column;
    std::int32_t row;
};

/// In the order +X, -X, +Y, -Y, +Z, -Z. The middle row is -X, +Z, +X, -Z; +Y and -Y are above and below +Z.
constexpr Cell kFaceCells[6] = {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}};

}  // namespace

bool CubeFacePath(const wchar_t* path, std::uint32_t face, wchar_t (&out)[kPathUnits]) {
    out[0] = 0;
    if (!path || face > 5) {
        return false;
    }
    std::wstring name(path);
    if (face != 0) {
        const std::size_t file = name.find_last_of(L"\\/:") + 1;  // 0 without any
        const std::size_t dot = name.rfind(L'.');
        const bool hasExtension = dot != name.npos && dot >= file;
        name.insert(hasExtension ? dot : name.size(), L"_" + std::to_wstring(face));
    }
    if (name.size() >= kPathUnits) {
        return false;
    }
    CopyCut(out, name);
    return true;
}

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
