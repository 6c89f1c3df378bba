// Documents whose inputs name files, compared with colours computed here.
#include <gmock/gmock.h>

#include "base/text.h"
#include "preview/host/file_paths.h"
#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string Picture(const std::string& name) {
    return PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name;
}

Input Medium(int channel, const std::string& src, const std::string& ctype = "texture") {
    return {.channel = channel, .ctype = ctype, .id = 1, .src = src};
}

/// A 24-bit picture file of 0xRRGGBB by column and row, from the top; its width is a multiple of 4.
std::string Bmp(std::uint32_t width, std::uint32_t height, auto colourOf) {
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
    // The pictures side by side; above them the first one flipped the other way, then their alpha as grey.
    const std::string code =
        "ivec2 at = ivec2(p) % ivec2(4, 3);\n"
        "c = p.x < 8.0 ? texelFetch(iChannel0, at, 0) : p.x < 16.0 ? texelFetch(iChannel1, at, 0)\n"
        "              : texelFetch(iChannel2, at, 0);\n"
        "if (p.y > 12.0) c = c.aaaa;\n"
        "else if (p.y > 6.0) c = texelFetch(iChannel3, at, 0);\n"
        "if (p.x > 24.0) c = vec4(iChannelResolution[2] / 255.0 + iChannelTime[2], 1);\n"
        "if (p.x > 28.0) c = textureLod(iChannel3, vec2(0.5), 9.0);";
    for (const bool flip : {false, true}) {
        std::vector<Input> inputs = {Medium(0, Picture("rgba8.png")), Medium(1, Picture("rgb8.png")),
                                     Medium(2, Picture("grey8.png")), Medium(3, Picture("rgba8.png"))};
        for (Input& input : inputs) {
            input.vflip = flip == (input.channel < 3) ? "true" : "false";
            input.filter = "mipmap";
        }
        const DrawnRun run(code, inputs);
        for (int i = 0; i < 24 * 3; ++i) {
            const int x = i % 24;
            const int y = i / 24;
            const std::uint32_t texel = TexelOf(x / 8, x % 4, flip ? 2 - y : y);
            EXPECT_EQ(run.Pixel(x, y), texel & 0xFFFFFF) << x << ", " << y << ", flip " << flip;
            EXPECT_EQ(run.Pixel(x, y + 6), TexelOf(0, x % 4, flip ? y : 2 - y) & 0xFFFFFF) << x << ", " << y;
            EXPECT_EQ(run.Pixel(x, y + 12), (texel >> 24) * 0x010101) << x << ", " << y;
        }
        EXPECT_EQ(run.Pixel(25, 5), 0x040301u);
        EXPECT_NEAR(run.Pixel(29, 5) >> 16, 80, 1) << "the mean red";
        EXPECT_EQ(run.Words(), "");
    }
}

/// 70 rows are uploaded in three bands. Rows of 9 bytes come out sheared, the last texels black.
TEST(Media, TallPicturesAreFlipped) {
    constexpr int kRows = 70;
    const TempFolder folder;
    const std::string tall = folder.Write("t.bmp", Bmp(4, kRows, [](int, int y) { return 0x010203 * y; }));
    std::vector<Input> inputs = {Medium(0, tall), Medium(1, Picture("sheared_rgb8.png")),
                                 Medium(2, Picture("sheared_rgb8.png"))};
    inputs[1].vflip = "false";
    const DrawnRun run(
        "c = p.x < 4.0 ? texelFetch(iChannel0, ivec2(0, int(p.y) * 3), 0)\n"
        "    : p.x < 8.0 ? texelFetch(iChannel1, ivec2(p) % ivec2(4, 3), 0)\n"
        "    : texelFetch(iChannel2, ivec2(p) % ivec2(4, 3), 0);",
        inputs);
    for (int y = 0; y < kRows / 3; ++y) {
        EXPECT_EQ(run.Pixel(0, y), static_cast<unsigned>(0x010203 * (kRows - 1 - 3 * y))) << y;
    }
    for (int i = 0; i < 9; ++i) {
        const int at = i / 3 * 4 + i % 3;
        const std::uint32_t texel = at < 9 ? TexelOf(1, at % 3, at / 3) & 0xFFFFFF : 0;
        EXPECT_EQ(run.Pixel(4 + i % 3, i / 3), texel) << i;
        EXPECT_EQ(run.Pixel(8 + i % 3, 2 - i / 3), texel) << i << ", upside down";
    }
}

