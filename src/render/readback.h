// Brings the finished frame into a bitmap.
#pragma once

#include <cstdint>

struct HBITMAP__;

namespace pixelforge {

struct GlRenderer;

/// Copies the Image pass's newest picture into the bits of `bitmap`, bottom row first; samples are
/// averaged. The renderer's context is current. 0, with the bitmap unchanged, when an argument is missing,
/// the document has no Image pass, or the bitmap is not a 32-bit DIB section of exactly the picture's size.
std::int32_t ReadFrameIntoBitmap(GlRenderer* renderer, HBITMAP__* bitmap);

}  // namespace pixelforge
