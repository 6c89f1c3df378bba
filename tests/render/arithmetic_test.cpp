// Channel sources, the frame rate, and the packing of pictures.
#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

#include "render/bitmap_packing.h"
#include "render/frame_inputs.h"

namespace pixelforge {
namespace {

TEST(SourceSlot, IsZeroUnlessThePassFitsTheSampler) {
    using enum ChannelType;
    const std::pair<ChannelType, int> cases[] = {{Buffer, 1}, {Buffer, 6}, {Texture, 2}, {CubeBuffer, 2}};
    for (const auto& [type, sourcePass] : cases) {
        EXPECT_EQ(SourceSlot({type, nullptr, {}, sourcePass, 0, L"", L""}), 0U) << static_cast<int>(type);
    }
}

TEST(FrameRateUniform, IsSixtyUntilAMillisecondHasPassed) {
    EXPECT_EQ(FrameRateUniform(500, 0), 60.0F);
    EXPECT_EQ(FrameRateUniform(30, 2000), 15.0F);
    EXPECT_EQ(FrameRateUniform(2'000'000'000, 1'000'000'000), 2000.0F) << "no overflow after days";
}

TEST(PackBitmapRows, DropsThePaddingAndFlipsTheRowsOfWholeBitmaps) {
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
    std::vector<std::uint8_t> bytes(36);
    for (const std::int32_t width : {-3, 0, 4, 0x40000000}) {
        EXPECT_FALSE(PackBitmapRows({width, 4, 24, bytes}, true)) << width;
    }
}

}  // namespace
}  // namespace pixelforge
