// Packing of a section's rows.
#include "render/bitmap_packing.h"

#include <cstring>

namespace pixelforge {
namespace {

bool IsPackable(std::int32_t bitsPerPixel) noexcept {
    return bitsPerPixel == 32 || bitsPerPixel == 24 || bitsPerPixel == 8;
}

std::size_t PackedRowBytes(const SectionPixels& pixels) noexcept {
    return static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.bitsPerPixel / 8);
}

}  // namespace

std::size_t PackedBytes(const SectionPixels& pixels) noexcept {
    return FitsSection(pixels.width, pixels.height, pixels.bitsPerPixel)
               ? PackedRowBytes(pixels) * static_cast<std::size_t>(pixels.height)
               : 0;
}

HeapBytes PackBitmapRows(const SectionPixels& bitmap, bool flip) {
    const std::size_t size = PackedBytes(bitmap);
    const std::size_t rowBytes = PackedRowBytes(bitmap);
    const auto stride = static_cast<std::size_t>(SectionRowBytes(bitmap.width, bitmap.bitsPerPixel));
    const auto height = static_cast<std::size_t>(bitmap.height);
    if (size == 0 || bitmap.bytes.size() / stride < height) {
        return nullptr;
    }
    HeapBytes packed(static_cast<std::uint8_t*>(AllocateHeapBlock(size)));
    if (!packed || !IsPackable(bitmap.bitsPerPixel)) {
        return packed;
    }
    for (std::size_t row = 0; row < height; ++row) {
        const std::size_t from = flip ? height - 1 - row : row;
        std::memcpy(packed.get() + row * rowBytes, bitmap.bytes.data() + from * stride, rowBytes);
    }
    return packed;
}

}  // namespace pixelforge
