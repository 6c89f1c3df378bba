// Contexts: a lost one's names are not deleted in a stranger's, an unusable one is never drawn with.
#include "render/gl_context.h"

#include <windows.h>

#include <GL/glew.h>

#include <tuple>
#include <utility>

#include "render/gl_diagnostics.h"
#include "render/pass_graph.h"
#include "render/readback.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

TEST(GlContext, NoNameIsDeletedInAStrangersContext) {
    Stage stranger;
    stranger.LoadImage("c = vec4(1.0);").Show();
    const HGLRC strangersContext = wglGetCurrentContext();
    HeapRecord<GlRenderer> withoutWindow;
    HeapRecord<GlRenderer> onLostWindow;
    {
        const CurrentContextKeeper keeper;
        withoutWindow = CreateGlRenderer(nullptr, 64, 48);
        EXPECT_EQ(withoutWindow->contextReady, 1);
        EXPECT_FALSE(MakeRendererCurrent(*withoutWindow, nullptr)) << "there is nothing to draw on";
        WNDCLASSEXW hidden{};
        hidden.cbSize = sizeof(hidden);
        EXPECT_FALSE(GetClassInfoExW(GetModuleHandleW(nullptr), L"OGLHiddenWindowClass", &hidden));
        Stage stage;
        stage.LoadImage("c = vec4(1.0);").Show();
        onLostWindow = stage.Release();
    }
    DestroyGlRenderer(std::move(withoutWindow));
    DestroyGlRenderer(std::move(onLostWindow));
    ASSERT_EQ(wglGetCurrentContext(), strangersContext);
    // Both had the same names as the stranger, whose objects came in the same order.
    const GlRenderer& left = stranger.Renderer();
    EXPECT_TRUE(glIsVertexArray(left.vertexArray.Get()));
    EXPECT_TRUE(glIsBuffer(left.vertexBuffer.Get()));
    EXPECT_TRUE(glIsProgram(left.slots[7].program.Get()));
    for (const PassTarget& target : left.slots[7].targets) {
        EXPECT_TRUE(glIsTexture(target.texture.Get()));
        EXPECT_TRUE(glIsFramebuffer(target.framebuffer.Get()));
    }
}

/// Takes GLEW's entry points away, as on a machine whose driver knows GL 1.1 only: a call of one of these
/// now ends the process. A second call gives them back.
void SwapEntryPoints() {
    const auto swap = [](auto&... entries) {
        static auto taken = std::make_tuple(std::decay_t<decltype(entries)>()...);
        std::tie(entries...) = std::exchange(taken, std::make_tuple(entries...));
    };
    swap(__glewGenFramebuffers, __glewDeleteFramebuffers, __glewDeleteVertexArrays, __glewDeleteBuffers,
         __glewDeleteProgram, __glewUseProgram, __glewCreateShader);
}

TEST(GlContext, AnUnusableContextIsLeftAlone) {
    Stage stage;
    const Picture picture = stage.LoadImage("c = vec4(1.0);").Show();
    GlRenderer& renderer = stage.Renderer();
    const auto expectRefusals = [&] {
        const FrameParameters parameters{1, 0.25F};
        std::string reason;
        EXPECT_FALSE(MakeRendererCurrent(renderer, stage.Window().Handle()));
        EXPECT_FALSE(BuildPassGraph(renderer, reason));
        EXPECT_EQ(reason, "no usable OpenGL context");
        EXPECT_EQ(RenderFrame(&renderer, &parameters, 1, 0, 0), 0);
        EXPECT_EQ(ReadFrameIntoBitmap(&renderer, picture.Bitmap()), 0);
    };
    renderer.contextReady = 0;
    expectRefusals();
    renderer.contextReady = 1;
    renderer.glewReady = 0;
    expectRefusals();
    renderer.glewReady = 1;
    SwapEntryPoints();
    expectRefusals();
    DestroyGlRenderer(stage.Release());
    SwapEntryPoints();
}

using GlErrors = StageTest;

TEST_F(GlErrors, OneReportTakesOneError) {
    glEnable(0xFFFF);
    EXPECT_EQ(ReportGlError(), 1280U);
    const std::string line =
        "GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.";
    EXPECT_EQ(Said(), std::vector{line});
    EXPECT_EQ(ReportGlError(), 0U);
}

}  // namespace
}  // namespace pixelforge::test
