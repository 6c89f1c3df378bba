// What the engine's tests draw on: a hidden window, a renderer, a document put together pass by pass, the
// picture read back, and what reached the debugger output meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "base/heap.h"
#include "base/win_handles.h"
#include "glsl/include_preprocessor.h"
#include "render/gl_renderer.h"

namespace pixelforge::test {

class HiddenTestWindow {
public:
    HiddenTestWindow(int width, int height);
    HWND Get() const { return window_.Get(); }
    void Resize(int width, int height);
    void Destroy() { window_.Reset(); }

private:
    UniqueWindow window_;
};

/// Collects the debugger output of this process while it lives.
class DebugOutput {
public:
    DebugOutput();
    ~DebugOutput();
    DebugOutput(const DebugOutput&) = delete;
    DebugOutput& operator=(const DebugOutput&) = delete;

    /// The single writes so far, which are forgotten by this.
    std::vector<std::string> Take();

private:
    void* handler_;
};

struct Color {
    int r, g, b, a;
    bool operator==(const Color&) const = default;
};

void PrintTo(const Color& color, std::ostream* out);

/// A 32-bit picture; y counts upward from the lowest row, as in a shader.
class Picture {
public:
    Picture(int width, int height);
    HBITMAP Bitmap() const { return bitmap_.Get(); }
    Color At(int x, int y) const;

private:
    UniqueBitmap bitmap_;
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

/// One renderer on a window. Its context is current from the start; `Frame` makes it current anew.
class Stage {
public:
    explicit Stage(HWND window, int width = 64, int height = 48);

    /// Forgets the passes of the document so far.
    Stage& Clear();
    Stage& Pass(PassKind kind, const std::string& code, std::initializer_list<Channel> channels = {});
    /// A pass whose `mainImage` has this body; the colour is `c`, the coordinate `p`. In it, T(n) is the
    /// texel of channel n at this place.
    Stage& Body(PassKind kind, const std::string& body, std::initializer_list<Channel> channels = {});

    bool Build();
    const std::string& Reason() const { return reason_; }

    /// Draws one frame and reads it back; fails the test when either does not work.
    Picture Frame(float speed = 0.25F);
    void Draw(float speed = 0.25F);
    Picture Read();

    GlRenderer& Renderer() { return *renderer_; }
    HeapRecord<GlRenderer> Release() { return std::move(renderer_); }

private:
    HWND window_;
    HeapRecord<GlRenderer> renderer_;
    HeapRecord<IncludeContext> includes_ = NewHeapRecord<IncludeContext>();
    std::string reason_;
};

/// Gives tests a stage of 64 x 48 pixels. What a test leaves on the debugger output fails it.
class StageTest : public testing::Test {
protected:
    ~StageTest() override { EXPECT_EQ(output_.Take(), std::vector<std::string>()); }

    HiddenTestWindow window_{64, 48};
    Stage stage_{window_.Get()};
    DebugOutput output_;
};

/// The process's sample exponent for one scope; single samples before and after.
struct SampleScope {
    explicit SampleScope(int exponent);
    ~SampleScope();
};

}  // namespace pixelforge::test
