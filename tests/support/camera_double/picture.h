// The pictures that the stand-in for a camera delivers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::test {

/// One frame of a camera, 0xRRGGBB a pixel, the lower row first.
struct CameraPicture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint32_t> pixels;
};

/// "quadrants": red, green above blue, white, for tests; "scene": a moving one, for the eye.
CameraPicture MakeCameraPicture(const std::string& pattern, std::int32_t width, std::int32_t height,
                                double seconds);

/// A bitmap header and the pixels behind it, with 24 or 32 bits a pixel, bottom-up or top-down.
std::vector<std::uint8_t> PackPicture(const CameraPicture& picture, unsigned bits, bool topDown);

}  // namespace pixelforge::test
