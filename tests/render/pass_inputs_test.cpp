// What a pass reads: other passes, Cube A, live textures, files, and the uniforms of a frame.
#include <gmock/gmock.h>

#include "inputs/webcam_capture.h"
#include "media/document_media.h"
#include "media/image_decoder.h"
#include "service/http_get.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using PassOrder = StageTest;

TEST_F(PassOrder, EarlierPassesShowThisFrameAndLaterOnesThePrevious) {
    const Input a0;
    const Input b1 = {.channel = 1, .id = 258};
    const Input d2 = {.channel = 2, .id = 260};
    const Input cube3 = {.channel = 3, .ctype = "cubemap", .id = 41};
    const Input mipmapped3 = {.channel = 3, .ctype = "cubemap", .id = 41, .filter = "mipmap"};
    // Red counts the pass's frames; the other components show what it read from other passes.
    stage_
        .Load(
            DocumentBuilder()
                .Buffer('A',
                        Body("c = vec4(T(0).r + 1.0, T(1).r, T(2).r, texture(iChannel3, vec3(0, 0, 1)).r);"),
                        {a0, b1, d2, cube3})
                .Buffer('B', Body("c = vec4(T(1).r + 1.0, T(0).r, 0.0, 0.0);"), {a0, b1})
                .Buffer('D', Body("c = vec4(T(2).r + 1.0, T(1).r, T(0).b, 0.0);"), {a0, b1, d2})
                .Pass("cubemap", "Cube A", CubeBody("c = texture(iChannel3, rd) + vec4(1.0);"), {cube3})
                .Image(Body("float v[8] = float[8](T(0).r, T(0).g, T(0).b, T(1).g, T(2).r, T(2).g, T(2).b, "
                            "T(0).a);"
                            "float cube = textureLod(iChannel3, vec3(-1, 0.5, 0), 9.0).r;"
                            "c = vec4(v[int(p.x) & 7], floor(p.y), cube, 255.0) / 255.0;"),
                       {a0, b1, d2, mipmapped3}))
        .Start();
    for (int frame = 1; frame <= 4; ++frame) {
        const Picture picture = stage_.Frame();
        const int before = frame - 1;
        const int expected[8] = {frame, before, before, frame, frame, frame, before, before};
        for (int column = 0; column < 48; ++column) {
            ASSERT_EQ(picture.At(column, column), (Color{expected[column & 7], column, frame, 255}));
        }
    }
}

TEST_F(PassOrder, AllFacesOfCubeAStoreTheirRayDirection) {
    // Directions all around; an error of one level shows as 64.
    stage_.Load(DocumentBuilder()
                    .Pass("cubemap", "Cube A",
                          CubeBody("c = vec4(rd * 0.5 + 0.5, iResolution.x / 1024.0 - length(ro));"))
                    .Image(Body("float turn = 6.28318530718 * p.x / 64.0; float rise = 3.14159265359 * (p.y "
                                "/ 48.0 - 0.5);\n"
                                "vec3 d = vec3(cos(turn) * cos(rise), sin(rise), sin(turn) * cos(rise));\n"
                                "vec4 seen = texture(iChannel0, d);\n"
                                "c = vec4(abs(seen.rgb - (d * 0.5 + 0.5)) * 64.0, seen.a);"),
                           {{.channel = 0, .ctype = "cubemap", .id = 41, .filter = "linear"}}));
    const Picture picture = stage_.Show();
    for (int i = 0; i < 64 * 48; ++i) {
        const auto [x, y, z, a] = picture.At(i % 64, i / 64);
        EXPECT_TRUE(x <= 64 && y <= 64 && z <= 64 && a == 255) << i % 64 << ", " << i / 64;
    }
}

