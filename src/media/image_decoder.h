// Decoding of picture files.
#pragma once

#include <string>

#include "base/bitmap.h"

namespace pixelforge {

/// The first picture of a file as a top-down section with the picture's own depth; up to 8 bits a pixel it
/// shows as greys. Rows are copied without the padding that a section's rows have, on purpose: a picture
/// whose rows are no multiple of 4 bytes comes out sheared, and always did.
/// Empty, with one clause of UTF-8 in `reason`, for a file that cannot be read or decoded, for fewer than 8
/// bits a pixel, and for more than 16,384 pixels a side or 1 GiB.
UniqueBitmap DecodeImageFile(const wchar_t* path, std::string& reason);

}  // namespace pixelforge
