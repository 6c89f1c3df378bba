// Running the passes of a shader once.
#include <windows.h>

#include <GL/glew.h>

#include <algorithm>
#include <limits>

#include "render/channel_textures.h"
#include "render/cube_corners.h"
#include "render/frame_uniforms.h"
#include "render/gl_context.h"
#include "render/gl_diagnostics.h"
#include "render/gl_renderer.h"
#include "render/input_state.h"
#include "render/live_textures.h"
#include "render/pass_graph.h"
#include "render/pass_targets.h"
#include "render/window_input.h"

namespace pixelforge {

namespace {

bool IsCubeSlot(const PassSlot& slot) noexcept {
    return slot.number == static_cast<std::uint32_t>(PassKind::CubeA);
}

/// An empty rectangle is a minimised window, not a size to draw at.
void FollowWindowSize(GlRenderer& renderer) {
    if (!renderer.tracksWindowSize) {
        return;
    }
    const PixelRect client = ClientRectOf(renderer.hostWindow);
    if (client.Width() < 1 || client.Height() < 1 || client == renderer.hostClientRect) {
        return;
    }
    renderer.hostClientRect = client;
    renderer.resolution[0] = static_cast<float>(client.Width());
    renderer.resolution[1] = static_cast<float>(client.Height());
    renderer.resolution[2] = 1.0F;
    renderer.frameCounter = -1;
    SetChannelResolutions(renderer);
    for (PassSlot& slot : renderer.slots) {
        if (IsDrawableSlot(slot.number) && !IsCubeSlot(slot)) {
            BuildPassTargets(renderer, slot, RenderWidth(renderer), RenderHeight(renderer));
        }
    }
}

void UpdateMouse(GlRenderer& renderer) noexcept {
    const MouseReading mouse = HostInput().ReadMouse();
    const auto uniform = MouseUniform(mouse, mouse.clicks != renderer.seenClicks);
    renderer.seenClicks = mouse.clicks;
    std::copy(uniform.begin(), uniform.end(), renderer.mouse);
}

void UpdateDate(GlRenderer& renderer) noexcept {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const auto uniform =
        DateUniform(CalendarTime{now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond});
    std::copy(uniform.begin(), uniform.end(), renderer.date);
}

/// Shader time advances by the frame's speed, not by the clock.
void AdvanceFrameValues(GlRenderer& renderer, float speed) noexcept {
    renderer.time += speed;
    renderer.timeDelta = speed;
    UpdateMouse(renderer);
    UpdateDate(renderer);
    renderer.frameRate = FrameRateUniform(renderer.frameCounter, GetTickCount64() - renderer.startTick);
}

void SetPassUniforms(const GlRenderer& renderer, const PassSlot& slot) {
    static constexpr float kCubeResolution[3] = {kCubeSize, kCubeSize, 1.0F};
    const UniformLocations& at = slot.uniforms;
    glUniform3fv(at.resolution, 1, renderer.resolution);
    glUniform1f(at.time, renderer.time);
    glUniform4fv(at.mouse, 1, renderer.mouse);
    glUniform3fv(at.iResolution, 1, IsCubeSlot(slot) ? kCubeResolution : renderer.resolution);
    glUniform1f(at.iTime, renderer.time);
    glUniform1f(at.iTimeDelta, renderer.timeDelta);
    glUniform1f(at.iFrameRate, renderer.frameRate);
    glUniform1i(at.iFrame, std::max(renderer.frameCounter, 0));
    glUniform4fv(at.iDate, 1, renderer.date);
    glUniform4fv(at.iMouse, 1, renderer.mouse);
    glUniform1fv(at.iChannelTime, kChannels, slot.channelTime);
    glUniform3fv(at.iChannelResolution, kChannels, &slot.channelResolution[0].width);
    ReportGlError();
}

/// Waits for the picture: each one is complete before a reader binds it.
void DrawQuad(const GlRenderer& renderer) {
    glBindVertexArray(renderer.vertexArray.Get());
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glBindVertexArray(0);
    glFinish();
    ReportGlError();
}

void DrawCubeFaces(const GlRenderer& renderer, const PassSlot& slot, const PassTarget& target) {
    glViewport(0, 0, kCubeSize, kCubeSize);
    for (GLuint face = 0; face < 6; ++face) {
        glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer.Get());
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face,
                               target.texture.Get(), 0);
        glUniform3fv(slot.uniforms.cmCornerVertices, kCubeVectors, &kCubeCorners[face][0].x);
        DrawQuad(renderer);
    }
}

void DrawFlatTarget(const GlRenderer& renderer, const PassTarget& target) {
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer.Get());
    glViewport(0, 0, RenderWidth(renderer), RenderHeight(renderer));
    DrawQuad(renderer);
}

void DrawPass(GlRenderer& renderer, PassSlot& slot) {
    glUseProgram(slot.program.Get());
    SetPassUniforms(renderer, slot);
    BindChannels(renderer, slot);
    PassTarget& target = slot.targets[slot.current];
    if (IsCubeSlot(slot)) {
        DrawCubeFaces(renderer, slot, target);
    } else {
        DrawFlatTarget(renderer, target);
    }
    target.resolvedStale = true;
    target.mipmapsStale = true;
    slot.current = (slot.current + 1) % 2;
}

}  // namespace

std::int32_t RenderFrame(GlRenderer* renderer, const FrameParameters* parameters, std::int32_t, std::int32_t,
                         std::int32_t) {
    if (!renderer || !parameters || !IsRendererCurrent(*renderer)) {
        return 0;
    }
    FollowWindowSize(*renderer);
    AdvanceFrameValues(*renderer, parameters->speed);
    RefreshLiveTextures(*renderer);
    for (PassSlot& slot : renderer->slots) {
        if (IsDrawableSlot(slot.number)) {
            DrawPass(*renderer, slot);
        }
    }
    if (renderer->frameCounter < std::numeric_limits<std::int32_t>::max()) {
        ++renderer->frameCounter;
    }
    return 1;
}

}  // namespace pixelforge
