// Which snapshots are taken, and where they go.
#include "inputs/packed_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace pixelforge::test {
namespace {

struct Claim {
    std::uint32_t size = 40;
    std::int32_t width = 640;
    std::int32_t height = 480;
    std::uint16_t planes = 1;
    std::uint16_t bits = 32;
    std::uint32_t compression = 0;
};

/// The plan for a block of that many bytes: width and height of the source; upper edge, width and height in
/// the picture. Nothing when the block is refused.
std::vector<std::int32_t> Plan(const Claim& claim, std::size_t bytes) {
    std::vector<std::byte> block(std::max(bytes, sizeof(claim)));
    std::memcpy(block.data(), &claim, sizeof(claim));
    const auto plan = PlanWebcamStretch(std::span(block).first(bytes));
    if (!plan) {
        return {};
    }
    return {plan->sourceWidth, plan->sourceHeight, plan->top, plan->width, plan->height};
}

TEST(PackedImage, WholePlainBitmapsFillTheirPartOfThePictureAndOthersAreRefused) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    const std::vector<std::int32_t> kWhole = {640, 480, 0, 1280, 720};
    const struct {
        Claim claim;
        std::size_t bytes;
        std::vector<std::int32_t> plan;
    } cases[] = {
        {{}, 40 + 640 * 480 * 4, kWhole},
        {{}, 40 + 640 * 480 * 4 - 1, {}},
        {{.height = -480, .bits = 24}, 40 + 640 * 480 * 3, kWhole},
        {{.bits = 16}, 40 + 640 * 480 * 2, kWhole},
        {{.width = 1920, .height = 1080}, 40 + 1920 * 1080 * 4, kWhole},
        {{.width = 320, .height = 240}, 40 + 320 * 240 * 4, {320, 240, 360, 640, 360}},
        {{.width = 320, .height = -240}, 40 + 320 * 240 * 4, {320, 240, 0, 640, 360}},
        {{.width = 800, .height = 240}, 40 + 800 * 240 * 4, {640, 240, 360, 1280, 360}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 24, {3, 2, 717, 6, 3}},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 23, {}},
        {{.bits = 8}, 2000000, {}},
        {{.bits = 0}, 2000000, {}},
        {{.compression = 3}, 2000000, {}},
        {{.size = 124}, 2000000, {}},
        {{.width = 0}, 2000000, {}},
        {{.width = -1}, 2000000, {}},
        {{.height = 0}, 2000000, {}},
        {{.width = kMost, .height = kMost}, 2000000, {}},
        {{.width = kMost, .height = kLeast}, 2000000, {}},
        {{}, 39, {}},
        {{}, 0, {}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(Plan(each.claim, each.bytes), each.plan)
            << each.claim.width << " x " << each.claim.height << ", " << each.claim.bits << " bits in "
            << each.bytes;
    }
}

}  // namespace
}  // namespace pixelforge::test
