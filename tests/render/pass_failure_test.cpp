// Passes that cannot be built: what is said about them, and that nothing of them stays in the driver.
#include <gmock/gmock.h>
#include <windows.h>

#include <GL/glew.h>

#include <array>

#include "render/gl_diagnostics.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// How many shaders, programs, textures, framebuffers and samplers exist, among the lowest names.
std::array<int, 5> LiveObjects() {
    std::array<int, 5> live{};
    for (GLuint name = 1; name < 1024; ++name) {
        live[0] += glIsShader(name);
        live[1] += glIsProgram(name);
        live[2] += glIsTexture(name);
        live[3] += glIsFramebuffer(name);
        live[4] += glIsSampler(name);
    }
    return live;
}

using PassFailureTest = StageTest;

TEST_F(PassFailureTest, EachStageIsNamedAndLeavesNothingBehind) {
    const char good[] = "void mainImage(out vec4 c, in vec2 p) { c = vec4(1.0); }\n";
    const struct {
        PassKind kind;
        const char* code;
        const char* common;
        const char* reason;
        const char* line;  ///< how a line on the debugger output begins; null for none
    } cases[] = {
        {PassKind::BufferB, "void mainImage(out vec4 c, in vec2 p) {\n\n    c = undeclared;\n}\n", "",
         "Buffer B does not compile", "Pixelforge: Buffer B:3:"},
        {PassKind::Image, good, "float kept;\nfloat broken = vec2(0.0;\n", "Buffer A does not compile",
         "Pixelforge: Buffer A: Common:2:"},
        {PassKind::Image, "void mainImage(out vec4 c, in vec2 p);\n", "", "Image does not link",
         "Pixelforge: Image: "},
        {PassKind::CubeA, "void mainImage(out vec4 c, in vec2 p) {}\n", "", "Cube A does not compile",
         "Pixelforge: Cube A: SUFFIX:"},
        {PassKind::Image, "#include nothing\n", "", "Image: malformed #include, or no memory for its text",
         nullptr},
    };
    const std::array<int, 5> before = LiveObjects();
    for (const auto& item : cases) {
        stage_.Clear();
        stage_.Pass(PassKind::BufferA, good, {{0, ChannelType::Keyboard}});
        stage_.Pass(PassKind::Common, item.common);
        stage_.Pass(PassKind::Image, good, {Reads(0, PassKind::BufferA)});
        stage_.Pass(item.kind, item.code);
        EXPECT_FALSE(stage_.Build());
        EXPECT_EQ(stage_.Reason(), item.reason);
        if (item.line) {
            EXPECT_THAT(output_.Take(), Contains(StartsWith(item.line))) << item.reason;
        }
        EXPECT_EQ(LiveObjects(), before) << item.reason;
    }
}

TEST_F(PassFailureTest, FramesGoOnWithoutThePassAndTheNextGraphWorks) {
    stage_.Body(PassKind::Image, "c = nowhere;");
    EXPECT_FALSE(stage_.Build());
    EXPECT_THAT(output_.Take(), Contains(HasSubstr("nowhere")));
    const PassSlot& slot = stage_.Renderer().slots[7];
    EXPECT_THAT(slot.infoLog.get(), HasSubstr("nowhere"));
    EXPECT_THAT(slot.source.get(), HasSubstr("c = nowhere;"));
    stage_.Draw();
    stage_.Clear().Body(PassKind::Image, "c = vec4(0.0, 1.0, 0.0, 1.0);");
    ASSERT_TRUE(stage_.Build()) << stage_.Reason();
    EXPECT_EQ(slot.infoLog, nullptr);
    EXPECT_EQ(stage_.Frame().At(0, 0), (Color{0, 255, 0, 255}));
}

TEST_F(PassFailureTest, BuildingAgainReplacesEveryObject) {
    const SampleScope samples(2);
    stage_.Body(PassKind::BufferC, "c = texture(iChannel0, p);",
                {Reads(0, PassKind::BufferC, kFilterMipmap), {1, ChannelType::Keyboard}});
    stage_.Pass(PassKind::CubeA,
                "void mainCubemap(out vec4 c, vec2 p, vec3 o, vec3 d) { c = vec4(d, 1.0); }");
    stage_.Body(PassKind::Image, "c = texture(iChannel3, p);", {Reads(3, PassKind::BufferC)});
    std::array<int, 5> before{};
    for (int round = 0; round < 4; ++round) {
        ASSERT_TRUE(stage_.Build()) << stage_.Reason();
        stage_.Frame();
        before = round == 0 ? LiveObjects() : before;
    }
    EXPECT_EQ(LiveObjects(), before);
    const GlSampler planted = NewSampler();
    EXPECT_NE(LiveObjects(), before) << "the counting works";
}

TEST_F(PassFailureTest, SizesThatGlCannotDrawAreRefused) {
    const int sizes[][2] = {{0, 48}, {64, 0}, {-64, 48}, {64, -2147483647}, {1 << 30, 48}};
    stage_.Body(PassKind::Image, "c = vec4(1.0);");
    for (const auto& [width, height] : sizes) {
        stage_.Renderer().renderRect = PixelRect{0, 0, width, height};
        EXPECT_FALSE(stage_.Build());
        EXPECT_THAT(stage_.Reason(), StartsWith("cannot draw " + std::to_string(width) + " x "));
    }
}

TEST_F(PassFailureTest, OneReportTakesOneError) {
    glEnable(0xFFFF);
    EXPECT_EQ(ReportGlError(), 1280U);
    EXPECT_THAT(
        output_.Take(),
        ElementsAre("GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.", "\n"));
    EXPECT_EQ(ReportGlError(), 0U);
}

}  // namespace
}  // namespace pixelforge::test
