// Building the passes of a shader.
#include "render/pass_graph.h"

#include <windows.h>

#include <GL/glew.h>

#include <string>

#include "base/load_error.h"
#include "glsl/pass_source.h"
#include "render/channel_textures.h"
#include "render/gl_context.h"
#include "render/gl_diagnostics.h"
#include "render/gl_renderer.h"
#include "render/live_textures.h"
#include "render/pass_program.h"
#include "render/pass_targets.h"
#include "render/window_input.h"

namespace pixelforge {
namespace {

std::uint32_t bufferFormat = GL_RGBA32F;
std::int32_t sampleExponent = 0;

void CheckRenderSize(const GlRenderer& renderer) {
    GLint largest = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    const std::int32_t width = RenderWidth(renderer);
    const std::int32_t height = RenderHeight(renderer);
    if (width < 1 || width > largest || height < 1 || height > largest) {
        throw LoadError("cannot draw " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
    }
}

void ReadVersion() {
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    SetVersionLine(major, minor);
    ReportGlError();
}

void ApplyBuildSettings(GlRenderer& renderer) noexcept {
    renderer.sampleExponent = sampleExponent;
    renderer.bufferFormat = bufferFormat;
}

void RestartClock(GlRenderer& renderer) noexcept {
    renderer.startTick = GetTickCount64();
    renderer.exactTime = 0.0;
    renderer.time = 0.0F;
    renderer.frameCounter = -1;
}

/// Only a frame of the window's size follows the window; any other keeps its size permanently.
void DecideSizeTracking(GlRenderer& renderer) noexcept {
    const PixelRect client = ClientRectOf(renderer.hostWindow);
    renderer.tracksWindowSize =
        client.Width() == RenderWidth(renderer) && client.Height() == RenderHeight(renderer);
}

void CreateSlots(GlRenderer& renderer) {
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        renderer.slots[number] = PassSlot{};
        if (IsDrawableSlot(number) && renderer.document.passes[number].kind != PassKind::Other) {
            renderer.slots[number].number = number;
        }
    }
}

ProgramBuild AssembleTexts(GlRenderer& renderer) {
    ProgramBuild programs;
    for (PassSlot& slot : renderer.slots) {
        if (IsDrawableSlot(slot.number)) {
            programs.Add(slot, renderer.document, renderer.includes);
        }
    }
    return programs;
}

void BuildPrograms(GlRenderer& renderer, const StepObserver& onStep) {
    ProgramBuild programs = AssembleTexts(renderer);
    onStep("text");
    programs.StartCompiling();
    onStep("compile");
    programs.StartLinking();
    programs.Finish();
    onStep("link");
}

/// Runs after the programs: a shader that does not compile uploads no media and opens no camera.
void CreateChannels(GlRenderer& renderer) {
    for (const PassSlot& slot : renderer.slots) {
        for (std::uint32_t channel = 0; IsDrawableSlot(slot.number) && channel < kChannels; ++channel) {
            CreateChannelTexture(renderer, slot.number, channel);
        }
    }
    SetChannelResolutions(renderer);
}

void BuildTargets(GlRenderer& renderer) {
    for (PassSlot& slot : renderer.slots) {
        if (IsDrawableSlot(slot.number)) {
            BuildPassTargets(renderer, slot, RenderWidth(renderer), RenderHeight(renderer));
        }
    }
}

/// After a failure the slots keep texts and logs but no GL objects.
void ReleaseGlObjects(GlRenderer& renderer) noexcept {
    for (PassSlot& slot : renderer.slots) {
        slot.program.Reset();
        for (ChannelSlot& channel : slot.channels) {
            channel = ChannelSlot{};
        }
        for (PassTarget& target : slot.targets) {
            target = PassTarget{};
        }
        slot.number = 0;
    }
    ReleaseLiveTextures(renderer);
}

/// Releases the graph's GL objects unless the build completes.
class BuildGuard {
public:
    explicit BuildGuard(GlRenderer& renderer) noexcept : renderer_(&renderer) {}
    ~BuildGuard() {
        if (renderer_) {
            ReleaseGlObjects(*renderer_);
        }
    }
    BuildGuard(const BuildGuard&) = delete;
    BuildGuard& operator=(const BuildGuard&) = delete;

    void Dismiss() noexcept { renderer_ = nullptr; }

private:
    GlRenderer* renderer_;
};

void ReportMissingImage(GlRenderer& renderer) {
    if (!IsDrawableSlot(renderer.slots[static_cast<std::size_t>(PassKind::Image)].number)) {
        ReportUndrawable(renderer, "the shader has no Image pass");
    }
}

}  // namespace

void SetBufferFormat(bool fastBuffers) noexcept {
    bufferFormat = fastBuffers ? GL_RGBA8 : GL_RGBA32F;
}

void SetSampleExponent(std::int32_t exponent) noexcept {
    if (exponent < 0 || exponent > 30 || !IsGlUsable()) {
        return;
    }
    GLint highest = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &highest);
    if (1 << exponent <= highest) {
        sampleExponent = exponent;
    }
}

std::int32_t SampleExponent() noexcept {
    return sampleExponent;
}

void BuildPassGraph(GlRenderer& renderer, const StepObserver& onStep) {
    if (!IsRendererCurrent(renderer)) {
        throw LoadError("no usable OpenGL context");
    }
    CheckRenderSize(renderer);
    ReadVersion();
    ApplyBuildSettings(renderer);
    RestartClock(renderer);
    CreateSlots(renderer);
    BuildGuard guard(renderer);
    const StepObserver observe = onStep ? onStep : [](const char*) {};
    BuildPrograms(renderer, observe);
    CreateChannels(renderer);
    observe("media");
    BuildTargets(renderer);
    observe("targets");
    guard.Dismiss();
    DecideSizeTracking(renderer);
    ReportMissingImage(renderer);
}

}  // namespace pixelforge
