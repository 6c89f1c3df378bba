// Packing of rows.
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

HeapBytes PackRows(const SectionPixels& pixels, bool flip) {
    const std::size_t size = PackedBytes(pixels);
    const std::size_t rowBytes = PackedRowBytes(pixels);
    const auto stride = static_cast<std::size_t>(SectionRowBytes(pixels.width, pixels.bitsPerPixel));
    const auto height = static_cast<std::size_t>(pixels.height);
    if (size == 0 || pixels.bytes.size() / stride < height) {
        return nullptr;
    }
    HeapBytes packed(static_cast<std::uint8_t*>(AllocateHeapBlock(size)));
    if (!packed || !IsPackable(pixels.bitsPerPixel)) {
        return packed;
    }
    for (std::size_t row = 0; row < height; ++row) {
        const std::size_t from = flip ? height - 1 - row : row;
        std::memcpy(packed.get() + row * rowBytes, pixels.bytes.data() + from * stride, rowBytes);
    }
    return packed;
}

HeapBytes PackBitmapRows(HBITMAP__* bitmap, bool flip) {
    return PackRows(PixelsOf(bitmap), flip);
}

}  // namespace pixelforge
