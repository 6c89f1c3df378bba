// Pixels of whole documents, against values computed here.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/end_to_end/module_run.h"

namespace pixelforge::test {
namespace {

constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kWhite = 0xFFFFFF;

const Input kReadsA = {.channel = 0, .id = 257};

TEST(Pictures, EveryPixelLandsUpright) {
    ModuleRun run(DocumentBuilder().Image(MainImage("c = vec4(floor(p), 7, 255) / 255.0;")).Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 32; ++x)
            ASSERT_EQ(run.Pixel(x, y), static_cast<std::uint32_t>(x << 16 | y << 8 | 7)) << x << ", " << y;
}

TEST(Pictures, FormsInWhichDocumentsCirculateAreDrawn) {
    const std::string red = MainImage("c = vec4(1.0, 0.0, 0.0, 1.0);");
    const std::string blue = MainImage("c = vec4(0, 0, 1, 1);");
    const std::string readsA = MainImage("c = texelFetch(iChannel0, ivec2(p), 0);");
    const std::string reads3 = MainImage("c = texelFetch(iChannel3, ivec2(p), 0);");
    const std::string head = "void mainImage(out vec4 c, in vec2 p) {";
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code); };
    const struct {
        const char* what;
        DocumentBuilder document;
        std::uint32_t pixel;
    } cases[] = {
        {"CR LF code", image(head + "\r\n// x\r\nc = vec4(1);\r\n}"), kWhite},
        {"lone CR code", image(head + "\r// x\rc = vec4(1);\r}"), kWhite},
        {"a back-slash joins lines", image("#define WHITE \\\n vec4(1)\n" + MainImage("c = WHITE;")), kWhite},
        {"words that the prefix renames",
         image(MainImage("float char = 1.0, packed = 0.0; c = vec4(char, packed, 0, 1);")), kRed},
        {"non-ASCII comments", image("// \xC3\xA9t\xC3\xA9 \xE5\xA4\x8F\n" + red), kRed},
        {"300 KB on one line", image(head + "/*" + std::string(300000, '*') + "*/ c = vec4(1); }"), kWhite},
        {"a brace that Common opens", image("BEGIN c = vec4(0, 1, 0, 1); }").Common("#define BEGIN " + head),
         kGreen},
        {"a short buffer name", DocumentBuilder().Pass("buffer", "Buf A", red).Image(readsA, {kReadsA}),
         kRed},
        {"two passes of a kind: the later one counts",
         DocumentBuilder().Buffer('A', blue).Buffer('A', red).Image(readsA, {kReadsA}), kRed},
        {"unknown names and a sound pass",
         image(red).Pass("buffer", "Buffer @", "not GLSL").Pass("sound", "Sound", "nor this"), kRed},
        {"channels out of order and one out of range",
         DocumentBuilder().Buffer('A', red).Image(reads3,
                                                  {{.channel = 3, .id = 257}, {.channel = 9, .id = 258}}),
         kRed},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.what);
        ModuleRun run(item.document.Json());
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        EXPECT_EQ(run.Pixel(5, 5), item.pixel);
    }
}

TEST(Pictures, FailedAssertionsColourThePixelAndTheLastOneWins) {
    ModuleRun run(DocumentBuilder()
                      .Image(MainImage("c = vec4(1.0);\n"
                                       "if (p.x < 1.0) pf_assert(false);\n"
                                       "else if (p.x < 2.0) pf_assert(false, 1);\n"
                                       "else if (p.x < 3.0) pf_assert(false, 2);\n"
                                       "else if (p.x < 4.0) { pf_assert(false, 9); pf_assert(false, 0); }\n"
                                       "else pf_assert(true);"))
                      .Json());
    ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    const std::uint32_t expected[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFFFFFF};
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(run.Pixel(x, 3), expected[x]) << x;
}

TEST(Pictures, TheIncludeFolderServesFilesAndErrorsNameThem) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("pixelforge-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "good.glsl") << "vec4 Green() { return vec4(0, 1, 0, 1); }\r\n";
    std::ofstream(folder / "bad.glsl") << "float fine;\n\nfloat broken = nothing;\n";
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", folder.c_str());
    ModuleRun good(DocumentBuilder().Image("#include \"good.glsl\"\n" + MainImage("c = Green();")).Json());
    EXPECT_EQ(good.Frame(), FrameResult::Drawn) << good.Words();
    EXPECT_EQ(good.Pixel(1, 1), kGreen);
    ModuleRun bad(DocumentBuilder().Image("#include \"bad.glsl\"\n" + MainImage("c = vec4(0);")).Json());
    EXPECT_EQ(bad.Frame(), FrameResult::Failed);
    EXPECT_NE(bad.Words().find("bad.glsl:3:"), std::string::npos) << bad.Words();
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace pixelforge::test
