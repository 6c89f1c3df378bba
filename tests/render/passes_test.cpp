// What a pass reads (other passes, live textures, files, uniforms), and the targets that it draws into.
#include <gmock/gmock.h>

#include "inputs/webcam_capture.h"
#include "media/document_media.h"
#include "media/image_decoder.h"
#include "render/frame_inputs.h"
#include "service/http_get.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using PassInputs = StageTest;
using RenderTarget = StageTest;

TEST_F(PassInputs, EarlierPassesShowThisFrameAndLaterOnesThePrevious) {
    std::vector<Input> inputs = {{},
                                 {.channel = 1, .id = 258},
                                 {.channel = 2, .id = 260},
                                 {.channel = 3, .ctype = "cubemap", .id = 41}};
    // Red counts the pass's frames; the other components show what it read from other passes.
    DocumentBuilder document;
    document.Buffer('A', Body("c = vec4(T(0).r + 1, T(1).r, T(2).r, texture(iChannel3,vec3(1)).r);"), inputs);
    document.Buffer('B', Body("c = vec4(T(1).r + 1.0, T(0).r, 0.0, 0.0);"), inputs);
    document.Buffer('D', Body("c = vec4(T(2).r + 1.0, T(1).r, T(0).b, 0.0);"), inputs);
    document.Pass("cubemap", "Cube A", CubeBody("c = texture(iChannel3, rd) + vec4(1.0);"), inputs);
    inputs[3].filter = "mipmap";
    document.Image(
        Body("float v[8] = float[8](T(0).r, T(0).g, T(0).b, T(1).g, T(2).r, T(2).g, T(2).b, T(0).a);"
             "float cube = textureLod(iChannel3, vec3(-1, 0.5, 0), 9.0).r;"
             "c = vec4(v[int(p.x) & 7], floor(p.y), cube, 255.0) / 255.0;"),
        inputs);
    stage_.Load(document).Start();
    for (int frame = 1; frame <= 4; ++frame) {
        const Picture picture = stage_.Frame();
        const int before = frame - 1;
        const int expected[8] = {frame, before, before, frame, frame, frame, before, before};
        for (int column = 0; column < 48; ++column) {
            ASSERT_EQ(picture.At(column, column), (Color{expected[column & 7], column, frame, 255}));
        }
    }
}

TEST_F(PassInputs, AllFacesOfCubeAStoreTheirRayDirection) {
    // Directions all around; an error of one level shows as 64.
    const std::string image =
        "vec3 d = normalize(vec3(sin(p.x * 0.1), p.y / 16.0 - 1.5, cos(p.x * 0.1)));"
        "vec4 seen = texture(iChannel0, d); c = vec4(abs(seen.rgb - (d * 0.5 + 0.5)) * 64.0, seen.a);";
    const std::string cube = "c = vec4(rd * 0.5 + 0.5, iResolution.x / 1024.0 - length(ro));";
    stage_.Load(DocumentBuilder()
                    .Pass("cubemap", "Cube A", CubeBody(cube))
                    .Image(Body(image), {{.ctype = "cubemap", .id = 41, .filter = "linear"}}));
    const Picture picture = stage_.Show();
    for (int i = 0; i < 64 * 48; ++i) {
        const auto [x, y, z, a] = picture.At(i % 64, i / 64);
        EXPECT_TRUE(x <= 64 && y <= 64 && z <= 64 && a == 255) << i % 64 << ", " << i / 64;
    }
}

TEST_F(PassInputs, ChannelsWithoutATextureReadBlackButHaveASize) {
    // The document has no Buffer C, and no medium for the volume.
    stage_.LoadImage(
        "float sum = texture(iChannel0, vec2(0.5)).g + texture(iChannel2, vec3(0.5)).g;"
        "c = vec4(iChannelResolution[int(p.x) & 3] / 255.0, sum);",
        {{.channel = 0, .id = 259}, {.channel = 2, .ctype = "volume"}, {.channel = 3, .ctype = "keyboard"}});
    stage_.renderer->document.passes[7].channelResolution[2] = ChannelSize{7, 8, 9};
    const Color expected[] = {{64, 48, 1, 0}, {0, 0, 0, 0}, {7, 8, 9, 0}, {255, 3, 1, 0}};
    const Picture picture = stage_.Show();
    for (int channel = 0; channel < 4; ++channel) {
        EXPECT_EQ(picture.At(channel, 0), expected[channel]);
    }
}

