// What the engine's tests draw on: a renderer on a hidden window, documents, the picture read back, and what
// reached the debugger output meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap.h"
#include "glsl/include_preprocessor.h"
#include "preview/host/debug_capture.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "render/build_settings.h"
#include "render/gl_renderer.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

struct Color {
    int r, g, b, a;
    bool operator==(const Color&) const = default;
};

void PrintTo(const Color& color, std::ostream* out);

/// A 32-bit picture; y counts upward from the lowest row, as in a shader.
class Picture {
public:
    Picture(int width, int height) : surface_(width, height) {}
    HBITMAP Bitmap() const { return surface_.Bitmap(); }
    Color At(int x, int y) const;

private:
    preview::HostSurface surface_;
};

/// A `mainImage` with this body; the colour is `c`, the coordinate `p`, and T(n) the texel of channel n
/// there.
std::string Body(const std::string& body);

/// One renderer on a window of 64 x 48 pixels. Its context is current from the start; frames make it current
/// anew.
class Stage {
public:
    Stage();

    Stage& Load(const DocumentBuilder& document);
    /// A document with nothing but an Image pass of this body.
    Stage& LoadImage(const std::string& body, const std::vector<Input>& inputs = {});

    bool Build();
    const std::string& Reason() const { return reason_; }

    /// Draws a frame and reads it back; each fails the test when it does not work.
    void Draw(float speed = 0.25F);
    Picture Read();
    Picture Frame(float speed = 0.25F);
    /// The document's first frame.
    Picture Show();

    preview::HostWindow& Window() { return window_; }
    GlRenderer& Renderer() { return *renderer_; }
    HeapRecord<GlRenderer> Release() { return std::move(renderer_); }

private:
    preview::HostWindow window_{64, 48};
    HeapRecord<GlRenderer> renderer_ = CreateGlRenderer(window_.Handle(), 64, 48);
    HeapRecord<IncludeContext> includes_ = NewHeapRecord<IncludeContext>();
    std::string reason_;
};

/// Gives tests a stage. What a test leaves on the debugger output fails it.
class StageTest : public testing::Test {
protected:
    ~StageTest() override { EXPECT_EQ(Said(), std::vector<std::string>()); }

    /// The lines on the debugger output so far, which are forgotten by this.
    std::vector<std::string> Said();

    preview::DebugCapture output_;
    Stage stage_;
};

/// The process's sample exponent for one scope; single samples afterwards.
struct SampleScope {
    explicit SampleScope(int exponent) { SetSampleExponent(exponent); }
    ~SampleScope() { SetSampleExponent(0); }
};

}  // namespace pixelforge::test