/// The quarters of a face differ, so that rotated or mirrored faces are detected.
int FaceColour(int face, bool right, bool lower) {
    return 0x201030 + face * 0x200000 + (right ? 0x006000 : 0) + (lower ? 0x000090 : 0);
}

/// Two by two positions of each face, as seen from the cube's centre; above them the faces' mean, an edge of
/// the first and the fifth, the size, and a row of the fifth.
const std::string kSixViews =
    "const vec3 x = vec3(1,0,0), y = vec3(0,1,0), z = vec3(0,0,1);\n"
    "const vec3 ahead[6] = vec3[](x, -x, y, -y, z, -z), right[6] = vec3[](-z, z, x, x, x, -x),\n"
    "    up[6] = vec3[](y, y, -z, z, y, y);\n"
    "ivec2 at = ivec2(p); int face = at.x / 2 % 6; vec2 place = vec2(at.x % 2, at.y % 2) - 0.5;\n"
    "c = textureLod(iChannel0, ahead[face] + place.x * right[face] + place.y * up[face], 0.0);\n"
    "if (p.y > 4.0) c = textureLod(iChannel0, ahead[face], 9.0);\n"
    "if (p.y > 8.0) c = textureLod(iChannel0, vec3(1.0, 0.5, 0.9999), 0.0);\n"
    "if (p.y > 12.0) c = vec4(iChannelResolution[0] / 255.0, 1);\n"
    "if (p.y > 16.0) c = textureLod(iChannel0, vec3(p.x / 8.0 - 1.0, 0.4, 1.0), 0.0);";

/// Stretching with HALFTONE mixes neighbouring colours.
void ExpectSixFaces(const std::string& file, bool stretched) {
    SCOPED_TRACE(file);
    Input input = Medium(0, file, "cubemap");
    input.filter = "mipmap";
    const DrawnRun run(kSixViews, {input});
    const auto expect = [&](int x, int y, int expected) {
        for (int shift = 0; shift < 24; shift += 8) {
            EXPECT_NEAR(run.Pixel(x, y) >> shift & 0xFF, expected >> shift & 0xFF, 4) << x << ", " << y;
        }
    };
    for (int x = 0; x < 12; ++x) {
        expect(x, 0, FaceColour(x / 2, x % 2 == 1, true));
        expect(x, 1, FaceColour(x / 2, x % 2 == 1, false));
        expect(x, 5, FaceColour(x / 2, false, false) + 0x003048);
    }
    expect(3, 10, FaceColour(2, false, false) + 0x003000);
    EXPECT_EQ(run.Pixel(3, 14), 0x101001u);
    int changes = 0;
    for (int x = 1; x < 16; ++x) {
        changes += run.Pixel(x, 20) != run.Pixel(x - 1, 20);
    }
    EXPECT_EQ(changes > 1, stretched);
    EXPECT_EQ(run.Words(), "");
}

TEST(Media, CubeMapsOfSixFilesAndOfOneCrossAreUpright) {
    const TempFolder folder;
    std::string sky;
    for (int face = 5; face >= 0; --face) {
        const auto draw = [face](int x, int y) { return FaceColour(face, x >= 8, y >= 8); };
        sky = folder.Write(face == 0 ? "sky.bmp" : "sky_" + std::to_string(face) + ".bmp", Bmp(16, 16, draw));
    }
    ExpectSixFaces(sky, false);
    const auto cross = [](int x, int y) {
        constexpr int kFaces[5][6] = {
            {}, {0, 0, 3}, {0, 2, 5, 1, 6}, {0, 0, 4}, {}};  // from 1; 0 is the border
        const int face = kFaces[(y + 11) / 16][(x + 10) / 16];
        return face > 0 ? FaceColour(face - 1, (x + 10) % 16 >= 8, (y + 11) % 16 >= 8) : 0xFFFFFF;
    };
    ExpectSixFaces(folder.Write("cross.bmp", Bmp(76, 58, cross)), true);
}

