// Building the passes of a shader.
#include "render/pass_graph.h"

#include <windows.h>

#include <GL/glew.h>

#include <string>

#include "base/debug_output.h"
#include "glsl/pass_source.h"
#include "render/build_settings.h"
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

bool CheckRenderSize(const GlRenderer& renderer, std::string& reason) {
    GLint largest = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    const std::int32_t width = renderer.renderRect.Width();
    const std::int32_t height = renderer.renderRect.Height();
    if (width >= 1 && width <= largest && height >= 1 && height <= largest) {
        return true;
    }
    reason = "cannot draw " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
    return false;
}

void ReadVersion() {
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    SetVersionLine(major, minor);
    ReportGlError();
}

void TakeBuildSettings(GlRenderer& renderer) noexcept {
    renderer.sampleExponent = SampleExponent();
    renderer.bufferFormat = BufferFormat();
}

void RestartClock(GlRenderer& renderer) noexcept {
    renderer.startTick = GetTickCount64();
    renderer.time = 0.0F;
    renderer.frameCounter = -1;
}

/// The window is followed only by a frame that has its size; one of another size keeps it for good.
void DecideSizeTracking(GlRenderer& renderer) noexcept {
    const PixelRect client = ClientRectOf(renderer.hostWindow);
    renderer.tracksWindowSize =
        client.Width() == renderer.renderRect.Width() && client.Height() == renderer.renderRect.Height();
    if (renderer.tracksWindowSize) {
        renderer.hostClientRect = client;
    }
}

void CreateSlots(GlRenderer& renderer) {
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        renderer.slots[number] = PassSlot{};
        if (IsDrawableSlot(number) && renderer.document.passes[number].kind != PassKind::Other) {
            renderer.slots[number].number = number;
        }
    }
}

bool BuildPrograms(GlRenderer& renderer, std::string& reason) {
    const GlShader vertexShader = CompileVertexStage(reason);
    if (!vertexShader) {
        return false;
    }
    for (PassSlot& slot : renderer.slots) {
        if (IsDrawableSlot(slot.number) &&
            !BuildPassProgram(slot, renderer.document, renderer.includes, vertexShader, reason)) {
            return false;
        }
    }
    return true;
}

/// Behind the programs: a shader that does not compile uploads no media and opens no camera.
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

/// After a failure the slots keep texts and logs, but nothing that costs the driver memory.
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

void MentionMissingImage(const GlRenderer& renderer) {
    if (!IsDrawableSlot(renderer.slots[static_cast<std::size_t>(PassKind::Image)].number)) {
        WriteDebugLine("the shader has no Image pass: nothing can be read back");
    }
}

}  // namespace

bool BuildPassGraph(GlRenderer& renderer, std::string& reason) {
    if (!IsRendererCurrent(renderer)) {
        reason = "no usable OpenGL context";
        return false;
    }
    if (!CheckRenderSize(renderer, reason)) {
        return false;
    }
    ReadVersion();
    TakeBuildSettings(renderer);
    RestartClock(renderer);
    CreateSlots(renderer);
    if (!BuildPrograms(renderer, reason)) {
        ReleaseGlObjects(renderer);
        return false;
    }
    CreateChannels(renderer);
    BuildTargets(renderer);
    DecideSizeTracking(renderer);
    MentionMissingImage(renderer);
    return true;
}

}  // namespace pixelforge
