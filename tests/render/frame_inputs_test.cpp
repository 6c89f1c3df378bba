// What a frame tells its shaders, without a window: the uniforms' arithmetic, keys and mouse, driver logs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "render/frame_uniforms.h"
#include "render/input_state.h"
#include "render/pass_log.h"

namespace pixelforge {
namespace {

using testing::ElementsAre;

TEST(FrameUniforms, MouseSignsTellButtonAndClick) {
    const auto uniform = [](bool buttonDown, bool clicked) {
        return MouseUniform({buttonDown, 1, MousePoint{3, 4}, MousePoint{10, 20}}, clicked);
    };
    EXPECT_THAT(uniform(true, true), ElementsAre(3, 4, 10, 20));
    EXPECT_THAT(uniform(true, false), ElementsAre(3, 4, 10, -20));
    EXPECT_THAT(uniform(false, false), ElementsAre(3, 4, -10, -20));
    EXPECT_THAT(uniform(false, true), ElementsAre(3, 4, -10, -20)) << "let go between two frames";
}

TEST(FrameUniforms, FrameRateIsSixtyUntilAMillisecondHasPassed) {
    EXPECT_EQ(FrameRateUniform(500, 0), 60.0F);
    EXPECT_EQ(FrameRateUniform(0, 5), 0.0F);
    EXPECT_EQ(FrameRateUniform(30, 2000), 15.0F);
    EXPECT_EQ(FrameRateUniform(2'000'000'000, 1'000'000'000), 2000.0F);
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

TEST(InputState, ADragBeyondTheUpperLeftHasSignedPlaces) {
    InputState input;
    input.ButtonDown(0, 600);
    input.MouseMove(std::int64_t{0xFFEC'FFF9}, 600);  // x -7, y -20
    EXPECT_EQ(input.ReadMouse().current.x, -7);
    EXPECT_EQ(input.ReadMouse().current.y, 620);
    EXPECT_EQ(input.ReadMouse().click.y, 600);
}

TEST(PassLog, EveryLineTellsItsPass) {
    EXPECT_THAT(WordPassLog("Buffer A", "Buffer A:12: error: x\r\n\nCommon:3: y\nBuffer A says z\nlast"),
                ElementsAre("Buffer A:12: error: x", "Buffer A: Common:3: y", "Buffer A: Buffer A says z",
                            "Buffer A: last"));
    EXPECT_THAT(WordPassLog("Image", std::string_view("Image:\n\0", 8)), ElementsAre("Image: Image:"));
    EXPECT_THAT(WordPassLog("Image", "\r\n\n"), ElementsAre());
}

}  // namespace
}  // namespace pixelforge