/// 3 x 2 x 2 voxels; the bytes count up from 20 in steps of 3, two of them are one 16-bit value.
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
    std::vector<Input> inputs = {Medium(0, folder.Write("1.bin", Volume(1, 12)), "volume"),
                                 Medium(1, folder.Write("2.bin", Volume(2, 24)), "volume"),
                                 Medium(2, folder.Write("4.bin", Volume(4, 12)), "volume"),
                                 Medium(3, folder.Write("1.bin", Volume(1, 12)), "volume")};
    inputs[3].filter = "mipmap";
    const DrawnRun run(
        "ivec3 at = ivec3(int(p.x) % 3, int(p.y) % 2, int(p.x) / 3 % 2);\n"
        "c = p.y < 2.0 ? texelFetch(iChannel0, at, 0) : p.y < 4.0\n"
        "    ? texelFetch(iChannel1, at, 0) : texelFetch(iChannel2, at, 0);\n"
        "vec3 far = vec3(0, 0, 1) + (vec3(at) + 0.5) / vec3(3, 2, 2);\n"
        "if (p.y > 6.0) c = textureLod(iChannel3, far, p.y < 8.0 ? 0.0 : 9.0);\n"
        "if (p.x > 8.0) c = vec4(iChannelResolution[1] / 255.0, 1);",
        inputs);
    for (int i = 0; i < 12; ++i) {
        const int x = i % 3 + i / 6 * 3;
        const int y = i / 3 % 2;
        const auto low = static_cast<unsigned>(20 + 6 * i);
        EXPECT_EQ(run.Pixel(x, y), static_cast<unsigned>(20 + 3 * i) << 16) << i;
        EXPECT_NEAR(run.Pixel(x, y + 2) >> 16, (low + 256 * (low + 3)) / 257.0, 0.6) << "16 bits, " << i;
        EXPECT_EQ(run.Pixel(x, y + 4), run.Pixel(x, y)) << "four channels, one byte per voxel, " << i;
        EXPECT_EQ(run.Pixel(x, y + 6), run.Pixel(i % 3 + 3, y)) << "beyond the last slice, " << i;
        EXPECT_NEAR(run.Pixel(x, y + 8) >> 16, 36.5, 1) << "the mean";
    }
    EXPECT_EQ(run.Pixel(9, 9), 0x030202u);
}

TEST(Media, UnusableMediaAreReportedOnceAndTheShaderRuns) {
    const TempFolder folder;
    const auto grey = [](int, int) { return 0x808080; };
    const std::string square = Bmp(4, 4, grey);
    const std::string oblong = Bmp(8, 4, grey);
    std::string deep = square + std::string(16, '\0');
    deep[28] = 32;  // bits per pixel
    /// A cube map whose last face and whose other faces have these contents.
    const auto cube = [&](const std::string& name, const std::string& last, const std::string& others) {
        for (const char* end : {"", "_1", "_2", "_3", "_4"}) {
            folder.Write(name + end + ".bmp", others);
        }
        folder.Write(name + "_5.bmp", last);
        return Medium(0, (folder.Path() / (name + ".bmp")).string(), "cubemap");
    };
    Input gap = cube("gap", square, square);
    std::filesystem::remove(folder.Path() / "gap_5.bmp");
    const std::pair<Input, std::string> cases[] = {
        {Medium(0, Picture("grey16.png")), "grey16.png: 16-bit pictures"},
        {Medium(0, "no-such-file.png"), "no-such-file.png: no such file"},
        {Medium(0, "a\x1B[31m"), "a?[31m: it names no file that this document may use"},
        {Medium(0, Picture("rgb8.png"), "cubemap"), "rgb8.png: no cross"},
        {cube("odd", Bmp(8, 8, grey), square), "odd.bmp: its six faces"},
        {cube("deep", deep, square), "deep.bmp: its six faces"},
        {cube("oblong", oblong, oblong), "oblong.bmp: its six faces"},
        {gap, "gap.bmp: its six faces"},
        {cube("bad", "", square), "bad.bmp: face 5: not a picture"},
        {Medium(0, Picture("rgb8.png"), "volume"), "rgb8.png: not a volume"},
        {Medium(0, folder.Write("lie.bin", Volume(2, 23)), "volume"), "lie.bin: "}};
    for (const auto& [input, words] : cases) {
        const std::string at = input.ctype == "texture" ? "vec2(0.5)" : "vec3(0.5)";
        DrawnRun run("c = vec4(texture(iChannel0," + at + ").rgb + iChannelResolution[0], 1) + .2;", {input});
        EXPECT_EQ(run.Frame(), FrameResult::Drawn);
        EXPECT_EQ(run.Pixel(5, 5), 0x333333u) << words;
        EXPECT_THAT(run.Words(), AllOf(testing::StartsWith("Pixelforge: Image, iChannel0 stays empty: "),
                                       HasSubstr(words), Not(HasSubstr("\nP"))));
    }
}

