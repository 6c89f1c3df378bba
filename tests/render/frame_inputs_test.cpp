// Channel sources and the frame rate.
#include "render/frame_inputs.h"

#include <gtest/gtest.h>

#include <utility>

namespace pixelforge {
namespace {

TEST(SourceSlot, IsZeroUnlessThePassFitsTheSampler) {
    const std::pair<ChannelType, std::int32_t> cases[] = {
        {ChannelType::Buffer, 1},     {ChannelType::Buffer, 6},  {ChannelType::Buffer, 7},
        {ChannelType::Buffer, -1},    {ChannelType::Texture, 2}, {ChannelType::Buffer, 1 << 30},
        {ChannelType::CubeBuffer, 2}, {ChannelType::CubeMap, 6}, {ChannelType::None, 2},
    };
    for (const auto& [type, sourcePass] : cases) {
        PassInput input = {};
        input.ctype = type;
        input.sourcePass = sourcePass;
        EXPECT_EQ(SourceSlot(input), 0U) << static_cast<int>(type) << " " << sourcePass;
    }
}

TEST(FrameRateUniform, IsSixtyUntilAMillisecondHasPassed) {
    EXPECT_EQ(FrameRateUniform(500, 0), 60.0F);
    EXPECT_EQ(FrameRateUniform(30, 2000), 15.0F);
    EXPECT_EQ(FrameRateUniform(2'000'000'000, 1'000'000'000), 2000.0F) << "no overflow after days";
}

}  // namespace
}  // namespace pixelforge
