// Which camera snapshots are accepted, and where they are drawn.
#include "inputs/webcam_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace pixelforge::test {
namespace {

/// A bitmap header that may misstate the block.
struct Header {
    std::uint32_t size = 40;
    std::int32_t width = 640;
    std::int32_t height = 480;
    std::uint16_t planes = 1;
    std::uint16_t bits = 32;
    std::uint32_t compression = 0;
};

TEST(PlanWebcamStretch, PlacesCompleteUncompressedBitmapsAndRejectsOthers) {
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    const std::vector<std::int32_t> kFullPicture = {640, 480, 0, 1280, 720};
    const struct {
        Header header;
        std::size_t bytes;
        /// Source width and height; top, width and height in the picture. Empty: rejected.
        std::vector<std::int32_t> plan;
    } cases[] = {
        {{}, 40 + 640 * 480 * 4, kFullPicture},
        {{}, 40 + 640 * 480 * 4 - 1, {}},
        {{.height = -480, .bits = 24}, 40 + 640 * 480 * 3, kFullPicture},
        {{.bits = 16}, 40 + 640 * 480 * 2, kFullPicture},
        {{.width = 1920, .height = 1080}, 40 + 1920 * 1080 * 4, kFullPicture},
        {{.width = 800, .height = 240}, 40 + 800 * 240 * 4, {640, 240, 360, 1280, 360}},
        {{.width = 320, .height = -240}, 40 + 320 * 240 * 4, {320, 240, 0, 640, 360}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 24, {3, 2, 717, 6, 3}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 23, {}},
        {{.bits = 8}, 2000000, {}},
        {{.compression = 3}, 2000000, {}},
        {{.size = 124}, 2000000, {}},
        {{.width = 0}, 2000000, {}},
        {{.height = 0}, 2000000, {}},
        {{.width = kMax, .height = kMax}, 2000000, {}},
        {{.width = kMax, .height = kMin}, 2000000, {}},
        {{}, 39, {}},
    };
    for (const auto& each : cases) {
        std::vector<std::byte> block(std::max(each.bytes, sizeof(Header)));
        std::memcpy(block.data(), &each.header, sizeof(Header));
        const auto plan = PlanWebcamStretch(std::span(block).first(each.bytes));
        std::vector<std::int32_t> drawn;
        if (plan) {
            drawn = {plan->sourceWidth, plan->sourceHeight, plan->top, plan->width, plan->height};
        }
        EXPECT_EQ(drawn, each.plan) << each.header.width << " x " << each.header.height << ", "
                                    << each.header.bits << " bits in " << each.bytes << " bytes";
    }
}

}  // namespace
}  // namespace pixelforge::test
