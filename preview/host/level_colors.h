// Levels as a picture.
#pragma once

#include <cstdint>
#include <vector>

#include "preview/host/frame_pixels.h"

namespace pixelforge::preview {

/// A host looks levels up in its palette; this one's is a ramp of greys from black to white. The result
/// lies as the frame does.
std::vector<std::uint8_t> GreysOfLevels(const FramePixels& pixels, std::int32_t levelDivisor);

}  // namespace pixelforge::preview
