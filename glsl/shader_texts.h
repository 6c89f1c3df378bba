// The fixed GLSL that surrounds an author's code.
#pragma once

#include <string_view>

namespace pixelforge {

/// Follows the version line. `pf_assert` needs `pf_AssertColor`, which exists from GLSL 4.20 on only: the
/// engine counts on contexts of version 4.2 or higher.
extern const std::string_view kPrefixText;

/// `main` of every pass but the cube's: calls `mainImage` and shows failed `pf_assert` calls as colours.
extern const std::string_view kImageWrapper;

/// `main` of "Cube A": calls `mainCubemap` with the face's direction for the pixel.
extern const std::string_view kCubeWrapper;

}  // namespace pixelforge
