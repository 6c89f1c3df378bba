// GDI bitmap sections with direct pixel access; they carry frames and media between subsystems. Needs no
// Windows header, so records that own bitmaps build natively too.
#pragma once

#include <cstdint>
#include <span>

#include "base/unique_handle.h"

struct HBITMAP__;

namespace pixelforge {

struct BitmapTraits {
    using Handle = HBITMAP__*;
    static void Close(HBITMAP__* bitmap) noexcept;
};

using UniqueBitmap = UniqueHandle<BitmapTraits>;

/// Limits on pictures. The system would allow far larger ones and exhaust the process's memory.
inline constexpr std::int32_t kLargestSide = 16384;
inline constexpr std::int64_t kMaxSectionBytes = std::int64_t{1} << 30;

/// Row stride in bytes; rows are aligned to 4 bytes. 0 for a width or depth below 1.
constexpr std::int64_t SectionRowBytes(std::int32_t width, std::int32_t bitsPerPixel) noexcept {
    return width < 1 || bitsPerPixel < 1 ? 0 : (std::int64_t{width} * bitsPerPixel + 31) / 32 * 4;
}

/// True for sides of 1 to 16,384, at least 1 bit per pixel and at most 1 GiB of pixels.
constexpr bool FitsSection(std::int64_t width, std::int64_t height, std::int32_t bitsPerPixel) noexcept {
    return width >= 1 && width <= kLargestSide && height >= 1 && height <= kLargestSide &&
           bitsPerPixel >= 1 &&
           SectionRowBytes(static_cast<std::int32_t>(width), bitsPerPixel) * height <= kMaxSectionBytes;
}

/// A section's pixels in memory order. `height` is positive for bottom-up sections too.
struct SectionPixels {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bitsPerPixel = 0;
    std::span<std::uint8_t> bytes;  ///< all rows, padding included; empty if there is no section
};

/// A black, uncompressed, bottom-up 32-bit section, created on the screen's device context. Empty for a side
/// below 1, for more than 1 GiB of pixels, or if the system refuses.
UniqueBitmap CreateHostBitmap(std::int32_t width, std::int32_t height);

/// A black, uncompressed top-down section of the given depth, with a grey palette up to 8 bits per pixel.
/// Empty for sizes that fail `FitsSection` and depths that the system refuses.
UniqueBitmap CreatePictureBitmap(std::int32_t width, std::int32_t height, std::int32_t bitsPerPixel);

/// A new top-down section with another section's header and bytes, at any depth. The bytes keep their order,
/// so a bottom-up source comes out upside down; the palette is not copied. Empty for a null handle, for a
/// bitmap that is not a section, or if the system refuses.
UniqueBitmap CopyToTopDown(HBITMAP__* source);

/// The pixels of a section, valid while the bitmap lives; empty for a null handle or a bitmap that is not a
/// section. Call `GdiFlush` first to see what GDI has drawn.
SectionPixels PixelsOf(HBITMAP__* bitmap) noexcept;

}  // namespace pixelforge
