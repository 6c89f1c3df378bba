// Arithmetic on section sizes.
#include "base/bitmap.h"

namespace pixelforge {

std::int64_t SectionRowBytes(std::int32_t width, std::int32_t bitsPerPixel) noexcept {
    return width < 1 || bitsPerPixel < 1 ? 0 : (std::int64_t{width} * bitsPerPixel + 31) / 32 * 4;
}

bool FitsSection(std::int64_t width, std::int64_t height, std::int32_t bitsPerPixel) noexcept {
    return width >= 1 && width <= kLargestSide && height >= 1 && height <= kLargestSide &&
           bitsPerPixel >= 1 &&
           SectionRowBytes(static_cast<std::int32_t>(width), bitsPerPixel) * height <= kMostSectionBytes;
}

}  // namespace pixelforge
