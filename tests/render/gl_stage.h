// What the engine's tests draw on: a renderer on a hidden window, a document put together pass by pass, the
// picture read back, and what reached the debugger output meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "base/heap.h"
#include "glsl/include_preprocessor.h"
#include "preview/debug_capture.h"
#include "preview/host_surface.h"
#include "preview/host_window.h"
#include "render/build_settings.h"
#include "render/gl_renderer.h"

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

struct Channel {
    std::uint32_t number;
    ChannelType type = ChannelType::Buffer;
    PassKind source = PassKind::Other;
    std::uint32_t filter = kFilterNearest;
    std::uint32_t wrap = kWrapClamp;
};

inline Channel Reads(std::uint32_t number, PassKind source, std::uint32_t filter = kFilterNearest,
                     std::uint32_t wrap = kWrapClamp) {
    const bool cube = source == PassKind::CubeA;
    return {number, cube ? ChannelType::CubeBuffer : ChannelType::Buffer, source, filter, wrap};
}

/// One renderer on a window of 64 x 48 pixels. Its context is current from the start; frames make it current
/// anew.
class Stage {
public:
    Stage();

    /// Forgets the passes of the document so far.
    Stage& Clear();
    Stage& Pass(PassKind kind, const std::string& code, std::initializer_list<Channel> channels = {});
    /// A pass whose `mainImage` has this body; the colour is `c`, the coordinate `p`. In it, T(n) is the
    /// texel of channel n at this place.
    Stage& Body(PassKind kind, const std::string& body, std::initializer_list<Channel> channels = {});

    bool Build();
    const std::string& Reason() const { return reason_; }

    /// Draws a frame and reads it back; each fails the test when it does not work.
    void Draw(float speed = 0.25F);
    Picture Read();
    Picture Frame(float speed = 0.25F);
    /// The first frame of the passes.
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