/// A file of the same name lies in every place that some name leads to, so each shows where it was found.
TEST(Origin, DecidesWhichFilesADocumentReads) {
    Module();  // publishes the data folder
    wchar_t data[MAX_PATH] = {};
    GetEnvironmentVariableW(L"DAT_BASEFOLDER", data, MAX_PATH);
    const fs::path cache = fs::path(data) / "Pixelforge" / "PixelforgeCache";
    const TempFolder folder;
    const std::string id = "bait" + std::to_string(GetCurrentProcessId());
    const auto write = [&](const char* place, int colour, const char* term) {
        fs::create_directories(folder.Path() / place);
        folder.Write(place + id + ".bmp", Bmp(4, 1, [colour](int, int) { return colour; }));
        folder.Write(place + id + ".glsl", term);
    };
    write("", 0xFF0000, "+ 1.0");
    write("current/", 0x0000FF, "+ 2.0");
    write("include/", 0xFFFFFF, "+ 16.0");
    const preview::WorkingFolder working(folder.Path() / "current" / "document");
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", (folder.Path() / "include").c_str());
    const std::string path = (folder.Path() / id).string();
    std::string code = "float files = 0.0\n";
    std::vector<Input> inputs;
    for (const std::string& name : {id, "..\\" + id, path, "\\\\?\\" + path}) {
        code += "#include \"" + name + ".glsl\"\n";
        inputs.push_back(Medium(static_cast<int>(inputs.size()), name + ".bmp"));
    }
    code += ";\n#define T(n) texelFetch(iChannel##n, ivec2(0), 0)\n";
    code += MainImage("c = vec4[](T(0), T(1), T(2), T(3), vec4(files / 255.0))[min(int(p.x), 4)];");
    const std::string document = DocumentBuilder().Image(code, inputs).Json();
    const fs::path cached[] = {cache / "Shaders" / (id + "_0.json"), cache / "Assets" / (id + ".bmp")};
    std::ofstream(cached[0], std::ios::binary) << document;
    std::ofstream(cached[1], std::ios::binary) << Bmp(4, 1, [](int, int) { return 0x00FF00; });
    constexpr std::uint32_t kExpected[2][5] = {{0x0000FF, 0xFF0000, 0xFF0000, 0, 0x040404},
                                               {0x00FF00, 0x00FF00, 0x00FF00, 0x00FF00, 0x101010}};
    ModuleRun run(preview::StagedShader::OfPlaylist(BytesOf(id + "\n")));
    for (const bool isOfService : {true, false}) {
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        for (int x = 0; x < 5; ++x) {
            EXPECT_EQ(run.Pixel(x, 0), kExpected[isOfService][x]) << x << ", service: " << isOfService;
        }
        folder.Write("current/" + id, document);
        run.Session().Initialize();
    }
    const std::string file = "D:\\" + id;
    std::ofstream(file, std::ios::binary) << document;
    ModuleRun byDevicePath(preview::StagedShader::OfPlaylist(BytesOf("\\\\?\\" + file + "\n")));
    EXPECT_EQ(byDevicePath.Frame(), FrameResult::Failed);
    for (const fs::path& written : {cached[0], cached[1], fs::path(file)}) {
        fs::remove(written);
    }
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
}

}  // namespace
}  // namespace pixelforge::test
