// Test pictures as packed DIBs.
#include "tests/support/camera_double/picture.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pixelforge::test {
namespace {

std::uint32_t Colour(double red, double green, double blue) {
    const auto level = [](double value) {
        return static_cast<std::uint32_t>(std::clamp(value, 0.0, 1.0) * 255);
    };
    return level(red) << 16 | level(green) << 8 | level(blue);
}

std::uint32_t Quadrant(double x, double y) {
    if (y < 0.5) {
        return x < 0.5 ? 0x0000FF : 0xFFFFFF;
    }
    return x < 0.5 ? 0xFF0000 : 0x00FF00;
}

/// Hills under an evening sky, with a sun moving from left to right.
std::uint32_t Scene(double x, double y, double seconds) {
    const double hill = 0.3 + 0.1 * std::sin(x * 7) + 0.04 * std::sin(x * 17 + 1);
    if (y < hill) {
        return Colour(0.1, 0.35 * y / hill + 0.1, 0.15);
    }
    const double sunX = std::fmod(0.2 + seconds * 0.05, 1.2) - 0.1;
    const double distance = std::hypot((x - sunX) * 4 / 3, y - 0.7);
    const double glow = std::exp(-distance * 5);
    if (distance < 0.08) {
        return Colour(1, 0.95, 0.7);
    }
    return Colour(0.9 - 0.6 * y + glow, 0.5 - 0.2 * y + 0.6 * glow, 0.3 + 0.3 * y + 0.2 * glow);
}

}  // namespace

std::vector<std::uint8_t> PackPicture(const CameraShot& shot, const std::string& pattern, unsigned bits,
                                      bool topDown) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = shot.width;
    header.biHeight = topDown ? -shot.height : shot.height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    const std::size_t rowBytes = (static_cast<std::size_t>(shot.width) * bits + 31) / 32 * 4;
    std::vector<std::uint8_t> block(sizeof(header) + rowBytes * static_cast<std::size_t>(shot.height));
    std::memcpy(block.data(), &header, sizeof(header));
    for (std::int32_t row = 0; row < shot.height; ++row) {
        const double y = ((topDown ? shot.height - 1 - row : row) + 0.5) / shot.height;
        std::uint8_t* to = &block[sizeof(header) + rowBytes * static_cast<std::size_t>(row)];
        for (std::int32_t column = 0; column < shot.width; ++column, to += bits / 8) {
            const double x = (column + 0.5) / shot.width;
            const std::uint32_t colour = pattern == "quadrants" ? Quadrant(x, y) : Scene(x, y, shot.seconds);
            std::memcpy(to, &colour, bits / 8);
        }
    }
    return block;
}

}  // namespace pixelforge::test