TEST_F(PassOrder, ChannelsWithoutATextureReadBlackButHaveASize) {
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

TEST_F(PassOrder, LiveTexturesAreUploadedWhenTheyChange) {
    stage_.LoadImage("c = T(0) + T(1);", {{.ctype = "keyboard"}, {.channel = 1, .ctype = "webcam"}}).Start();
    LiveTexture* const live[] = {&stage_.renderer->keyboard, &stage_.renderer->webcam};
    for (int i = 0; i < 2; ++i) {
        int uploads = 0;
        for (int frame = 0; frame < 32; ++frame) {
            live[i]->mipmapsStale = false;  // until the next upload
            stage_.Draw();
            uploads += live[i]->mipmapsStale;
        }
        EXPECT_EQ(uploads, i == 0 ? 0 : 2) << "of the camera, on every 16th frame";
        GLint format = 0;
        glBindTexture(GL_TEXTURE_2D, live[i]->texture.Get());
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
        EXPECT_EQ(format, i == 0 ? GL_R8_SNORM : GL_RGBA);
    }
    UnloadWebcam();
}

/// CTest runs it in a time zone other than UTC.
TEST_F(PassOrder, UniformsOfAFrame) {
    stage_
        .Load(DocumentBuilder()
                  .Common("uniform vec3 resolution; uniform float time;")
                  .Image(Body("vec4 v[5] = vec4[5](vec4(iResolution, iTime * 4.0),\n"
                              "vec4(iTimeDelta * 4.0, iFrame, iSampleRate, iFrameRate < 0.0 ? 1.0 : 2.0),\n"
                              "vec4(iDate.xyz - vec3(2000, 0, 0), 0.0), mod(floor(iDate.w / vec4(65536, "
                              "256, 1, 1)), 256.0),\n"
                              "vec4(resolution.y, time * 4.0, iChannelTime[2], (iTime - 1048576.0) * 8.0));\n"
                              "c = v[min(int(p.x), 4)] / 255.0;")))
        .Start();
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

/// Pictures of 4 x 3 pixels in three channels; the second is the other way round.
class MediaTextures : public StageTest {
protected:
    void Start(std::uint64_t bytesInUse, const std::string& name = "rgba8.png") {
        const std::string file = PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
        std::vector<Input> inputs(3, {.ctype = "texture", .src = file});
        inputs[1] = {.channel = 1, .ctype = "texture", .src = file, .vflip = "false"};
        inputs[2].channel = 2;
        stage_.LoadImage("c = T(0) + T(1) + T(2);", inputs);
        document_.origin = DocumentOrigin::LocalFile;
        InternetSession offline;
        LoadDocumentMedia(&offline, document_);
        document_.mediaBytes = bytesInUse;
        stage_.Start();
    }

    ShaderDocument& document_ = stage_.renderer->document;
    ChannelSlot (&channels_)[kChannels] = stage_.renderer->slots[7].channels;
};

TEST_F(MediaTextures, AFileIsDecodedOnceForAllItsChannelsWithinTheBudget) {
    constexpr std::uint64_t kPictureBytes = 48;
    Start(kMediaBudget - 2 * kPictureBytes);
    EXPECT_EQ(document_.mediaBytes, kMediaBudget);
    EXPECT_FALSE(document_.passes[7].inputs[0].medium->faces[0]) << "the pixels are kept";
    EXPECT_TRUE(channels_[0].texture && channels_[1].texture && channels_[0].texture != channels_[1].texture);
    EXPECT_EQ(channels_[0].texture, channels_[2].texture);
    Start(kMediaBudget - kPictureBytes + 1);
    EXPECT_FALSE(channels_[0].texture || channels_[1].texture || channels_[2].texture);
    const auto reason = EndsWith("rgba8.png: " + std::string(kBeyondBudget));
    EXPECT_THAT(TakeLines(), ElementsAre(reason, reason, reason));
    Start(kMediaBudget - kPictureBytes);
    EXPECT_TRUE(channels_[0].texture && !channels_[1].texture && channels_[2].texture);
    EXPECT_THAT(TakeLines(), ElementsAre(reason));
    Start(5, "grey16.png");
    EXPECT_EQ(document_.mediaBytes, 5u) << "a refused picture is counted";
    EXPECT_THAT(TakeLines(), testing::Each(EndsWith("16-bit pictures are not supported")));
}

}  // namespace
}  // namespace pixelforge::test
