// GDI sections whose pixels are reached directly: how frames and media travel between the subsystems.
// Needs no Windows header, so records that own bitmaps build natively too.
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

/// The largest picture that is given memory. The system would grant far larger ones and leave the process
/// with nothing.
inline constexpr std::int32_t kLargestSide = 16384;
inline constexpr std::int64_t kMostSectionBytes = std::int64_t{1} << 30;

/// Bytes from one row to the next: rows begin on 4-byte limits. 0 for sides or depths below 1.
std::int64_t SectionRowBytes(std::int32_t width, std::int32_t bitsPerPixel) noexcept;

/// True for sides of 1 to 16,384 and a depth of at least 1 bit whose rows take at most 1 GiB.
bool FitsSection(std::int64_t width, std::int64_t height, std::int32_t bitsPerPixel) noexcept;

/// A section's pixels in the order of memory. `height` is positive whichever row comes first.
struct SectionPixels {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bitsPerPixel = 0;
    std::span<std::uint8_t> bytes;  ///< all rows with their padding; empty when there is no section
};

/// A black 32-bit section, bottom-up, uncompressed, on the screen's device context. Empty for a side
/// below 1, for more than 1 GiB of pixels, or when the system refuses.
UniqueBitmap CreateHostBitmap(std::int32_t width, std::int32_t height);

/// A black top-down section for a picture of the given depth, uncompressed; up to 8 bits a pixel its colours
/// are 256 greys. Empty for sizes that do not fit (see `FitsSection`) and depths that the system refuses.
UniqueBitmap CreatePictureBitmap(std::int32_t width, std::int32_t height, std::int32_t bitsPerPixel);

/// A new top-down section with the header and the bytes of another section, of any bit depth; the bytes
/// keep their order, so a bottom-up source comes out upside down. The colour table is not copied. Empty
/// for a null handle, for anything but a section, or when the system refuses.
UniqueBitmap CopyToTopDown(HBITMAP__* source);

/// The pixels of a section, valid while the bitmap lives; nothing for a null handle and for anything but a
/// section. What GDI has drawn into it is there only after `GdiFlush`.
SectionPixels PixelsOf(HBITMAP__* bitmap) noexcept;

}  // namespace pixelforge
