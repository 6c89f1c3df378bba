// Samples, samplers and sizes of the render targets.
#include <gtest/gtest.h>

#include "render/build_settings.h"
#include "render/readback.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

class RenderTarget : public StageTest {
protected:
    Color FirstPixel(int x, int y) {
        EXPECT_TRUE(stage_.Build()) << stage_.Reason();
        return stage_.Frame().At(x, y);
    }
};

TEST_F(RenderTarget, SamplesAreAveragedForTheHostAndForASampler2D) {
    // Each sample gets a value of its own. Green tells how many there are, so red is 255 / green after
    // averaging and, in a buffer's copy, before that.
    const std::string probe =
        "c = vec4(gl_SampleID == 0 ? 1.0 : 0.0, float(gl_NumSamples) / 255.0, p.x / 255.0, 1.0);";
    const SampleScope samples(2);
    stage_.Body(PassKind::Image, probe);
    const Color averaged = FirstPixel(63, 7);
    ASSERT_GE(averaged.g, 4);
    EXPECT_NEAR(averaged.r, 255.0 / averaged.g, 1.0);
    stage_.Clear().Body(PassKind::BufferA, probe);
    stage_.Body(PassKind::Image, "c = texture(iChannel0, p / iResolution.xy);",
                {Reads(0, PassKind::BufferA)});
    EXPECT_EQ(FirstPixel(63, 7), averaged);
    EXPECT_EQ(stage_.Frame().At(63, 0), averaged);
}

TEST_F(RenderTarget, SampleExponentsOutOfReachKeepTheOneBefore) {
    const SampleScope samples(1);
    for (const int exponent : {-1, 30, 31, 32, 33, 1 << 30, -2147483647}) {
        SetSampleExponent(exponent);
        EXPECT_EQ(SampleExponent(), 1) << exponent;
    }
}

TEST_F(RenderTarget, EachChannelHasItsOwnSettingsForTheSameTexture) {
    for (const int exponent : {0, 2}) {
        const SampleScope samples(exponent);
        // 2.25 columns beyond the right edge, then a quarter into the third column.
        stage_.Clear().Body(PassKind::BufferA, "c = vec4(floor(p), 0.0, 0.0);");
        stage_.Body(PassKind::Image,
                    "vec2 far = vec2(66.25, 5.5) / vec2(64, 48); vec2 near = vec2(10.0, 5.5) / vec2(64, 48);"
                    "c = vec4(texture(iChannel0, far).r, texture(iChannel1, far).r,"
                    "    texture(iChannel2, near).r * 10.0, texture(iChannel3, near).r) / 255.0;",
                    {Reads(0, PassKind::BufferA, kFilterNearest, kWrapRepeat),
                     Reads(1, PassKind::BufferA, kFilterNearest, kWrapClamp),
                     Reads(2, PassKind::BufferA, kFilterLinear, kWrapClamp),
                     Reads(3, PassKind::BufferA, kFilterNearest, kWrapRepeat)});
        EXPECT_EQ(FirstPixel(30, 20), (Color{2, 63, 95, 10}));
    }
}

TEST_F(RenderTarget, MipmapsFollowThePictureTheyBelongTo) {
    for (const int exponent : {0, 2}) {
        const SampleScope samples(exponent);
        // The smallest level is the mean: 31.5 and 23.5 from the buffer, and the frame's number.
        stage_.Clear().Body(PassKind::BufferA, "c = vec4(floor(p), T(0).b + 2.0, 0.0);",
                            {Reads(0, PassKind::BufferA)});
        stage_.Body(PassKind::Image, "c = textureLod(iChannel0, vec2(0.3), 16.0) * 2.0 / 255.0;",
                    {Reads(0, PassKind::BufferA, kFilterMipmap, kWrapRepeat)});
        EXPECT_EQ(FirstPixel(30, 20), (Color{63, 47, 4, 0}));
        EXPECT_EQ(stage_.Frame().At(30, 20), (Color{63, 47, 8, 0}));
        EXPECT_EQ(stage_.Frame().At(30, 20), (Color{63, 47, 12, 0}));
    }
}

TEST_F(RenderTarget, AWindowOfTheFramesSizeIsFollowed) {
    stage_.Body(PassKind::BufferA, "c = T(0) + vec4(1.0);", {Reads(0, PassKind::BufferA)});
    stage_.Body(PassKind::Image, "c = vec4(iFrame, iChannelResolution[0].x, T(0).r, iResolution.y) / 255.0;",
                {Reads(0, PassKind::BufferA)});
    EXPECT_EQ(FirstPixel(60, 40), (Color{0, 64, 1, 48}));
    EXPECT_EQ(stage_.Frame().At(60, 40), (Color{0, 64, 2, 48}));
    EXPECT_EQ(stage_.Frame().At(60, 40), (Color{1, 64, 3, 48}));
    window_.Resize(80, 36);
    Picture old(64, 48);
    stage_.Draw();
    EXPECT_EQ(ReadFrameIntoBitmap(&stage_.Renderer(), old.Bitmap()), 0);
    EXPECT_EQ(stage_.Read().At(79, 35), (Color{0, 80, 1, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{0, 80, 2, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{1, 80, 3, 36}));
    window_.Resize(0, 0);
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{2, 80, 4, 36}));
}

TEST_F(RenderTarget, AFrameOfAnotherSizeThanTheWindowKeepsItsSize) {
    window_.Resize(100, 48);
    stage_.Body(PassKind::Image, "c = vec4(iResolution, iFrame) / 255.0;");
    EXPECT_EQ(FirstPixel(0, 0), (Color{64, 48, 1, 0}));
    window_.Resize(80, 36);
    EXPECT_EQ(stage_.Frame().At(0, 0), (Color{64, 48, 1, 0}));
}

}  // namespace
}  // namespace pixelforge::test
