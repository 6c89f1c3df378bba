// Pictures, cube maps and volumes as shaders see them.
#include <windows.h>

#include <GL/glew.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "base/bitmap.h"
#include "library/volume_file.h"
#include "render/channel_textures.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

/// Column, row and byte of a section, the top row first.
using ByteOf = std::function<int(int, int, int)>;

UniqueBitmap DrawBitmap(int width, int height, int bits, const ByteOf& byteOf) {
    UniqueBitmap bitmap = CreatePictureBitmap(width, height, bits);
    const SectionPixels pixels = PixelsOf(bitmap.Get());
    const auto stride = static_cast<int>(SectionRowBytes(width, bits));
    std::fill(pixels.bytes.begin(), pixels.bytes.end(), std::uint8_t{0xEE});
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * bits / 8; ++i) {
            const int value = byteOf(i / (bits / 8), y, i % (bits / 8));
            pixels.bytes[static_cast<std::size_t>(y * stride + i)] = static_cast<std::uint8_t>(value);
        }
    }
    return bitmap;
}

int SomeByte(int x, int y, int i) {
    return 10 + 40 * x + 15 * y + 3 * i;
}

class MediaTextureTest : public testing::Test {
protected:
    /// An Image pass with this body, whose channel 1 has the given type and sampler.
    PassInput& Prepare(ChannelType type, const std::string& body, std::uint32_t filter = kFilterNearest,
                       std::uint32_t wrap = kWrapClamp) {
        stage_.Clear().Body(PassKind::Image, body, {{1, type, PassKind::Other, filter, wrap}});
        return stage_.Renderer().document.passes[7].inputs[1];
    }

    Picture Show() {
        EXPECT_TRUE(stage_.Build()) << stage_.Reason();
        return stage_.Frame();
    }

    ~MediaTextureTest() override { EXPECT_EQ(output_.Take(), std::vector<std::string>()); }

    HiddenTestWindow window_{64, 48};
    Stage stage_{window_.Get()};
    DebugOutput output_;
};

const char kEveryTexel[] =
    "ivec2 at = min(ivec2(p), textureSize(iChannel1, 0) - 1);"
    "c = texelFetch(iChannel1, at, 0);";

TEST_F(MediaTextureTest, PicturesKeepTheirRowsUnlessFlipped) {
    for (const int bits : {32, 24, 8}) {
        for (const bool flip : {false, true}) {
            PassInput& input = Prepare(ChannelType::Texture, kEveryTexel);
            input.faces[0] = DrawBitmap(5, 3, bits, SomeByte);
            input.sampler.vflip = flip;
            const Picture picture = Show();
            for (int i = 0; i < 15; ++i) {
                const int x = i % 5;
                const int y = flip ? 2 - i / 5 : i / 5;
                const int blue = SomeByte(x, y, 0);
                const Color expected = bits == 8
                                           ? Color{blue, 0, 0, 255}
                                           : Color{blue + 6, blue + 3, blue, bits == 32 ? blue + 9 : 255};
                EXPECT_EQ(picture.At(x, i / 5), expected)
                    << bits << " bits, flip " << flip << ", texel " << i;
            }
        }
    }
}

/// One row of four texels: what a sampler of the given settings finds at a coordinate.
double Sampled(double s, std::uint32_t filter, std::uint32_t wrap) {
    const auto texel = [wrap](int x) {
        x = wrap == kWrapRepeat ? (x % 4 + 4) % 4 : std::clamp(x, 0, 3);
        return SomeByte(x, 0, 0);
    };
    if (filter == kFilterNearest) {
        return texel(static_cast<int>(std::floor(s * 4)));
    }
    const double at = s * 4 - 0.5;
    const double part = at - std::floor(at);
    const int left = static_cast<int>(std::floor(at));
    return texel(left) * (1 - part) + texel(left + 1) * part;
}

