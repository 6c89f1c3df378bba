// Complete documents: those that draw, and those that fail cleanly with a reason.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/end_to_end/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::uint32_t kWhite = 0xFFFFFF;
const std::string kBlack = MainImage("c = vec4(0);");

TEST(Documents, FaultyOnesFailEveryFrameWithAReasonAndDoNotAffectTheNext) {
    const auto image = [](const std::string& code) { return DocumentBuilder().Image(code).Json(); };
    const struct {
        std::string document;
        const char* words;  ///< part of the debugger output
    } faults[] = {
        {"", "empty"},
        {"x", "does not begin with a brace"},
        {"{\"Error\":\"Shader not found\"}", "error document"},
        {"{[", "do not match"},
        {DocumentBuilder()
             .Buffer('A', "x")
             .Buffer('C', "void mainImage(out vec4 c, in vec2 p);")
             .Image("y")
             .Json(),
         "Buffer A does not compile, Buffer C does not link, Image does not compile"},
        {image("#include \"nowhere\"\n" + MainImage("c = vec4(\n  missing);")), "Image:5:"},
        {image("#include \"bad.glsl\"\n" + kBlack), "bad.glsl:3:"},
        {image("#include <x>\n" + kBlack), "Image:1: #include <...>"},
        {DocumentBuilder().Common("float a;\r\n\r\nfloat b = c;").Image(kBlack).Json(), "Common:3:"},
        {DocumentBuilder().Pass("cubemap", "Cube A", kBlack).Image(kBlack).Json(),
         "Cube A: in the module's own lines after Cube A: error:"},
        {DocumentBuilder().Common("#line 7 3\nfloat a;").Image("#line 100 5\nint = ;").Json(), "Image:2:5:"},
        {image("#error \x1B[31m\xC3\xA4"), "#error  [31m\xC3\xA4"},
    };
    const TempFolder includes;
    includes.Write("bad.glsl", "float fine;\n\nfloat broken = nothing;\n");
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", includes.Path().c_str());
    preview::HostWindow window(32, 24);
    RunOptions options;
    options.window = &window;
    for (const auto& fault : faults) {
        ModuleRun run(fault.document, options);
        EXPECT_EQ(run.Frames(2), FrameResult::Failed) << "a failed load is retried";
        EXPECT_THAT(run.Words(), AllOf(HasSubstr("cannot load a shader"), HasSubstr(fault.words)));
        run.Session().Close();
        EXPECT_EQ(DrawnRun("c = vec4(1);", {}, options).Pixel(0, 0), kWhite);
    }
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", nullptr);
}

TEST(Documents, WithoutAnImagePassLoadButDeliverNothing) {
    ModuleRun run(DocumentBuilder().Buffer('A', kBlack).Json());
    EXPECT_EQ(run.Frames(2), FrameResult::Failed);
    EXPECT_THAT(run.Words(), AllOf(HasSubstr("Image"), Not(HasSubstr("cannot load"))));
}

/// Duplicate and unknown passes, a channel out of range, and what only some compilers accept.
TEST(Documents, InUnusualFormsAreDrawn) {
    const std::string code = "#define SOURCE \\\n iChannel3\n// \xC3\xA9 \xE5\xA4\x8F\n/*" +
                             std::string(300000, '*') + "*/" +
                             MainImage(
                                 "float char = 1.0, packed = 1.0;\n"
                                 "c = texelFetch(SOURCE, ivec2(p), 0) * char * packed;");
    ModuleRun run(DocumentBuilder()
                      .Buffer('A', kBlack)
                      .Pass("buffer", "Buf A", MainImage("c = vec4(1);"))
                      .Image(code, {{.channel = 3, .id = 257}, {.channel = 9, .id = 258}})
                      .Pass("buffer", "Buffer @", "not GLSL")
                      .Pass("sound", "Sound", "nor this")
                      .Json());
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    EXPECT_EQ(run.Pixel(5, 5), kWhite);
}

}  // namespace
}  // namespace pixelforge::test
