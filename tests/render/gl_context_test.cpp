// Names of a lost context are not deleted in another, and an unusable context is not used.
#include "render/gl_context.h"

#include <windows.h>

#include <GL/glew.h>
#include <GL/wglew.h>

#include <tuple>
#include <utility>

#include "base/load_error.h"
#include "render/gl_diagnostics.h"
#include "render/render_frame.h"
#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

TEST(GlContext, NamesAreNotDeletedInAForeignContext) {
    Stage foreign;
    foreign.LoadImage("c = vec4(1.0);").Show();
    const HGLRC foreignContext = wglGetCurrentContext();
    HeapRecord<GlRenderer> withoutWindow;
    HeapRecord<GlRenderer> onLostWindow;
    {
        const CurrentContextKeeper keeper;
        withoutWindow = CreateGlRenderer(nullptr, 64, 48);
        EXPECT_EQ(withoutWindow->contextReady, 1);
        EXPECT_FALSE(MakeRendererCurrent(*withoutWindow, nullptr)) << "no window to draw on";
        WNDCLASSEXW hidden = {};
        hidden.cbSize = sizeof(hidden);
        EXPECT_FALSE(GetClassInfoExW(GetModuleHandleW(nullptr), L"OGLHiddenWindowClass", &hidden));
        Stage stage;
        stage.LoadImage("c = vec4(1.0);").Show();
        onLostWindow = stage.Release();
    }
    DestroyGlRenderer(std::move(withoutWindow));
    DestroyGlRenderer(std::move(onLostWindow));
    ASSERT_EQ(wglGetCurrentContext(), foreignContext);
    // Created in the same order, the objects of all three have the same names.
    const GlRenderer& left = foreign.Renderer();
    EXPECT_TRUE(glIsVertexArray(left.vertexArray.Get()));
    EXPECT_TRUE(glIsBuffer(left.vertexBuffer.Get()));
    EXPECT_TRUE(glIsProgram(left.slots[7].program.Get()));
    for (const PassTarget& target : left.slots[7].targets) {
        EXPECT_TRUE(glIsTexture(target.texture.Get()));
        EXPECT_TRUE(glIsFramebuffer(target.framebuffer.Get()));
    }
}

/// Clears GLEW's entry points, as with a GL 1.1 driver, so that calling one crashes. A second call restores
/// them.
void SwapEntryPoints() {
    const auto swap = [](auto&... entries) {
        static auto saved = std::make_tuple(std::decay_t<decltype(entries)>()...);
        std::tie(entries...) = std::exchange(saved, std::make_tuple(entries...));
    };
    swap(__glewGenFramebuffers, __glewDeleteFramebuffers, __glewDeleteVertexArrays, __glewDeleteBuffers,
         __glewDeleteProgram, __glewUseProgram, __glewCreateShader);
}

TEST(GlContext, AnUnusableContextIsRefused) {
    Stage stage;
    const Picture picture = stage.LoadImage("c = vec4(1.0);").Show();
    GlRenderer& renderer = stage.Renderer();
    const auto expectRefusals = [&] {
        const FrameParameters parameters{1, 0.25F};
        EXPECT_FALSE(MakeRendererCurrent(renderer, stage.Window().Handle()));
        EXPECT_EQ(FailureOf([&] { BuildPassGraph(renderer); }), "no usable OpenGL context");
        EXPECT_EQ(RenderFrame(&renderer, &parameters, 1, 0, 0), 0);
        EXPECT_EQ(ReadFrameIntoBitmap(&renderer, PixelsOf(picture.Bitmap())), 0);
    };
    renderer.contextReady = 0;
    expectRefusals();
    renderer.contextReady = 1;
    renderer.glewReady = 0;
    expectRefusals();
    renderer.glewReady = 1;
    const auto status =
        std::exchange(__glewGetGraphicsResetStatus, []() -> GLenum { return GL_UNKNOWN_CONTEXT_RESET; });
    expectRefusals();
    __glewGetGraphicsResetStatus = status;
    expectRefusals();
    renderer.contextLost = false;
    SwapEntryPoints();
    expectRefusals();
    DestroyGlRenderer(stage.Release());
    SwapEntryPoints();
}

TEST(GlContext, IsLostOnAResetWhereTheDriverReportsThem) {
    const Stage first;  // loads the entry points
    __WGLEW_ARB_create_context_robustness = GL_TRUE;
    const Stage stage;
    GLint flags = 0;
    glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
    EXPECT_TRUE(flags & GL_CONTEXT_FLAG_ROBUST_ACCESS_BIT);
}

std::string driverCalls;

/// Notes each call of an entry point with a letter, for one scope.
template <char kLetter, class... Arguments>
class CallNote {
public:
    using Entry = void(GLAPIENTRY*)(Arguments...);
    explicit CallNote(Entry& entry) : entry_(entry) {
        original = std::exchange(entry, [](Arguments... arguments) {
            driverCalls += kLetter;
            original(arguments...);
        });
    }
    ~CallNote() { entry_ = original; }

private:
    static inline Entry original;
    Entry& entry_;
};

TEST(GlContext, AllPassesReachTheDriverBeforeTheFirstQuestion) {
    Stage stage;
    const CallNote<'c', GLuint> compile(__glewCompileShader);
    const CallNote<'l', GLuint> link(__glewLinkProgram);
    const CallNote<'s', GLuint, GLenum, GLint*> shaderState(__glewGetShaderiv);
    const CallNote<'p', GLuint, GLenum, GLint*> programState(__glewGetProgramiv);
    stage.Load(DocumentBuilder().Buffer('A', Body("c = p.xyxy;")).Image(Body("c = p.xyxy;"))).Show();
    EXPECT_EQ(driverCalls.substr(0, driverCalls.find_first_of("sp")), "cccll") << driverCalls;
}

using GlErrors = StageTest;

TEST_F(GlErrors, EachReportFetchesOneError) {
    glEnable(0xFFFF);
    EXPECT_EQ(ReportGlError(), 1280U);
    const std::string line =
        "GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.";
    EXPECT_EQ(TakeLines(), std::vector{line});
    EXPECT_EQ(ReportGlError(), 0U);
}

}  // namespace
}  // namespace pixelforge::test
