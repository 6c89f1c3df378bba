// Decoding of picture files.
#pragma once

#include <string>

#include "base/bitmap.h"

namespace pixelforge {

/// The first picture of a file as a top-down section of the same depth; 8-bit pictures get a grey palette.
/// Rows are deliberately copied without the section's padding, so a picture whose rows are not a multiple of
/// 4 bytes comes out sheared. Empty, with one clause of UTF-8 in `reason`, for a file that cannot be read or
/// decoded, fewer than 8 or more than 64 bits per pixel, more than 16,384 pixels a side, or more than 1 GiB.
UniqueBitmap DecodeImageFile(const wchar_t* path, std::string& reason);

}  // namespace pixelforge
