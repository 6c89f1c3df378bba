// Documents whose inputs name files, against colours computed here.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "base/text.h"
#include "tests/end_to_end/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

std::string Utf8(const std::wstring& path) {
    return Narrow(path, TextEncoding::Utf8).value();
}

std::string Picture(const std::string& name) {
    return PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
}

Input Medium(const std::string& ctype, const std::string& src, const std::string& vflip = "false") {
    return {.channel = 0, .ctype = ctype, .id = 1, .src = src, .vflip = vflip};
}

/// 0xRRGGBB by column and row from above.
using ColourOf = std::function<std::uint32_t(int, int)>;

/// A 24-bit picture file; its width is a multiple of 4.
std::string Bmp(std::uint32_t width, std::uint32_t height, const ColourOf& colourOf) {
    const std::uint32_t header[13] = {54 + width * height * 3, 0, 54, 40, width, height, 24 << 16 | 1};
    std::string file = "BM" + std::string(reinterpret_cast<const char*>(header), sizeof(header));
    for (std::uint32_t y = height; y-- > 0;) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const std::uint32_t colour = colourOf(static_cast<int>(x), static_cast<int>(y));
            file.append(reinterpret_cast<const char*>(&colour), 3);
        }
    }
    return file;
}

/// Quarters of a face differ, so that a turned or mirrored face shows.
std::uint32_t FaceColour(int face, bool right, bool lower) {
    return static_cast<std::uint32_t>(0x201030 + face * 0x200000 + (right ? 0x006000 : 0) +
                                      (lower ? 0x000090 : 0));
}

TEST(Media, APictureShowsItsPixelsAndItsSize) {
    for (const bool flip : {false, true}) {
        const Input input = Medium("texture", Picture("rgb8.png"), flip ? "true" : "false");
        ModuleRun run(DocumentBuilder()
                          .Image(MainImage("c = texelFetch(iChannel0, ivec2(p) % ivec2(4, 3), 0);\n"
                                           "if (p.x > 8.0) c = vec4(iChannelResolution[0] / 255.0, 1);\n"
                                           "if (p.x > 16.0) c = vec4(iChannelTime[0] + 0.2);"),
                                 {input})
                          .Json());
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 4; ++x) {
                const int row = flip ? 2 - y : y;
                const int expected = (20 + 40 * x) << 16 | (30 + 50 * row) << 8 | (200 - 30 * x - 20 * row);
                EXPECT_EQ(run.Pixel(x, y), static_cast<std::uint32_t>(expected)) << x << ", " << y;
            }
        }
        EXPECT_EQ(run.Pixel(10, 5), 0x040301u);
        EXPECT_EQ(run.Pixel(20, 5), 0x333333u);
        EXPECT_EQ(run.Words(), "");
    }
}

/// Two by two places of each face, as someone at the cube's centre sees them.
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
    ModuleRun run(DocumentBuilder().Image(kSixViews, {Medium("cubemap", file, "true")}).Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (int i = 0; i < 24; ++i) {
        const std::uint32_t expected = FaceColour(i / 2 % 6, i % 2 == 1, i < 12);
        for (int shift = 0; shift < 24; shift += 8) {
            EXPECT_NEAR(static_cast<int>(run.Pixel(i % 12, i / 12) >> shift & 0xFF),
                        static_cast<int>(expected >> shift & 0xFF), 2)
                << file << ": " << i;
        }
    }
    EXPECT_EQ(run.Pixel(3, 20), static_cast<std::uint32_t>(side << 16 | side << 8 | 1));
    EXPECT_EQ(run.Words(), "");
}

