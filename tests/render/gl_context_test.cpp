// Names of a lost context are not deleted in another, and an unusable context is not used.
#include "render/gl_context.h"

#include <GL/glew.h>
#include <GL/wglew.h>
#include <gmock/gmock.h>

#include <utility>

#include "render/gl_diagnostics.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

TEST(GlContext, NamesAreNotDeletedInAForeignContext) {
    Stage foreign;
    const std::vector<Input> keyboard = {{.ctype = "keyboard"}};
    foreign.LoadImage("c = vec4(1.0);", keyboard).Start();
    const HGLRC foreignContext = wglGetCurrentContext();
    HeapRecord<GlRenderer> withoutWindow;
    HeapRecord<GlRenderer> onLostWindow;
    {
        const CurrentContextKeeper keeper;
        withoutWindow = CreateGlRenderer(nullptr, 64, 48);
        EXPECT_EQ(withoutWindow->contextReady, 1);
        EXPECT_FALSE(MakeRendererCurrent(*withoutWindow, nullptr)) << "no window to draw on";
        WNDCLASSW hidden = {};
        EXPECT_FALSE(GetClassInfoW(GetModuleHandleW(nullptr), L"OGLHiddenWindowClass", &hidden));
        Stage stage;
        stage.LoadImage("c = vec4(1.0);", keyboard).Start();
        onLostWindow = std::move(stage.renderer);
    }
    DestroyGlRenderer(std::move(withoutWindow));
    DestroyGlRenderer(std::move(onLostWindow));
    ASSERT_EQ(wglGetCurrentContext(), foreignContext);
    // Created in the same order, the objects of all three have the same names.
    const GlRenderer& left = *foreign.renderer;
    EXPECT_TRUE(glIsVertexArray(left.vertexArray.Get()));
    EXPECT_TRUE(glIsBuffer(left.vertexBuffer.Get()));
    EXPECT_TRUE(glIsTexture(left.keyboard.texture.Get()));
    EXPECT_TRUE(glIsProgram(left.slots[7].program.Get()));
    EXPECT_TRUE(glIsTexture(left.slots[7].targets[1].texture.Get()));
    EXPECT_TRUE(glIsFramebuffer(left.slots[7].targets[1].framebuffer.Get()));
}

/// Clears GLEW's entry points, as another instance's GL 1.1 driver would, so that calling one crashes.
void ClearEntryPoints() {
    const auto clear = [](auto&... entries) { ((entries = nullptr), ...); };
    clear(__glewGenFramebuffers, __glewDeleteFramebuffers, __glewDeleteVertexArrays, __glewDeleteBuffers,
          __glewDeleteProgram, __glewUseProgram, __glewCreateShader);
}

/// The driver reports a reset for one scope.
struct ResetScope {
    ~ResetScope() { __glewGetGraphicsResetStatusARB = original; }
    PFNGLGETGRAPHICSRESETSTATUSARBPROC original =
        std::exchange(__glewGetGraphicsResetStatusARB, []() -> GLenum { return GL_UNKNOWN_CONTEXT_RESET; });
};

TEST(GlContext, AnUnusableContextIsRefused) {
    Stage stage;
    const Picture picture = stage.LoadImage("c = vec4(1.0);").Show();
    GlRenderer& renderer = *stage.renderer;
    const auto makeCurrent = [&] { return MakeRendererCurrent(renderer, stage.window.Handle()); };
    const auto expectRefusals = [&](bool evenToMakeCurrent = true) {
        EXPECT_FALSE(evenToMakeCurrent && makeCurrent());
        EXPECT_EQ(FailureOf([&] { BuildPassGraph(renderer); }), "no usable OpenGL context");
        EXPECT_EQ(stage.Render(), 0);
        EXPECT_EQ(ReadFrameIntoBitmap(&renderer, PixelsOf(picture.Bitmap())), 0);
    };
    renderer.contextReady = 0;
    expectRefusals();
    renderer.contextReady = 1;
    renderer.glewReady = 0;
    expectRefusals();
    renderer.glewReady = 1;
    {
        const ResetScope reset;
        renderer.reportsResets = false;
        EXPECT_TRUE(makeCurrent()) << "the address of the function proves nothing";
        renderer.reportsResets = true;
        expectRefusals();
    }
    expectRefusals();
    renderer.contextLost = false;
    ClearEntryPoints();
    expectRefusals(false);
    EXPECT_TRUE(makeCurrent()) << "the entry points are looked up again";
    EXPECT_EQ(stage.Frame().At(5, 5), picture.At(5, 5));
    ClearEntryPoints();
    DestroyGlRenderer(std::move(stage.renderer));
}

TEST(GlContext, IsLostOnAResetWhereTheDriverReportsThem) {
    const Stage first;  // loads the entry points
    const bool listed = WGLEW_ARB_create_context_robustness;
    for (const bool known : {true, false}) {
        __WGLEW_ARB_create_context_robustness = known;
        Stage stage;
        EXPECT_EQ(stage.renderer->reportsResets, known || listed);
        GLint flags = 0, strategy = 0;
        glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
        glGetIntegerv(GL_RESET_NOTIFICATION_STRATEGY, &strategy);
        EXPECT_EQ((flags & GL_CONTEXT_FLAG_ROBUST_ACCESS_BIT) != 0, known || listed);
        EXPECT_EQ(strategy == GL_LOSE_CONTEXT_ON_RESET, listed) << "Wine 8 knows only the flag";
    }
}

using GlErrors = StageTest;

TEST_F(GlErrors, EachIsReportedOnceAndALostContextEvenAfterAnotherReason) {
    glEnable(0xFFFF);
    EXPECT_EQ(ReportGlError(), 1280U);
    EXPECT_EQ(ReportGlError(), 0U);
    stage_.renderer->reportsResets = true;
    ReportUndrawable(*stage_.renderer, "x");
    const ResetScope reset;
    ReportUndrawable(*stage_.renderer, "x");
    ReportUndrawable(*stage_.renderer, "x");
    EXPECT_THAT(
        TakeLines(),
        ElementsAre("GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.",
                    "Pixelforge: cannot draw: x", "Pixelforge: cannot draw: the OpenGL context is lost"));
}

TEST_F(GlErrors, PassesLinkBeforeTheFirstQueryAndTheLinkersLogNamesThem) {
    static std::string calls;
    calls.clear();
    static const auto link = __glewLinkProgram;
    static const auto ask = __glewGetShaderiv;
    __glewLinkProgram = [](GLuint program) { calls += "link ", link(program); };
    __glewGetShaderiv = [](auto... question) { calls += "ask ", ask(question...); };
    const std::string noBody = "void mainImage(out vec4 c, in vec2 p);";
    EXPECT_FALSE(stage_.Load(DocumentBuilder().Buffer('B', noBody).Image(noBody)).Build());
    EXPECT_EQ(calls.find("link link ask"), 0U) << calls;
    EXPECT_EQ(stage_.reason, "Buffer B does not link, Image does not link");
    EXPECT_THAT(TakeLines(), ElementsAre(MatchesRegex("Pixelforge: Buffer B: .*mainImage.*"),
                                         MatchesRegex("Pixelforge: Image: .*mainImage.*")));
}

}  // namespace
}  // namespace pixelforge::test
