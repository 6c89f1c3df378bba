// Tight rows, as GL takes them, from the padded rows of a section.
#pragma once

#include <cstddef>

#include "base/bitmap.h"
#include "base/heap.h"

namespace pixelforge {

/// Width x height x whole bytes a pixel.
std::size_t PackedBytes(const SectionPixels& pixels) noexcept;

/// The rows without their padding, the last one first with `flip`; zeros for depths other than 32, 24 and 8
/// bits. Null without pixels, for fewer bytes than the sizes say, and when the heap is exhausted.
HeapBytes PackRows(const SectionPixels& pixels, bool flip);

/// The same for a bitmap's pixels.
HeapBytes PackBitmapRows(HBITMAP__* bitmap, bool flip);

}  // namespace pixelforge
