// Complete documents: those that draw, and those that fail cleanly with a reason.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/end_to_end/module_run.h"
#include "tests/end_to_end/temp_folder.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t kWhite = 0xFFFFFF;
const std::string kBlack = MainImage("c = vec4(0);");

TEST(Documents, FaultyOnesFailEveryFrameWithAReasonAndDoNotAffectTheNext) {
    const std::string good = ImageDocument("c = vec4(1);");
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code).Json(); };
    const char* const bodiless = "void mainImage(out vec4 c, in vec2 p);";
    const struct {
        const char* what;
        std::string document;
        const char* words;  ///< part of the debugger output
    } faults[] = {
        {"nothing", "", "empty"},
        {"not JSON", std::string(50 << 20, 'x'), "brace"},
        {"the service's error document", "{\"Error\":\"Shader not found\"}", "error document"},
        {"truncated", good.substr(0, good.size() / 2), "do not match"},
        {"the other common form of documents", "[{\"info\":{},\"renderpass\":[]}]", "Shader"},
        {"a million nested arrays", std::string(1000000, '[') + std::string(1000000, ']'), "Shader"},
        {"three broken passes, all named in one line",
         DocumentBuilder().Buffer('A', "x").Buffer('C', bodiless).Image("y").Json(),
         "Buffer A does not compile, Buffer C does not link, Image does not compile"},
        {"an error in the image", image("\n" + MainImage("c = vec4(\n  missing);")), "Image:5:"},
        {"an error in a buffer after a dropped include",
         DocumentBuilder().Buffer('B', "#include \"nowhere\"\nfloat x = y;\n" + kBlack).Image(kBlack).Json(),
         "Buffer B:2:"},
        {"an error in a file", image("#include \"bad.glsl\"\n" + kBlack), "bad.glsl:3:"},
        {"an error in Common", DocumentBuilder().Common("float a;\r\n\r\nfloat b = c;").Image(kBlack).Json(),
         "Common:3:"},
        {"a channel without an input", image(MainImage("c = texture(iChannel2, p);")), "iChannel2"},
        {"no code", image(""), "mainImage"},
        {"an entry function without a body", image(bodiless), "Image does not link"},
        {"a cube pass without its own entry function",
         DocumentBuilder().Pass("cubemap", "Cube A", kBlack).Image(kBlack).Json(),
         "Cube A: in the module's own lines after Cube A: error:"},
        {"a malformed include", image("#include <x>\n" + kBlack), "Image:1: #include <...>"},
        {"a missing brace", image("void mainImage(out vec4 c, in vec2 p) {"),
         "Image: after the end of Image"},
        {"line numbers of the author's own",
         DocumentBuilder().Common("#line 7 3\nfloat a;").Image("#line 100 5\nint = ;").Json(), "Image:2:5:"},
        {"an escape sequence in the driver's log", image("#error \x1B[31m"), "#error  [31m"},
        {"a letter in the code page in its log", image("#error \xC3\xA4"), "#error \xC3\xA4"},
    };
    const TempFolder includes;
    includes.Write("bad.glsl", "float fine;\n\nfloat broken = nothing;\n");
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", includes.Path().c_str());
    preview::HostWindow window(32, 24);
    RunOptions options;
    options.window = &window;
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        ModuleRun run(fault.document, options);
        EXPECT_EQ(run.Frames(2), FrameResult::Failed) << "a failed load is retried";
        EXPECT_THAT(run.Words(), AllOf(HasSubstr("cannot load a shader"), HasSubstr(fault.words)));
        run.Session().Close();
        ModuleRun next(good, options);
        EXPECT_EQ(next.Frame(), FrameResult::Drawn) << next.Words();
        EXPECT_EQ(next.Pixel(0, 0), kWhite);
    }
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
}

TEST(Documents, WithoutAnImagePassLoadButDeliverNothing) {
    ModuleRun run(DocumentBuilder().Buffer('A', kBlack).Json());
    EXPECT_EQ(run.Frames(2), FrameResult::Failed);
    EXPECT_THAT(run.Words(), AllOf(HasSubstr("Image"), Not(HasSubstr("cannot load"))));
}

TEST(Documents, InUnusualFormsAreDrawn) {
    const std::string red = MainImage("c = vec4(1, 0, 0, 1);");
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code); };
    const struct {
        const char* what;
        DocumentBuilder document;
        std::uint32_t pixel;
    } cases[] = {
        {"a backslash joins lines", image("#define WHITE \\\n vec4(1)\n" + MainImage("c = WHITE;")), kWhite},
        {"words that the prefix renames",
         image(MainImage("float char = 1.0, packed = 0.0; c = vec4(char, packed, 0, 1);")), 0xFF0000},
        {"non-ASCII comments", image("// \xC3\xA9t\xC3\xA9 \xE5\xA4\x8F\n" + red), 0xFF0000},
        {"300 KB on one line", image("/*" + std::string(300000, '*') + "*/" + red), 0xFF0000},
        {"duplicate passes (the later wins), unknown names, and channels out of order and range",
         DocumentBuilder()
             .Buffer('A', MainImage("c = vec4(0, 0, 1, 1);"))
             .Pass("buffer", "Buf A", red)
             .Image(MainImage("c = texelFetch(iChannel3, ivec2(p), 0);"),
                    {{.channel = 3, .id = 257}, {.channel = 9, .id = 258}})
             .Pass("buffer", "Buffer @", "not GLSL")
             .Pass("sound", "Sound", "nor this"),
         0xFF0000},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.what);
        ModuleRun run(item.document.Json());
        EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        EXPECT_EQ(run.Pixel(5, 5), item.pixel);
    }
}

}  // namespace
}  // namespace pixelforge::test
