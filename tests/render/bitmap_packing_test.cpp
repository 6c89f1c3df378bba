// Packing of a section's rows.
#include "render/bitmap_packing.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace pixelforge {
namespace {

TEST(PackBitmapRows, DropsThePaddingAndFlipsTheRows) {
    for (int row = 0; row < 4 * 5 * 2; ++row) {
        const std::int32_t bits = row % 4 * 8 + 8;
        const std::int32_t width = row / 4 % 5 + 1;
        const bool flip = row >= 20;
        const auto stride = static_cast<std::size_t>((bits * width + 31) / 32 * 4);
        const auto rowBytes = static_cast<std::size_t>(width * bits / 8);
        std::vector<std::uint8_t> bytes(stride * 3);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
        ASSERT_EQ(PackedBytes({width, 3, bits, bytes}), rowBytes * 3);
        const HeapBytes packed = PackBitmapRows({width, 3, bits, bytes}, flip);
        for (std::size_t i = 0; i < rowBytes * 3; ++i) {
            const std::size_t from = flip ? 2 - i / rowBytes : i / rowBytes;
            const int expected = bits == 16 ? 0 : bytes[from * stride + i % rowBytes];
            EXPECT_EQ(packed[i], expected) << bits << " bits, width " << width << ", byte " << i;
        }
    }
}

TEST(PackBitmapRows, RefusesSizesThatExceedTheBytes) {
    std::vector<std::uint8_t> bytes(36);
    EXPECT_TRUE(PackBitmapRows({3, 3, 24, bytes}, false));
    constexpr std::int32_t kMax = 0x7FFFFFFF;
    const std::int32_t sizes[][3] = {{4, 4, 24},       {5, 2, 32},         {0, 3, 24}, {3, 0, 24},
                                     {3, -3, 24},      {-3, 3, 24},        {3, 3, 0},  {3, 3, -24},
                                     {kMax, kMax, 32}, {0x40000000, 1, 32}};
    for (const auto& [width, height, bits] : sizes) {
        EXPECT_FALSE(PackBitmapRows({width, height, bits, bytes}, true))
            << width << " x " << height << " x " << bits;
    }
    EXPECT_FALSE(PackBitmapRows({}, false));
}

}  // namespace
}  // namespace pixelforge
