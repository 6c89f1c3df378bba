// Documents whose inputs name files, compared with colours computed here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "tests/end_to_end/module_run.h"
#include "tests/end_to_end/temp_folder.h"

namespace pixelforge::test {
namespace {

std::string Picture(const std::string& name) {
    return PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
}

Input Medium(int channel, const std::string& ctype, const std::string& src) {
    return {.channel = channel, .ctype = ctype, .id = 1, .src = src};
}

/// 0xRRGGBB by column and row; row 0 is the top.
using ColourOf = std::function<int(int, int)>;

/// A 24-bit picture file; its width is a multiple of 4.
std::string Bmp(std::uint32_t width, std::uint32_t height, const ColourOf& colourOf) {
    const std::uint32_t header[13] = {54 + width * height * 3, 0, 54, 40, width, height, 24 << 16 | 1};
    std::string file = "BM" + std::string(reinterpret_cast<const char*>(header), sizeof(header));
    for (std::uint32_t y = height; y-- > 0;) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const int colour = colourOf(static_cast<int>(x), static_cast<int>(y));
            file.append(reinterpret_cast<const char*>(&colour), 3);
        }
    }
    return file;
}

/// 0xAARRGGBB of the pictures of 32, 24 and 8 bits, as make_pictures.py draws them.
std::uint32_t TexelOf(int picture, int x, int row) {
    const int colour = (20 + 40 * x) << 16 | (30 + 50 * row) << 8 | (200 - 30 * x - 20 * row);
    const int alpha = picture == 0 ? 255 - 40 * (x + row) : 255;
    const int grey = (10 + 40 * x + 15 * row) << 16;
    return static_cast<std::uint32_t>(alpha) << 24 | static_cast<std::uint32_t>(picture == 2 ? grey : colour);
}

TEST(Media, PicturesOfEachDepthShowTheirPixels) {
    // The pictures side by side; above them the first one upside down, then their alpha as grey.
    const std::string code = MainImage(
        "ivec2 at = ivec2(p) % ivec2(4, 3);\n"
        "c = p.x < 8.0 ? texelFetch(iChannel0, at, 0) : p.x < 16.0 ? texelFetch(iChannel1, at, 0)\n"
        "              : texelFetch(iChannel2, at, 0);\n"
        "if (p.y > 12.0) c = c.aaaa;\n"
        "else if (p.y > 6.0) c = texelFetch(iChannel3, at, 0);\n"
        "if (p.x > 24.0) c = vec4(iChannelResolution[2] / 255.0 + iChannelTime[2], 1);");
    for (const bool flip : {false, true}) {
        std::vector<Input> inputs = {
            Medium(0, "texture", Picture("rgba8.png")), Medium(1, "texture", Picture("rgb8.png")),
            Medium(2, "texture", Picture("grey8.png")), Medium(3, "texture", Picture("rgba8.png"))};
        for (Input& input : inputs) {
            input.vflip = flip == (input.channel < 3) ? "true" : "false";
        }
        ModuleRun run(DocumentBuilder().Image(code, inputs).Json());
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        for (int i = 0; i < 24 * 3; ++i) {
            const int x = i % 24;
            const int y = i / 24;
            const std::uint32_t texel = TexelOf(x / 8, x % 4, flip ? 2 - y : y);
            EXPECT_EQ(run.Pixel(x, y), texel & 0xFFFFFF) << x << ", " << y << ", flip " << flip;
            EXPECT_EQ(run.Pixel(x, y + 6), TexelOf(0, x % 4, flip ? y : 2 - y) & 0xFFFFFF) << x << ", " << y;
            EXPECT_EQ(run.Pixel(x, y + 12), (texel >> 24) * 0x010101) << x << ", " << y;
        }
        EXPECT_EQ(run.Pixel(25, 5), 0x040301u);
        EXPECT_EQ(run.Words(), "");
    }
}