TEST(Media, ACubeMapOfSixFilesStandsUpright) {
    const auto face = [](int number) {
        return Bmp(16, 16, [number](int x, int y) { return FaceColour(number, x >= 8, y >= 8); });
    };
    const TempFile first(face(0), L".bmp");
    const std::wstring stem = first.Path().substr(0, first.Path().size() - 4);
    std::vector<std::filesystem::path> others;
    for (int number = 1; number < 6; ++number) {
        others.emplace_back(stem + L"_" + std::to_wstring(number) + L".bmp");
        const std::string content = face(number);
        std::ofstream(others.back(), std::ios::binary)
            .write(content.data(), static_cast<std::streamsize>(content.size()));
    }
    ExpectSixFaces(Utf8(first.Path()), 16);
    for (const auto& path : others) {
        std::filesystem::remove(path);
    }
}

TEST(Media, ACubeMapOfOneCrossStandsUpright) {
    const auto colourOf = [](int x, int y) -> std::uint32_t {
        constexpr int kFaces[3][4] = {{-1, 2, -1, -1}, {1, 4, 0, 5}, {-1, 3, -1, -1}};
        const int column = (x - 6 + 20) / 20 - 1;
        const int row = (y - 5 + 20) / 20 - 1;
        const bool inside = column >= 0 && column < 4 && row >= 0 && row < 3 && kFaces[row][column] >= 0;
        return inside ? FaceColour(kFaces[row][column], (x - 6) % 20 >= 10, (y - 5) % 20 >= 10) : 0xFFFFFF;
    };
    const TempFile file(Bmp(92, 70, colourOf), L".bmp");
    ExpectSixFaces(Utf8(file.Path()), 20);
}

TEST(Media, AVolumeShowsItsVoxelsAndItsSize) {
    const TempFile file(std::string("BIN\0\3\0\0\0\2\0\0\0\2\0\0\0\1\0\0\0", 20) + "ABCDEFGHIJKL", L".bin");
    ModuleRun run(
        DocumentBuilder()
            .Image(MainImage("ivec2 at = ivec2(p);\n"
                             "c = texelFetch(iChannel0, ivec3(at.x % 3, at.y % 2, at.x / 3 % 2), 0);\n"
                             "if (p.x > 8.0) c = vec4(iChannelResolution[0] / 255.0, 1);"),
                   {Medium("volume", Utf8(file.Path()))})
            .Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (unsigned i = 0; i < 12; ++i) {
        const int x = static_cast<int>(i % 3 + i / 6 * 3);
        EXPECT_EQ(run.Pixel(x, static_cast<int>(i / 3 % 2)), ('A' + i) << 16) << i;
    }
    EXPECT_EQ(run.Pixel(9, 9), 0x030202u);
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Media, WhatCannotBeShownIsSaidOnceAndTheShaderRuns) {
    const TempFile empty("", L".png");
    const struct {
        Input input;
        std::string words;
    } cases[] = {
        {Medium("texture", Utf8(empty.Path())), ".png: it is no picture"},
        {Medium("texture", Picture("grey16.png")), "grey16.png: 16-bit pictures"},
        {Medium("texture", Picture("grey1.png")), "grey1.png: 1-bit pictures"},
        {Medium("texture", "no-such-file.png"), "no-such-file.png: no such file"},
        {Medium("texture", "NUL"), "it names no file that this document may use"},
        {Medium("cubemap", Picture("rgb8.png")), "rgb8.png: no cross"},
        {Medium("volume", Picture("rgb8.png")), "rgb8.png: it is no volume"},
    };
    for (const auto& each : cases) {
        const std::string at = each.input.ctype == "texture" ? "vec2(0.5)" : "vec3(0.5)";
        ModuleRun run(
            DocumentBuilder()
                .Image(MainImage("c = vec4(texture(iChannel0, " + at + ").rgb, 1) + 0.2;"), {each.input})
                .Json());
        EXPECT_EQ(run.Frames(3), FrameResult::Drawn);
        EXPECT_EQ(run.Pixel(5, 5), 0x333333u) << each.words;
        EXPECT_EQ(Count(run.Words(), "Image, iChannel0 stays empty: "), 1u) << run.Words();
        EXPECT_EQ(Count(run.Words(), each.words), 1u) << run.Words();
    }
}

}  // namespace
}  // namespace pixelforge::test
