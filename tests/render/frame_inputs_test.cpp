// What passes and frames are given, as far as it needs no window: sources, frame rate, keys, driver logs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "render/channel_plan.h"
#include "render/frame_uniforms.h"
#include "render/input_state.h"
#include "render/pass_log.h"

namespace pixelforge {
namespace {

using testing::ElementsAre;

TEST(ChannelPlan, NumbersThatAreNoPassOfTheRightShapeAreNoSources) {
    const std::pair<ChannelType, std::int32_t> cases[] = {
        {ChannelType::Buffer, 1},     {ChannelType::Buffer, 6},  {ChannelType::Buffer, 7},
        {ChannelType::Buffer, -1},    {ChannelType::Texture, 2}, {ChannelType::Buffer, 1 << 30},
        {ChannelType::CubeBuffer, 2}, {ChannelType::CubeMap, 6}, {ChannelType::None, 2},
    };
    for (const auto& [type, sourcePass] : cases) {
        PassInput input{};
        input.ctype = type;
        input.sourcePass = sourcePass;
        EXPECT_EQ(SourceSlot(input), 0U) << static_cast<int>(type) << " " << sourcePass;
    }
}

TEST(FrameUniforms, FrameRateIsSixtyUntilAMillisecondHasPassed) {
    EXPECT_EQ(FrameRateUniform(500, 0), 60.0F);
    EXPECT_EQ(FrameRateUniform(30, 2000), 15.0F);
    EXPECT_EQ(FrameRateUniform(2'000'000'000, 1'000'000'000), 2000.0F) << "no overflow after days";
}

TEST(InputState, CodesThatAreNoVirtualKeysAreIgnored) {
    InputState input;
    for (const std::uint64_t key : {std::uint64_t{256}, ~std::uint64_t{0}, std::uint64_t{1} << 32}) {
        input.KeyDown(key);
        input.KeyUp(key);
    }
    KeyboardImage image;
    input.ReadKeyboard(image);
    EXPECT_EQ(image, KeyboardImage{});
    EXPECT_EQ(input.KeyboardChanges(), 0U);
}

TEST(PassLog, EveryLineTellsItsPass) {
    EXPECT_THAT(WordPassLog("Buffer A", "Buffer A:12: x\r\n\nCommon:3: y\nBuffer A says z\nlast"),
                ElementsAre("Buffer A:12: x", "Buffer A: Common:3: y", "Buffer A: Buffer A says z",
                            "Buffer A: last"));
    EXPECT_THAT(WordPassLog("Image", std::string_view("Image:\n\0", 8)), ElementsAre("Image: Image:"));
}

}  // namespace
}  // namespace pixelforge
