// A view of a frame's pixels, whichever way up they lie in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pixelforge::preview {

/// 32-bit pixels, bytes in the order blue, green, red, alpha; rows follow each other without a gap.
struct FramePixels {
    std::span<const std::uint8_t> bytes;  ///< width x height x 4
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool bottomUp = true;  ///< the first row in memory is the picture's lowest

    /// The row counted from the picture's top.
    std::span<const std::uint8_t> Row(std::int32_t rowFromTop) const;

    /// 0xAARRGGBB; x from the left, y from the picture's top.
    std::uint32_t At(std::int32_t x, std::int32_t rowFromTop) const;
};

/// The picture's rows from the top, three bytes a pixel (blue, green, red), without padding.
std::vector<std::uint8_t> OpaqueRowsFromTop(const FramePixels& pixels);

}  // namespace pixelforge::preview
