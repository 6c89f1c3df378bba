// Turns words that count levels into grey pixels.
#include "preview/host/level_colors.h"

#include <algorithm>
#include <cstring>

namespace pixelforge::preview {

std::vector<std::uint8_t> GreysOfLevels(const FramePixels& pixels, std::int32_t levelDivisor) {
    constexpr std::uint32_t kWhiteSum = 3 * 255;
    const std::uint32_t highest = std::max(kWhiteSum / static_cast<std::uint32_t>(levelDivisor), 1u);
    std::vector<std::uint8_t> greys(pixels.bytes.size());
    for (std::size_t at = 0; at + 4 <= greys.size(); at += 4) {
        std::uint32_t level = 0;
        std::memcpy(&level, pixels.bytes.data() + at, 4);
        const auto grey = static_cast<std::uint8_t>(std::min(level, highest) * 255u / highest);
        greys[at] = greys[at + 1] = greys[at + 2] = grey;
    }
    return greys;
}

}  // namespace pixelforge::preview
