// A rectangle of pixels.
#pragma once

#include <cstdint>

namespace pixelforge {

/// y downward, right and bottom exclusive.
struct PixelRect {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;

    std::int32_t Width() const noexcept { return right - left; }
    std::int32_t Height() const noexcept { return bottom - top; }
    bool operator==(const PixelRect&) const = default;
};

}  // namespace pixelforge
