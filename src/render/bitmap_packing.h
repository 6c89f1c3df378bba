// Tightly packed rows for GL, from the padded rows of a section.
#pragma once

#include <cstddef>

#include "base/bitmap.h"
#include "base/heap.h"

namespace pixelforge {

/// Width x height x whole bytes per pixel.
std::size_t PackedBytes(const SectionPixels& pixels) noexcept;

/// A bitmap's rows without their padding, in reverse order with `flip`; zeros for depths other than 32, 24
/// and 8 bits. Null without pixels, if the bytes are too few for the size, and if the heap is exhausted.
HeapBytes PackBitmapRows(const SectionPixels& bitmap, bool flip);

}  // namespace pixelforge
