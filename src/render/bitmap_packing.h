// Tightly packed rows for GL, from the padded rows of a section.
#pragma once

#include <cstddef>

#include "base/bitmap.h"
#include "base/heap.h"

namespace pixelforge {

/// Width x height x whole bytes per pixel.
std::size_t PackedBytes(const SectionPixels& pixels) noexcept;

/// A bitmap's rows without their padding, in reverse order with `flip`; zeros for depths other than 32, 24
/// and 8 bits. Null if there are no pixels, too few bytes for the size, or no memory.
HeapBytes PackBitmapRows(const SectionPixels& bitmap, bool flip);

}  // namespace pixelforge