TEST_F(PassInputs, LiveTexturesAreUploadedWhenTheyChange) {
    stage_.LoadImage("c = T(0) + T(1);", {{.ctype = "keyboard"}, {.channel = 1, .ctype = "webcam"}}).Start();
    bool& keyboard = stage_.renderer->keyboard.mipmapsStale;
    bool& camera = stage_.renderer->webcam.mipmapsStale;
    int uploads = 0;
    for (int frame = 0; frame < 32; ++frame) {
        keyboard = camera = false;  // until the next upload
        stage_.Draw();
        EXPECT_FALSE(keyboard);
        uploads += camera;
    }
    EXPECT_EQ(uploads, 2) << "on every 16th frame";
    UnloadWebcam();
}

/// CTest runs it in a time zone other than UTC.
TEST_F(PassInputs, UniformsOfAFrame) {
    const std::string image =
        "vec4 v[5] = vec4[5](vec4(iResolution, iTime * 4.0),"
        "vec4(iTimeDelta * 4.0, iFrame, iSampleRate, iFrameRate < 0.0 ? 1.0 : 2.0),"
        "vec4(iDate.xyz - vec3(2000, 0, 0), 0.0), mod(floor(iDate.w / vec4(65536, 256, 1, 1)), 256.0),"
        "vec4(resolution.y, time * 4.0, iChannelTime[2], (iTime - 1048576.0) * 8.0));"
        "c = v[min(int(p.x), 4)] / 255.0;";
    const std::string common = "uniform vec3 resolution; uniform float time;";
    stage_.Load(DocumentBuilder().Common(common).Image(Body(image))).Start();
    stage_.renderer->startTick = GetTickCount64() - 50;
    SYSTEMTIME now = {};
    const auto clock = [&now] {
        GetLocalTime(&now);
        return (now.wHour * 60 + now.wMinute) * 60 + now.wSecond;
    };
    for (int frame = 1; frame <= 3; ++frame) {
        const int before = clock();
        const Picture picture = stage_.Frame(0.5F);
        EXPECT_EQ(picture.At(0, 5), (Color{64, 48, 1, 2 * frame}));
        // The counter goes -1, 0, 1; the rate of the first frame is negative.
        EXPECT_EQ(picture.At(1, 5), (Color{2, frame == 3 ? 1 : 0, 0, frame == 1 ? 1 : 2}));
        EXPECT_EQ(picture.At(2, 5), (Color{now.wYear - 2000, now.wMonth, now.wDay, 0}));
        const auto [high, middle, low, unused] = picture.At(3, 5);
        EXPECT_LE(before, high << 16 | middle << 8 | low);
        EXPECT_GE(clock(), high << 16 | middle << 8 | low);
        EXPECT_EQ(picture.At(4, 5), (Color{48, 2 * frame, 0, 0}));
    }
    stage_.renderer->exactTime = 1 << 20;  // after days, floats are 1/8 apart
    for (int frame = 1; frame < 16; ++frame) {
        stage_.Draw(1.0F / 64);
    }
    EXPECT_EQ(stage_.Frame(1.0F / 64).At(4, 5)[3], 2);
}

TEST(FrameRateUniform, IsSixtyUntilAMillisecondHasPassed) {
    EXPECT_EQ(FrameRateUniform(500, 0), 60.0F);
    EXPECT_EQ(FrameRateUniform(30, 2000), 15.0F);
    EXPECT_EQ(FrameRateUniform(2'000'000'000, 1'000'000'000), 2000.0F) << "no overflow after days";
}

