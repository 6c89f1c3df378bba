// The pictures that the stand-in for a camera delivers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::test {

/// What the camera has before it.
struct CameraShot {
    std::int32_t width = 0;
    std::int32_t height = 0;
    double seconds = 0;  ///< since the camera began to run
};

/// A bitmap header and the pixels behind it, with 24 or 32 bits a pixel, bottom-up or top-down. Patterns are
/// "quadrants" (red, green above blue, white), for tests, and "scene", which moves, for the eye.
std::vector<std::uint8_t> PackPicture(const CameraShot& shot, const std::string& pattern, unsigned bits,
                                      bool topDown);

}  // namespace pixelforge::test
