// The native build makes no bitmaps: none is ever read, cut or closed.
#include "base/bitmap.h"
#include "base/cube_cross.h"

namespace pixelforge {

void BitmapTraits::Close(HBITMAP__*) noexcept {}

SectionPixels PixelsOf(HBITMAP__*) noexcept {
    return {};
}

bool SplitCubeCross(HBITMAP__*, UniqueBitmap (&)[6]) {
    return false;
}

}  // namespace pixelforge