TEST_F(MediaTextureTest, EveryWrapAndFilterShows) {
    for (const std::uint32_t wrap : {kWrapClamp, kWrapRepeat}) {
        for (const std::uint32_t filter : {kFilterNearest, kFilterLinear, kFilterMipmap}) {
            // From -1 to 3 over the width; magnified, so that mipmaps count like linear.
            Prepare(ChannelType::Texture, "c = textureLod(iChannel1, vec2(p.x / 16.0 - 1.0, 0.5), 0.0);",
                    filter, wrap)
                .faces[0] = DrawBitmap(4, 1, 8, SomeByte);
            const Picture picture = Show();
            for (int x = 0; x < 64; ++x) {
                const double expected = Sampled((x + 0.5) / 16.0 - 1.0, filter, wrap);
                EXPECT_NEAR(picture.At(x, 20).r, expected, 1.5) << filter << " " << wrap << ", column " << x;
            }
        }
    }
}

TEST_F(MediaTextureTest, MipmapsAreMadeOnce) {
    Prepare(ChannelType::Texture, "c = textureLod(iChannel1, vec2(0.5), 8.0);", kFilterMipmap).faces[0] =
        DrawBitmap(4, 4, 8, [](int x, int y, int) { return 60 + 20 * x + 8 * y; });
    EXPECT_NEAR(Show().At(5, 5).r, 102, 1);
    const std::uint8_t mark = 7;
    glBindTexture(GL_TEXTURE_2D, stage_.Renderer().slots[7].channels[1].texture.Get());
    glTexSubImage2D(GL_TEXTURE_2D, 2, 0, 0, 1, 1, GL_RED, GL_UNSIGNED_BYTE, &mark);
    EXPECT_EQ(stage_.Frame().At(5, 5).r, 7);
}

/// What someone at the cube's centre sees: the face ahead, and where its right and upper edge lie.
constexpr struct {
    const char* ahead;
    const char* right;
    const char* up;
} kViews[6] = {{"1,0,0", "0,0,-1", "0,1,0"}, {"-1,0,0", "0,0,1", "0,1,0"}, {"0,1,0", "1,0,0", "0,0,-1"},
               {"0,-1,0", "1,0,0", "0,0,1"}, {"0,0,1", "1,0,0", "0,1,0"},  {"0,0,-1", "-1,0,0", "0,1,0"}};

/// Six views side by side, 10 pixels square each.
std::string SixViews() {
    std::string body = "vec2 at = mod(p, 10.0) / 5.0 - 1.0; int face = int(p.x) / 10; c = vec4(0);";
    for (int face = 0; face < 6; ++face) {
        const auto& view = kViews[face];
        body += "if (face == " + std::to_string(face) + ") c = texture(iChannel1, vec3(" + view.ahead +
                ") + at.x * vec3(" + view.right + ") + at.y * vec3(" + view.up + "));";
    }
    return body;
}

TEST_F(MediaTextureTest, CubeFacesStandUprightAhead) {
    for (const int bits : {32, 24, 8}) {
        PassInput& input = Prepare(ChannelType::CubeMap, SixViews(), kFilterNearest);
        input.sampler.vflip = 1;
        const auto byteOf = [](int face) {
            return [face](int x, int y, int i) { return 20 * face + 10 * x + 7 * y + i; };
        };
        for (int face = 0; face < 6; ++face) {
            input.faces[face] = DrawBitmap(10, 10, bits, byteOf(face));
        }
        const Picture picture = Show();
        for (int i = 0; i < 600; ++i) {
            const int x = i % 60;
            const int y = i / 60;
            EXPECT_EQ(picture.At(x, y).r, byteOf(x / 10)(x % 10, 9 - y, bits == 8 ? 0 : 2))
                << bits << " bits: " << x << ", " << y;
        }
    }
}

std::string VolumeBytes(int width, int height, int depth, int channels, std::size_t voxelBytes) {
    std::string file = "BIN\x01";
    for (const int side : {width, height, depth}) {
        file += {static_cast<char>(side), static_cast<char>(side >> 8), static_cast<char>(side >> 16),
                 static_cast<char>(side >> 24)};
    }
    file += {static_cast<char>(channels), 9, 9, 9};
    for (std::size_t i = 0; i < voxelBytes; ++i) {
        file += static_cast<char>(3 * i + 20);
    }
    return file;
}

