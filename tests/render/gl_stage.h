// Fixture of the engine's tests: a renderer on a hidden window, its pictures and its debugger output.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "base/heap.h"
#include "glsl/include_preprocessor.h"
#include "preview/host/debug_capture.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// Red, green, blue, alpha.
using Color = std::array<int, 4>;

struct Picture : preview::HostSurface {
    using HostSurface::HostSurface;
    /// As in a shader, y counts upward from the lowest row.
    Color At(int x, int y) const;
};

/// A `mainImage` with this body: `c` is the colour, `p` the coordinate, T(n) channel n's texel at `p`.
std::string Body(const std::string& body);

/// One renderer on a window of 64 x 48 pixels. Its context is current from the start; each frame makes it
/// current again.
struct Stage {
    Stage();

    Stage& Load(const DocumentBuilder& document);
    /// A document with only an Image pass of this body.
    Stage& LoadImage(const std::string& body, const std::vector<Input>& inputs = {});

    /// False, with the reason, if the graph cannot be built.
    bool Build();

    /// Build the graph, draw a frame, read it back, or do all; a failure fails the test.
    void Start();
    void Draw(float speed = 0.25F);
    Picture Read();
    Picture Frame(float speed = 0.25F);
    Picture Show();

    preview::HostWindow window{64, 48};
    HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    HeapRecord<GlRenderer> renderer;
    std::string reason;
};

/// A test with a stage, whose driver leaves white in new render targets, as memory in use before may hold
/// anything. Debugger output that the test does not consume fails it.
class StageTest : public testing::Test {
protected:
    StageTest();
    ~StageTest() override;

    /// Returns the debugger output so far, and clears it.
    std::vector<std::string> TakeLines();

    preview::DebugCapture output_;
    Stage stage_;
};

}  // namespace pixelforge::test
