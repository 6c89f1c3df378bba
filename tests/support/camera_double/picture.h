// The pictures that the camera double delivers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::test {

/// Size and time of a picture.
struct CameraShot {
    std::int32_t width = 0;
    std::int32_t height = 0;
    double seconds = 0;  ///< since the camera started
};

/// A packed DIB with 24 or 32 bits per pixel. Patterns: "quadrants" (red and green above blue and white), for
/// tests, and "scene", an animation for manual use.
std::vector<std::uint8_t> PackPicture(const CameraShot& shot, const std::string& pattern, unsigned bits,
                                      bool topDown);

}  // namespace pixelforge::test