TEST_F(PassInputs, AFileIsDecodedOnceForAllItsChannelsWithinTheMediaBudget) {
    ShaderDocument& document = stage_.renderer->document;
    const auto& channels = stage_.renderer->slots[7].channels;
    // Pictures of 4 x 3 pixels in three channels; the second is the other way round.
    const auto start = [&](std::uint64_t bytesInUse, const std::string& name = "rgba8.png") {
        const std::string file = PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
        std::vector<Input> inputs(3, {.ctype = "texture", .src = file});
        inputs[1] = {.channel = 1, .ctype = "texture", .src = file, .vflip = "false"};
        inputs[2].channel = 2;
        stage_.LoadImage("c = T(0) + T(1) + T(2);", inputs);
        document.origin = DocumentOrigin::LocalFile;
        InternetSession offline;
        LoadDocumentMedia(&offline, document);
        document.mediaBytes = bytesInUse;
        stage_.Start();
    };
    constexpr std::uint64_t kPictureBytes = 48;
    start(kMediaBudget - 2 * kPictureBytes);
    EXPECT_EQ(document.mediaBytes, kMediaBudget);
    EXPECT_FALSE(document.passes[7].inputs[0].medium->faces[0]) << "the pixels are kept";
    EXPECT_TRUE(channels[0].texture && channels[1].texture && channels[0].texture != channels[1].texture);
    EXPECT_EQ(channels[0].texture, channels[2].texture);
    start(kMediaBudget - kPictureBytes + 1);
    EXPECT_FALSE(channels[0].texture || channels[1].texture || channels[2].texture);
    const auto reason = EndsWith("rgba8.png: " + std::string(kBeyondBudget));
    EXPECT_THAT(TakeLines(), ElementsAre(reason, reason, reason));
    start(kMediaBudget - kPictureBytes);
    EXPECT_TRUE(channels[0].texture && !channels[1].texture && channels[2].texture);
    EXPECT_THAT(TakeLines(), ElementsAre(reason));
    start(5, "grey16.png");
    EXPECT_EQ(document.mediaBytes, 5u) << "a refused picture is counted";
    EXPECT_THAT(TakeLines(), testing::Each(EndsWith("16-bit pictures are not supported")));
}

TEST_F(RenderTarget, SamplesAreAveragedForTheHostAndForSamplers) {
    // Red is 1 in the first sample only, and green is their number, so averaged red is 255 / green.
    const std::string probe = "c = vec4(gl_SampleID == 0 ? 1 : 0, gl_NumSamples / 255.0, p.x / 255.0, 1);";
    SetSampleExponent(2);
    for (const int exponent : {-1, 30, 31, 32, 33, 1 << 30, -2147483647}) {
        SetSampleExponent(exponent);
        EXPECT_EQ(SampleExponent(), 2) << exponent << " is not supported";
    }
    const Color averaged = stage_.LoadImage(probe).Show().At(63, 7);
    ASSERT_GE(averaged[1], 4);
    EXPECT_NEAR(averaged[0], 255.0 / averaged[1], 1.0);
    stage_.Load(DocumentBuilder().Buffer('A', Body(probe)).Image(Body("c = T(0);"), {{}}));
    EXPECT_EQ(stage_.Show().At(63, 7), averaged);
    EXPECT_EQ(stage_.Frame().At(63, 0), averaged);
}

TEST_F(RenderTarget, ChannelsSampleOneTextureWithTheirOwnSettingsAndFreshMipmaps) {
    for (const int exponent : {0, 2}) {
        SetSampleExponent(exponent);
        // Left half: `far` lies past the right and the upper edge, a quarter into the third column if it
        // repeats; `near` lies between two texels: linear 9.5, nearest 10. Right half: the smallest mipmap,
        // whose mean is 31.5, 23.5 and the frame's number.
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
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{64, 80, 1, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{80, 80, 2, 36}));
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{97, 80, 3, 36}));
    stage_.window.SetClientSize(0, 0);
    EXPECT_EQ(stage_.Frame().At(79, 35), (Color{114, 80, 4, 36}));
}

TEST_F(RenderTarget, ARefusedTargetIsReportedOnceAndNothingIsDrawn) {
    stage_.Load(DocumentBuilder().Buffer('A', Body("c = vec4(1.0);")).Image(Body("c = vec4(1.0);")));
    SetResolution(*stage_.renderer, 16384, 16384);  // 4 GiB per target
    stage_.Start();
    EXPECT_EQ(stage_.Render(), 0);
    EXPECT_EQ(stage_.Render(), 0);
    const std::string error = "GL_OUT_OF_MEMORY: There is not enough memory left to execute the command.";
    const std::string named = "Pixelforge: cannot draw: the driver rejects the render target of Buffer A";
    EXPECT_EQ(TakeLines(), (std::vector{error, named, error})) << "only the driver repeats itself";
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
    }
    EXPECT_EQ(ReadFrameIntoBitmap(nullptr, PixelsOf(Picture(64, 48).Bitmap())), 0);
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
