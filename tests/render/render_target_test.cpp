// Samples, samplers and sizes of the render targets, and the bitmaps that receive the picture.
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using RenderTarget = StageTest;

TEST_F(RenderTarget, SamplesAreAveragedForTheHostAndForSamplers) {
    // Red is 1 in the first sample only, and green is their number, so averaged red is 255 / green.
    const std::string probe =
        "c = vec4(gl_SampleID == 0 ? 1.0 : 0.0, float(gl_NumSamples) / 255.0, p.x / 255.0, 1.0);";
    SetSampleExponent(2);
    for (const int exponent : {-1, 30, 31, 32, 33, 1 << 30, -2147483647}) {
        SetSampleExponent(exponent);
        EXPECT_EQ(SampleExponent(), 2) << exponent << " is not supported";
    }
    const Color averaged = stage_.LoadImage(probe).Show().At(63, 7);
    ASSERT_GE(averaged[1], 4);
    EXPECT_NEAR(averaged[0], 255.0 / averaged[1], 1.0);
    stage_.Load(DocumentBuilder()
                    .Buffer('A', Body(probe))
                    .Image(Body("c = texture(iChannel0, p / iResolution.xy);"), {{}}));
    EXPECT_EQ(stage_.Show().At(63, 7), averaged);
    EXPECT_EQ(stage_.Frame().At(63, 0), averaged);
}

TEST_F(RenderTarget, ChannelsSampleOneTextureWithTheirOwnSettingsAndFreshMipmaps) {
    for (const int exponent : {0, 2}) {
        SetSampleExponent(exponent);
        // Left half: past the right and the upper edge, then a quarter into the third column. Right half: the
        // smallest mipmap, the mean: 31.5, 23.5 and the frame's number.
        const std::string image =
            "vec4 one4 = vec4(1, 4, 0, 0);"
            "vec2 far = vec2(66.25, 50.5) / vec2(64, 48), near = vec2(10.0, 5.5) / vec2(64, 48);"
            "c = vec4(dot(texture(iChannel0, far), one4), dot(texture(iChannel1, far), one4),"
            "    5.0 * (texture(iChannel2, near).r + textureLod(iChannel3, near, 0.0).r), "
            "texture(iChannel0, near).r) / 255.0;"
            "if (p.x > 32.0) c = textureLod(iChannel3, vec2(0.3), 16.0) * 2.0 / 255.0;";
        const std::vector<Input> inputs = {{.wrap = "repeat"},
                                           {.channel = 1, .wrap = "clamp"},
                                           {.channel = 2, .filter = "linear"},
                                           {.channel = 3, .filter = "mipmap", .wrap = "repeat"}};
        const std::string count = Body("c = vec4(floor(p), T(0).b + 2.0, 0.0);");
        stage_.Load(DocumentBuilder().Buffer('A', count, {{}}).Image(Body(image), inputs)).Start();
        for (int frame = 1; frame <= 3; ++frame) {
            const Picture picture = stage_.Frame();
            EXPECT_EQ(picture.At(20, 20), (Color{2 + 4 * 2, 63 + 4 * 47, 95, 10}));
            EXPECT_EQ(picture.At(40, 20), (Color{63, 47, 4 * frame, 0}));
        }
    }
}

TEST_F(RenderTarget, TheFrameFollowsAWindowOfItsSizeAndCubeAStays) {
    stage_.Load(DocumentBuilder()
                    .Buffer('A', Body("c = T(0) + vec4(1.0);"), {{}})
                    .Pass("cubemap", "Cube A", CubeBody("c = texture(iChannel0, rd) + vec4(16.0);"),
                          {{.ctype = "cubemap", .id = 41}})
                    .Image(Body("c = vec4(float(iFrame) + texture(iChannel1, vec3(1)).r,"
                                "iChannelResolution[0].x, T(0).r, iResolution.y) / 255.0;"),
                           {{}, {.channel = 1, .ctype = "cubemap", .id = 41}}));
    EXPECT_EQ(stage_.Show().At(60, 40), (Color{16, 64, 1, 48}));
    EXPECT_EQ(stage_.Frame().At(60, 40), (Color{32, 64, 2, 48}));
    EXPECT_EQ(stage_.Frame().At(60, 40), (Color{49, 64, 3, 48}));
    stage_.window.SetClientSize(80, 36);
    const Picture old(64, 48);
    stage_.Draw();
    EXPECT_EQ(ReadFrameIntoBitmap(stage_.renderer.get(), PixelsOf(old.Bitmap())), 0);
    EXPECT_EQ(stage_.Read().At(79, 35), (Color{64, 80, 1, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{80, 80, 2, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{97, 80, 3, 36}));
    stage_.window.SetClientSize(0, 0);
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{114, 80, 4, 36}));
}

