// The fixed GLSL that surrounds an author's code.
#pragma once

namespace pixelforge {

/// Follows the version line. `pf_assert` needs `pf_AssertColor`, which exists from GLSL 4.20 on only: the
/// engine counts on contexts of version 4.2 or higher.
extern const char* const kPrefixText;

/// `main` of every pass but the cube's: calls `mainImage` and shows failed `pf_assert` calls as colours.
extern const char* const kImageWrapper;

/// `main` of "Cube A": calls `mainCubemap` with the face's direction for the pixel.
extern const char* const kCubeWrapper;

}  // namespace pixelforge
