// Packing of a section's rows.
#include "render/bitmap_packing.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace pixelforge {
namespace {

/// Every byte has its own value, the padding too.
std::vector<std::uint8_t> NumberedBytes(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    return bytes;
}

TEST(PackRows, DropsThePaddingAndTurnsTheRows) {
    for (const std::int32_t bits : {8, 16, 24, 32}) {
        for (const std::int32_t width : {1, 3, 4, 5}) {
            for (const bool flip : {false, true}) {
                const auto stride = static_cast<std::size_t>((bits * width + 31) / 32 * 4);
                std::vector<std::uint8_t> bytes = NumberedBytes(stride * 3);
                const SectionPixels pixels = {width, 3, bits, bytes};
                const auto rowBytes = static_cast<std::size_t>(width * bits / 8);
                ASSERT_EQ(PackedBytes(pixels), rowBytes * 3);
                const HeapBytes packed = PackRows(pixels, flip);
                ASSERT_TRUE(packed);
                for (std::size_t i = 0; i < rowBytes * 3; ++i) {
                    const std::size_t row = flip ? 2 - i / rowBytes : i / rowBytes;
                    const int expected = bits == 16 ? 0 : bytes[row * stride + i % rowBytes];
                    EXPECT_EQ(packed[i], expected) << bits << " bits, width " << width << ", byte " << i;
                }
            }
        }
    }
}

TEST(PackRows, RefusesSizesThatTheBytesDoNotHold) {
    std::vector<std::uint8_t> bytes = NumberedBytes(36);
    EXPECT_TRUE(PackRows({3, 3, 24, bytes}, false));
    for (const auto& [width, height, bits] : {std::array{4, 4, 24},
                                              {5, 2, 32},
                                              {0, 3, 24},
                                              {3, 0, 24},
                                              {3, -3, 24},
                                              {-3, 3, 24},
                                              {3, 3, 0},
                                              {3, 3, -24},
                                              {0x7FFFFFFF, 0x7FFFFFFF, 32},
                                              {0x40000000, 1, 32}}) {
        EXPECT_FALSE(PackRows({width, height, bits, bytes}, true))
            << width << " x " << height << " x " << bits;
    }
    EXPECT_FALSE(PackRows({}, false));
    EXPECT_FALSE(PackBitmapRows(nullptr, false));
}

}  // namespace
}  // namespace pixelforge