void SetVolume(PassInput& input, const std::string& file) {
    input.volume.reset(static_cast<std::uint8_t*>(AllocateHeapBlock(file.size())));
    std::copy(file.begin(), file.end(), input.volume.get());
    input.volumeBytes = static_cast<std::uint32_t>(file.size());
}

TEST_F(MediaTextureTest, VolumesShowOneValueAVoxel) {
    // Slices of 3 x 5 voxels stand side by side.
    const char* body =
        "ivec3 at = ivec3(int(p.x) % 3, int(p.y), int(p.x) / 3);"
        "c = texelFetch(iChannel1, min(at, textureSize(iChannel1, 0) - 1), 0);";
    for (const int channels : {1, 2, 4}) {
        PassInput& input = Prepare(ChannelType::Volume, body);
        input.sampler.vflip = 1;
        const int bytes = channels == 2 ? 2 : 1;
        SetVolume(input, VolumeBytes(3, 5, 2, channels, static_cast<std::size_t>(30 * bytes)));
        const Picture picture = Show();
        for (int i = 0; i < 30; ++i) {
            const int x = i % 3 + i / 15 * 3;
            const int low = 3 * i * bytes + 20;
            const double expected = bytes == 1 ? low : (low + 256 * (low + 3)) / 257.0;
            EXPECT_NEAR(picture.At(x, i / 3 % 5).r, expected, bytes == 1 ? 0.0 : 0.6)
                << channels << ": " << i;
            EXPECT_EQ(picture.At(x, i / 3 % 5).g, 0);
            EXPECT_EQ(picture.At(x, i / 3 % 5).a, 255);
        }
    }
}

TEST_F(MediaTextureTest, RefusedMediaLeaveTheChannelUnbound) {
    const auto square = [](int width, int bits) {
        return [width, bits](PassInput& input) { input.faces[0] = DrawBitmap(width, 2, bits, SomeByte); };
    };
    const auto cube = [](int lastWidth, int lastBits) {
        return [lastWidth, lastBits](PassInput& input) {
            for (int face = 0; face < 5; ++face) {
                input.faces[face] = DrawBitmap(2, 2, 24, SomeByte);
            }
            input.faces[5] = DrawBitmap(lastWidth, 2, lastBits, SomeByte);
        };
    };
    const auto volume = [](const std::string& file) {
        return [file](PassInput& input) { SetVolume(input, file); };
    };
    const struct {
        ChannelType type;
        std::function<void(PassInput&)> fill;
    } cases[] = {
        {ChannelType::Texture, square(3, 16)},
        {ChannelType::CubeMap, square(2, 24)},
        {ChannelType::CubeMap, cube(3, 24)},
        {ChannelType::CubeMap, cube(2, 32)},
        {ChannelType::Volume, volume("BIN")},
        {ChannelType::Volume, volume(VolumeBytes(2, 2, 2, 1, 7))},
        {ChannelType::Volume, volume(VolumeBytes(2, 2, 2, 2, 15))},
        {ChannelType::Volume, volume(VolumeBytes(2, 2, 2, 3, 99))},
        {ChannelType::Volume, volume(VolumeBytes(2, 0, 2, 1, 99))},
        {ChannelType::Volume, volume(VolumeBytes(0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 1, 99))},
        {ChannelType::Volume, volume(VolumeBytes(1, 1, 100000, 1, 100000))},
    };
    for (const auto& each : cases) {
        const std::string at = each.type == ChannelType::Texture ? "vec2(0.5)" : "vec3(0.5)";
        PassInput& input = Prepare(each.type, "c = texture(iChannel1, " + at + ");", kFilterMipmap);
        each.fill(input);
        CopyCut(input.src, L"wood.png");
        EXPECT_EQ(Show().At(9, 9), (Color{0, 0, 0, 255}));
        const std::vector<std::string> lines = output_.Take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].find("Pixelforge: Image, iChannel1 stays empty: wood.png: "), 0u) << lines[0];
        EXPECT_FALSE(CreateChannelTexture(stage_.Renderer(), 7, 1));
        output_.Take();
    }
}

}  // namespace
}  // namespace pixelforge::test
