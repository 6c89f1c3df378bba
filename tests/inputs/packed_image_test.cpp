// Which snapshots are taken, and where they go.
#include "inputs/packed_image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace pixelforge::test {
namespace {

struct Claim {
    std::int32_t width = 640;
    std::int32_t height = 480;
    std::uint16_t bits = 32;
    std::uint32_t compression = 0;
    std::uint32_t size = 40;
};

std::vector<std::byte> Block(const Claim& claim, std::size_t bytes) {
    std::vector<std::byte> block(bytes);
    const std::uint16_t planes = 1;
    const auto put = [&](std::size_t place, const auto& value) {
        if (place + sizeof(value) <= bytes)
            std::memcpy(&block[place], &value, sizeof(value));
    };
    put(0, claim.size);
    put(4, claim.width);
    put(8, claim.height);
    put(12, planes);
    put(14, claim.bits);
    put(16, claim.compression);
    return block;
}

TEST(PackedImage, OnlyWholePlainBitmapsAreTaken) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    struct Case {
        Claim claim;
        std::size_t bytes;
        bool taken;
    };
    const Case cases[] = {
        {{}, 40 + 640 * 480 * 4, true},
        {{}, 40 + 640 * 480 * 4 - 1, false},
        {{.bits = 24}, 40 + 640 * 480 * 3, true},
        {{.bits = 16}, 40 + 640 * 480 * 2, true},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 24, true},
        {{.width = 3, .height = 2, .bits = 24}, 40 + 23, false},
        {{.width = 3, .height = -2, .bits = 24}, 40 + 24, true},
        {{.bits = 8}, 2000000, false},
        {{.bits = 0}, 2000000, false},
        {{.compression = 3}, 2000000, false},
        {{.size = 124}, 2000000, false},
        {{.size = 12}, 2000000, false},
        {{.width = 0}, 2000000, false},
        {{.width = -1}, 2000000, false},
        {{.height = 0}, 2000000, false},
        {{.width = kMost, .height = kMost}, 2000000, false},
        {{.width = kMost, .height = kLeast}, 2000000, false},
        {{}, 40, false},
        {{}, 39, false},
        {{}, 0, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(PlanWebcamStretch(Block(c.claim, c.bytes)).has_value(), c.taken)
            << c.claim.width << " x " << c.claim.height << ", " << c.claim.bits << " bits in " << c.bytes;
    }
}

TEST(PackedImage, SmallerOnesFillTheirPartOfThePicture) {
    struct Case {
        std::int32_t width;
        std::int32_t height;
        WebcamStretch stretch;
    };
    const Case cases[] = {
        {640, 480, {640, 480, 0, 1280, 720}},   {640, -480, {640, 480, 0, 1280, 720}},
        {1920, 1080, {640, 480, 0, 1280, 720}}, {320, 240, {320, 240, 360, 640, 360}},
        {320, -240, {320, 240, 0, 640, 360}},   {800, 240, {640, 240, 360, 1280, 360}},
    };
    for (const Case& c : cases) {
        const std::size_t bytes = 40 + 4 * static_cast<std::size_t>(c.width * std::abs(c.height));
        const auto plan = PlanWebcamStretch(Block({.width = c.width, .height = c.height}, bytes));
        ASSERT_TRUE(plan) << c.width << " x " << c.height;
        EXPECT_EQ(plan->sourceWidth, c.stretch.sourceWidth);
        EXPECT_EQ(plan->sourceHeight, c.stretch.sourceHeight);
        EXPECT_EQ(plan->top, c.stretch.top);
        EXPECT_EQ(plan->width, c.stretch.width);
        EXPECT_EQ(plan->height, c.stretch.height);
    }
}

}  // namespace
}  // namespace pixelforge::test
