// Fixture of the engine's tests: a renderer on a hidden window, its pictures and its debugger output.
#pragma once

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "base/load_error.h"
#include "document/document_reader.h"
#include "glsl/include_preprocessor.h"
#include "preview/host/debug_capture.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "render/gl_context.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"
#include "render/render_frame.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// Red, green, blue, alpha.
using Color = std::array<int, 4>;

struct Picture : preview::HostSurface {
    using HostSurface::HostSurface;
    /// As in a shader, y counts upward from the lowest row.
    Color At(int x, int y) const {
        const auto bytes = Pixels().Row(Pixels().height - 1 - y).subspan(static_cast<std::size_t>(x) * 4, 4);
        return {bytes[2], bytes[1], bytes[0], bytes[3]};
    }
};

/// A `mainImage` with this body: `c` is the colour, `p` the coordinate, T(n) channel n's texel at `p`.
inline std::string Body(const std::string& body) {
    return "#define T(n) texelFetch(iChannel##n, ivec2(p), 0)\n" + MainImage(body);
}

/// A `mainCubemap` with this body: `c` is the colour, `ro` and `rd` origin and direction of the ray.
inline std::string CubeBody(const std::string& body) {
    return "void mainCubemap(out vec4 c, in vec2 p, in vec3 ro, in vec3 rd) { " + body + " }\n";
}

/// One renderer on a window of 64 x 48 pixels. Its context is current from the start.
struct Stage {
    Stage() : window(64, 48), renderer(CreateGlRenderer(window.Handle(), 64, 48)) {}

    Stage& Load(const DocumentBuilder& document) {
        renderer->document = ShaderDocument{};
        ReadShaderDocument(document.Json().c_str(), renderer->document);
        return *this;
    }
    /// A document with only an Image pass of this body.
    Stage& LoadImage(const std::string& body, const std::vector<Input>& inputs = {}) {
        return Load(DocumentBuilder().Image(Body(body), inputs));
    }

    /// False, with the reason, if the graph cannot be built.
    bool Build() {
        renderer->includes = includes.get();
        MakeRendererCurrent(*renderer, window.Handle());
        reason = FailureOf([this] { BuildPassGraph(*renderer); });
        return reason.empty();
    }

    /// Build the graph, draw a frame, read it back, or do all; a failure fails the test.
    void Start() { EXPECT_TRUE(Build()) << reason; }
    void Draw(float speed = 0.25F) {
        EXPECT_TRUE(MakeRendererCurrent(*renderer, window.Handle()));
        EXPECT_EQ(Render(speed), 1);
    }
    Picture Read() {
        Picture picture(static_cast<int>(renderer->resolution[0]), static_cast<int>(renderer->resolution[1]));
        EXPECT_EQ(ReadFrameIntoBitmap(renderer.get(), PixelsOf(picture.Bitmap())), 1);
        return picture;
    }
    Picture Frame(float speed = 0.25F) {
        Draw(speed);
        return Read();
    }
    Picture Show() {
        Start();
        return Frame();
    }
    /// The result of drawing, whether or not the context is current.
    std::int32_t Render(float speed = 0.25F) {
        const FrameParameters parameters{1, speed};
        return RenderFrame(renderer.get(), &parameters, 1, 0, 0);
    }

    preview::HostWindow window;
    HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    HeapRecord<GlRenderer> renderer;
    std::string reason;
};

/// A test with a stage, whose driver leaves white in new render targets, as memory in use before may hold
/// anything. Debugger output that the test does not consume fails it.
class StageTest : public testing::Test {
protected:
    StageTest() {
        static const auto attach = __glewFramebufferTexture2D;
        __glewFramebufferTexture2D = [](auto... arguments) {
            attach(arguments...);
            if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
                glClearColor(1, 1, 1, 1);
                glClear(GL_COLOR_BUFFER_BIT);
            }
        };
    }
    ~StageTest() override {
        SetSampleExponent(0);
        EXPECT_EQ(TakeLines(), std::vector<std::string>());
    }

    /// Returns the debugger output so far, and clears it.
    std::vector<std::string> TakeLines() {
        std::vector<std::string> lines = output_.Lines();
        output_.Clear();
        return lines;
    }

    preview::DebugCapture output_;
    Stage stage_;
};

}  // namespace pixelforge::test