/// The rows of the second picture follow each other without padding, but are read with it.
TEST(Media, TallPicturesTurnOverAndPaddedRowsAreSkipped) {
    constexpr int kRows = 70;
    const TempFolder folder;
    const auto row = [](int, int y) { return 0x010203 * y; };
    ModuleRun run(DocumentBuilder()
                      .Image(MainImage("c = p.x < 4.0 ? texelFetch(iChannel0, ivec2(0, int(p.y) * 3), 0)\n"
                                       "    : texelFetch(iChannel1, ivec2(p) % ivec2(4, 3), 0);"),
                             {Medium(0, "texture", folder.Write("tall.bmp", Bmp(4, kRows, row))),
                              {.channel = 1,
                               .ctype = "texture",
                               .id = 0,
                               .src = Picture("sheared_rgb8.png"),
                               .vflip = "false"}})
                      .Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (int y = 0; y < kRows / 3; ++y) {
        EXPECT_EQ(run.Pixel(0, y), static_cast<unsigned>(0x010203 * (kRows - 1 - 3 * y))) << y;
    }
    for (int i = 0; i < 9; ++i) {
        const int at = i / 3 * 4 + i % 3;
        const std::uint32_t expected = at < 9 ? TexelOf(1, at % 3, at / 3) & 0xFFFFFF : 0;
        EXPECT_EQ(run.Pixel(4 + i % 3, i / 3), expected) << i;
    }
}

int Level(int x, int) {
    return 10 + 60 * x;
}

/// The sample at a coordinate in one row of four levels.
double Sampled(double s, bool repeat, bool linear) {
    const auto texel = [repeat](double at) {
        const int x = static_cast<int>(std::floor(at));
        return Level(repeat ? (x % 4 + 4) % 4 : std::clamp(x, 0, 3), 0);
    };
    const double left = s * 4 - 0.5;
    const double part = left - std::floor(left);
    return linear ? texel(left) * (1 - part) + texel(left + 1) * part : texel(s * 4);
}

TEST(Media, EveryWrapAndFilterTakesEffect) {
    const TempFolder folder;
    const std::string row = folder.Write("row.bmp", Bmp(4, 1, Level));
    // From -1 to 3 over the width; magnified, so that mipmap filters linearly. On top the smallest mipmap.
    const std::string code = MainImage(
        "vec2 at = vec2(p.x / 8.0 - 1.0, 0.5);\n"
        "c = p.y < 6.0 ? textureLod(iChannel0, at, 0.0) : p.y < 12.0 ? textureLod(iChannel1, at, 0.0)\n"
        "              : textureLod(iChannel2, at, p.y < 18.0 ? 0.0 : 8.0);");
    for (const bool repeat : {false, true}) {
        std::vector<Input> inputs;
        for (const char* filter : {"nearest", "linear", "mipmap"}) {
            Input& input = inputs.emplace_back(Medium(static_cast<int>(inputs.size()), "texture", row));
            input.filter = filter;
            input.wrap = repeat ? "repeat" : "clamp";
        }
        ModuleRun run(DocumentBuilder().Image(code, inputs).Json());
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        for (int x = 0; x < 32; ++x) {
            const double s = (x + 0.5) / 8 - 1;
            for (int filter = 0; filter < 3; ++filter) {
                EXPECT_NEAR(run.Pixel(x, 3 + 6 * filter), Sampled(s, repeat, filter > 0), 1.5)
                    << "filter " << filter << ", repeat " << repeat << ", column " << x;
            }
            EXPECT_NEAR(run.Pixel(x, 20), 100, 1.5) << "the mean";
        }
    }
}

/// The quarters of a face differ, so that rotated or mirrored faces are detected.
int FaceColour(int face, bool right, bool lower) {
    return 0x201030 + face * 0x200000 + (right ? 0x006000 : 0) + (lower ? 0x000090 : 0);
}

/// Two by two positions of each face, as seen from the cube's centre.
const std::string kSixViews = MainImage(
    "const vec3 ahead[6] = vec3[](vec3(1,0,0), vec3(-1,0,0), vec3(0,1,0), vec3(0,-1,0), vec3(0,0,1), "
    "vec3(0,0,-1));\n"
    "const vec3 right[6] = vec3[](vec3(0,0,-1), vec3(0,0,1), vec3(1,0,0), vec3(1,0,0), vec3(1,0,0), "
    "vec3(-1,0,0));\n"
    "const vec3 up[6] = vec3[](vec3(0,1,0), vec3(0,1,0), vec3(0,0,-1), vec3(0,0,1), vec3(0,1,0), "
    "vec3(0,1,0));\n"
    "ivec2 at = ivec2(p); int face = at.x / 2 % 6; vec2 place = vec2(at.x % 2, at.y % 2) - 0.5;\n"
    "c = texture(iChannel0, ahead[face] + place.x * right[face] + place.y * up[face]);\n"
    "if (p.y > 8.0) c = vec4(iChannelResolution[0] / 255.0, 1);");

void ExpectSixFaces(const std::string& file, int side) {
    ModuleRun run(DocumentBuilder().Image(kSixViews, {Medium(0, "cubemap", file)}).Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (int i = 0; i < 24; ++i) {
        const int expected = FaceColour(i / 2 % 6, i % 2 == 1, i < 12);
        const auto seen = static_cast<int>(run.Pixel(i % 12, i / 12));
        for (int shift = 0; shift < 24; shift += 8) {
            EXPECT_NEAR(seen >> shift & 0xFF, expected >> shift & 0xFF, 2) << file << ": " << i;
        }
    }
    EXPECT_EQ(run.Pixel(3, 20), static_cast<std::uint32_t>(side << 16 | side << 8 | 1));
    EXPECT_EQ(run.Words(), "");
}

TEST(Media, CubeMapsOfSixFilesAndOfOneCrossAreUpright) {
    const TempFolder folder;
    const auto write = [&folder](int face) {
        const auto colourOf = [face](int x, int y) { return FaceColour(face, x >= 8, y >= 8); };
        return folder.Write(face == 0 ? "sky.bmp" : "sky_" + std::to_string(face) + ".bmp",
                            Bmp(16, 16, colourOf));
    };
    for (int face = 5; face > 0; --face) {
        write(face);
    }
    ExpectSixFaces(write(0), 16);
    const auto cross = [](int x, int y) {
        constexpr int kFaces[3][4] = {{-1, 2, -1, -1}, {1, 4, 0, 5}, {-1, 3, -1, -1}};
        const int column = (x - 6 + 20) / 20 - 1;
        const int row = (y - 5 + 20) / 20 - 1;
        const bool inside = column >= 0 && column < 4 && row >= 0 && row < 3 && kFaces[row][column] >= 0;
        return inside ? FaceColour(kFaces[row][column], (x - 6) % 20 >= 10, (y - 5) % 20 >= 10) : 0xFFFFFF;
    };
    ExpectSixFaces(folder.Write("cross.bmp", Bmp(92, 70, cross)), 20);
}

/// 3 x 2 x 2 voxels; the bytes count up from 20 in steps of 3.
std::string Volume(char channels, int bytes) {
    std::string file("BIN\1\3\0\0\0\2\0\0\0\2\0\0\0\0\7\7\7", 20);
    file[16] = channels;
    for (int i = 0; i < bytes; ++i) {
        file += static_cast<char>(20 + 3 * i);
    }
    return file;
}

TEST(Media, VolumesOfEachChannelCountShowOneValuePerVoxel) {
    const TempFolder folder;
    ModuleRun run(DocumentBuilder()
                      .Image(MainImage("ivec3 at = ivec3(int(p.x) % 3, int(p.y) % 2, int(p.x) / 3 % 2);\n"
                                       "c = p.y < 2.0 ? texelFetch(iChannel0, at, 0) : p.y < 4.0\n"
                                       "    ? texelFetch(iChannel1, at, 0) : texelFetch(iChannel2, at, 0);\n"
                                       "if (p.x > 8.0) c = vec4(iChannelResolution[1] / 255.0, 1);"),
                             {Medium(0, "volume", folder.Write("1.bin", Volume(1, 12))),
                              Medium(1, "volume", folder.Write("2.bin", Volume(2, 24))),
                              Medium(2, "volume", folder.Write("4.bin", Volume(4, 12)))})
                      .Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (int i = 0; i < 12; ++i) {
        const int x = i % 3 + i / 6 * 3;
        const int y = i / 3 % 2;
        const auto low = static_cast<unsigned>(20 + 6 * i);
        EXPECT_EQ(run.Pixel(x, y), static_cast<unsigned>(20 + 3 * i) << 16) << i;
        EXPECT_NEAR(run.Pixel(x, y + 2) >> 16, (low + 256 * (low + 3)) / 257.0, 0.6) << "16 bits, " << i;
        EXPECT_EQ(run.Pixel(x, y + 4), run.Pixel(x, y)) << "four channels, one byte per voxel, " << i;
    }
    EXPECT_EQ(run.Pixel(9, 9), 0x030202u);
}

TEST(Media, UnusableMediaAreReportedOnceAndTheShaderRuns) {
    const TempFolder folder;
    const auto grey = [](int, int) { return 0x808080; };
    for (int face = 1; face < 6; ++face) {
        folder.Write("odd_" + std::to_string(face) + ".bmp", Bmp(face == 5 ? 8 : 4, face == 5 ? 8 : 4, grey));
        folder.Write("bad_" + std::to_string(face) + ".bmp", face == 3 ? "" : Bmp(4, 4, grey));
        folder.Write("gap_" + std::to_string(face == 3 ? 6 : face) + ".bmp", Bmp(4, 4, grey));
    }
    const struct {
        Input input;
        std::string words;
    } cases[] = {
        {Medium(0, "texture", folder.Write("empty.png", "")), "empty.png: not a picture"},
        {Medium(0, "texture", Picture("grey16.png")), "grey16.png: 16-bit pictures"},
        {Medium(0, "texture", Picture("grey1.png")), "grey1.png: 1-bit pictures"},
        {Medium(0, "texture", "no-such-file.png"), "no-such-file.png: no such file"},
        {Medium(0, "texture", "NUL"), "NUL: it names no file that this document may use"},
        {Medium(0, "texture", "a\x1B[31m"), "a?[31m: it names no file"},
        {Medium(0, "cubemap", Picture("rgb8.png")), "rgb8.png: no cross"},
        {Medium(0, "cubemap", folder.Write("odd.bmp", Bmp(4, 4, grey))), "odd.bmp: its six faces"},
        {Medium(0, "cubemap", folder.Write("gap.bmp", Bmp(4, 4, grey))), "gap.bmp: its six faces"},
        {Medium(0, "cubemap", folder.Write("bad.bmp", Bmp(4, 4, grey))), "bad.bmp: face 3: not a picture"},
        {Medium(0, "volume", Picture("rgb8.png")), "rgb8.png: not a volume"},
        {Medium(0, "volume", folder.Write("lie.bin", Volume(2, 23))), "lie.bin: "},
    };
    for (const auto& [input, words] : cases) {
        const std::string at = input.ctype == "texture" ? "vec2(0.5)" : "vec3(0.5)";
        ModuleRun run(DocumentBuilder()
                          .Image(MainImage("c = vec4(texture(iChannel0, " + at +
                                           ").rgb + iChannelResolution[0], 1) + 0.2;"),
                                 {input})
                          .Json());
        EXPECT_EQ(run.Frames(3), FrameResult::Drawn);
        EXPECT_EQ(run.Pixel(5, 5), 0x333333u) << words;
        const std::string output = run.Words();
        EXPECT_EQ(output.find("Pixelforge: Image, iChannel0 stays empty: "), 0u) << output;
        EXPECT_NE(output.find(words), output.npos) << output;
        EXPECT_EQ(std::ranges::count(output, '\n'), 1) << output;
    }
}

}  // namespace
}  // namespace pixelforge::test
