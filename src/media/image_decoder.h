// Decoding of picture files.
#pragma once

#include <cstdint>
#include <string>

#include "base/bitmap.h"

namespace pixelforge {

/// Most bytes that the decoded pictures and the volumes of one document may have.
inline constexpr std::uint64_t kMediaBudget = std::uint64_t{512} << 20;
inline constexpr const char* kBeyondBudget =
    "with it the document's pictures and volumes would exceed 512 MiB";

/// The first picture of a file as a top-down section of the same depth; 8-bit pictures get a grey palette.
/// Rows are deliberately copied without the section's padding, so a picture whose rows are not a multiple of
/// 4 bytes comes out sheared. Empty, with one clause of UTF-8 in `reason`, for a file that cannot be read or
/// decoded, fewer than 8 or more than 64 bits per pixel, more than 16,384 pixels a side, more than 1 GiB, or
/// more than `mostBytes`, what is left of the document's share.
UniqueBitmap DecodeImageFile(const wchar_t* path, std::string& reason,
                             std::uint64_t mostBytes = kMaxSectionBytes);

}  // namespace pixelforge