TEST_F(RenderTarget, ARefusedTargetIsReportedOnceAndNothingIsDrawn) {
    stage_.Load(DocumentBuilder().Buffer('A', Body("c = vec4(1.0);")).Image(Body("c = vec4(1.0);")));
    SetResolution(*stage_.renderer, 16384, 16384);  // 4 GB a target
    stage_.Start();
    EXPECT_EQ(stage_.Render(), 0);
    EXPECT_EQ(stage_.Render(), 0);
    const std::string error = "GL_OUT_OF_MEMORY: There is not enough memory left to execute the command.";
    const std::string named = "Pixelforge: cannot draw: the driver rejects the render target of Buffer A";
    EXPECT_EQ(TakeLines(), (std::vector{error, named, error}));
    stage_.renderer->tracksWindowSize = 1;
    stage_.Draw();
    EXPECT_EQ(stage_.Read().At(63, 47), (Color{255, 255, 255, 255})) << "the window's size fits again";
}

TEST_F(RenderTarget, AFrameThatDiffersFromItsWindowKeepsItsSize) {
    for (const auto& [width, height] : {std::pair(100, 48), {64, 40}}) {
        stage_.window.SetClientSize(width, height);
        stage_.LoadImage("c = vec4(iResolution, iFrame) / 255.0;");
        EXPECT_EQ(stage_.Show().At(0, 0), (Color{64, 48, 1, 0}));
        stage_.window.SetClientSize(80, 36);
        EXPECT_EQ(stage_.Frame().At(0, 0), (Color{64, 48, 1, 0}));
    }
}

TEST_F(RenderTarget, OnlyA32BitSectionOfTheFramesSizeReceivesIt) {
    stage_.LoadImage("c = vec4(1.0);").Show();
    const int cases[][4] = {{63, 48, 32, 0}, {64, 49, 32, 0},  {48, 64, 32, 0},
                            {64, 48, 24, 0}, {128, 48, 16, 0}, {64, 48, 32, 1}};
    for (const auto& [width, height, depth, accepted] : cases) {
        const UniqueBitmap bitmap = CreatePictureBitmap(width, height, depth);
        EXPECT_EQ(ReadFrameIntoBitmap(stage_.renderer.get(), PixelsOf(bitmap.Get())), accepted)
            << width << " x " << height << ", " << depth;
        EXPECT_EQ(PixelsOf(bitmap.Get()).bytes[0], accepted ? 255 : 0);
        EXPECT_EQ(ReadFrameIntoBitmap(nullptr, PixelsOf(bitmap.Get())), 0);
    }
    const UniqueBitmap noSection(CreateBitmap(64, 48, 1, 32, nullptr));
    EXPECT_EQ(ReadFrameIntoBitmap(stage_.renderer.get(), PixelsOf(noSection.Get())), 0);
}

TEST_F(RenderTarget, SizesBeyondTheGlLimitsAreRefused) {
    const int sizes[][2] = {{0, 48}, {64, 0}, {-64, 48}, {64, -2147483647}, {1 << 30, 48}};
    stage_.LoadImage("c = vec4(1.0);");
    for (const auto& [width, height] : sizes) {
        SetResolution(*stage_.renderer, width, height);
        stage_.Build();
        EXPECT_EQ(stage_.reason.find("cannot draw " + std::to_string(width) + " x "), 0U);
    }
}

}  // namespace
}  // namespace pixelforge::test
