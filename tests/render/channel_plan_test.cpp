// Which pass a channel reads.
#include "render/channel_plan.h"

#include <gtest/gtest.h>

namespace pixelforge {
namespace {

TEST(ChannelPlan, OnlyPassOutputsOfTheRightShapeAreSources) {
    const struct {
        ChannelType type;
        std::int32_t sourcePass;
        std::uint32_t slot;
    } cases[] = {
        {ChannelType::Buffer, 2, 2},     {ChannelType::Buffer, 5, 5},  {ChannelType::CubeBuffer, 6, 6},
        {ChannelType::Buffer, 1, 0},     {ChannelType::Buffer, 6, 0},  {ChannelType::Buffer, 7, 0},
        {ChannelType::Buffer, -1, 0},    {ChannelType::Texture, 2, 0}, {ChannelType::Buffer, 1 << 30, 0},
        {ChannelType::CubeBuffer, 2, 0}, {ChannelType::CubeMap, 6, 0}, {ChannelType::None, 2, 0},
    };
    for (const auto& item : cases) {
        PassInput input{};
        input.ctype = item.type;
        input.sourcePass = item.sourcePass;
        EXPECT_EQ(SourceSlot(input), item.slot) << static_cast<int>(item.type) << " " << item.sourcePass;
    }
}

}  // namespace
}  // namespace pixelforge
