// Reads rows and pixels of a frame whichever way up it lies.
#include "preview/host/frame_pixels.h"

namespace pixelforge::preview {

std::span<const std::uint8_t> FramePixels::Row(std::int32_t rowFromTop) const {
    const std::size_t pitch = static_cast<std::size_t>(width) * 4;
    const std::int32_t row = bottomUp ? height - 1 - rowFromTop : rowFromTop;
    return bytes.subspan(static_cast<std::size_t>(row) * pitch, pitch);
}

std::uint32_t FramePixels::At(std::int32_t x, std::int32_t rowFromTop) const {
    const auto pixel = Row(rowFromTop).subspan(static_cast<std::size_t>(x) * 4, 4);
    return static_cast<std::uint32_t>(pixel[0]) | static_cast<std::uint32_t>(pixel[1]) << 8 |
           static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[3]) << 24;
}

std::vector<std::uint8_t> OpaqueRowsFromTop(const FramePixels& pixels) {
    std::vector<std::uint8_t> rows;
    rows.reserve(pixels.bytes.size() / 4 * 3);
    for (std::int32_t y = 0; y < pixels.height; ++y) {
        const auto row = pixels.Row(y);
        for (std::size_t i = 0; i < row.size(); i += 4) {
            rows.insert(rows.end(), {row[i], row[i + 1], row[i + 2]});
        }
    }
    return rows;
}

}  // namespace pixelforge::preview
