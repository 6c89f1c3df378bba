// GDI sections whose pixels are reached directly: how frames and media travel between the subsystems.
#pragma once

#include <cstdint>

#include "base/bitmap_handle.h"
#include "base/bitmap_rows.h"

namespace pixelforge {

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
