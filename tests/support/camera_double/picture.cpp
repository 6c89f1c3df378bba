// Test pictures and their packed form.
#include "tests/support/camera_double/picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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
    if (y < 0.5)
        return x < 0.5 ? 0x0000FF : 0xFFFFFF;
    return x < 0.5 ? 0xFF0000 : 0x00FF00;
}

/// Hills under an evening sky, and a sun that goes from left to right.
std::uint32_t Scene(double x, double y, double seconds) {
    const double hill = 0.3 + 0.1 * std::sin(x * 7) + 0.04 * std::sin(x * 17 + 1);
    if (y < hill)
        return Colour(0.1, 0.35 * y / hill + 0.1, 0.15);
    const double sunX = std::fmod(0.2 + seconds * 0.05, 1.2) - 0.1;
    const double distance = std::hypot((x - sunX) * 4 / 3, y - 0.7);
    const double glow = std::exp(-distance * 5);
    if (distance < 0.08)
        return Colour(1, 0.95, 0.7);
    return Colour(0.9 - 0.6 * y + glow, 0.5 - 0.2 * y + 0.6 * glow, 0.3 + 0.3 * y + 0.2 * glow);
}

}  // namespace

CameraPicture MakeCameraPicture(const std::string& pattern, std::int32_t width, std::int32_t height,
                                double seconds) {
    CameraPicture picture = {width, height, {}};
    for (std::int32_t row = 0; row < height; ++row) {
        for (std::int32_t column = 0; column < width; ++column) {
            const double x = (column + 0.5) / width;
            const double y = (row + 0.5) / height;
            picture.pixels.push_back(pattern == "quadrants" ? Quadrant(x, y) : Scene(x, y, seconds));
        }
    }
    return picture;
}

std::vector<std::uint8_t> PackPicture(const CameraPicture& picture, unsigned bits, bool topDown) {
    struct Header {
        std::uint32_t size = 40;
        std::int32_t width;
        std::int32_t height;
        std::uint16_t planes = 1;
        std::uint16_t bitCount;
        std::uint32_t rest[6];
    };
    static_assert(sizeof(Header) == 40);
    const Header header = {.width = picture.width,
                           .height = topDown ? -picture.height : picture.height,
                           .bitCount = static_cast<std::uint16_t>(bits),
                           .rest = {}};
    const auto width = static_cast<std::size_t>(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    const std::size_t rowBytes = (width * bits + 31) / 32 * 4;
    std::vector<std::uint8_t> block(sizeof(header) + rowBytes * height);
    std::memcpy(block.data(), &header, sizeof(header));
    for (std::size_t row = 0; row < height; ++row) {
        const std::uint32_t* from = &picture.pixels[(topDown ? height - 1 - row : row) * width];
        std::uint8_t* to = &block[sizeof(header) + row * rowBytes];
        for (std::size_t x = 0; x < width; ++x)
            std::memcpy(to + x * (bits / 8), &from[x], bits / 8);
    }
    return block;
}

}  // namespace pixelforge::test
