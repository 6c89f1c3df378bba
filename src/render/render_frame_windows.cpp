// The steps of a frame, and its read-back.
#include "render/render_frame.h"

#include <windows.h>

#include <GL/glew.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "render/channel_textures.h"
#include "render/frame_inputs.h"
#include "render/gl_context.h"
#include "render/gl_diagnostics.h"
#include "render/gl_renderer.h"
#include "render/live_textures.h"
#include "render/pass_targets.h"
#include "render/window_input.h"

namespace pixelforge {
namespace {

bool IsCubeSlot(const PassSlot& slot) noexcept {
    return slot.number == static_cast<std::uint32_t>(PassKind::CubeA);
}

/// An empty client area means a minimised window, not a size to draw at.
void FollowWindowSize(GlRenderer& renderer) {
    if (!renderer.tracksWindowSize) {
        return;
    }
    const PixelRect client = ClientRectOf(renderer.hostWindow);
    if (client.Width() < 1 || client.Height() < 1 ||
        (client.Width() == RenderWidth(renderer) && client.Height() == RenderHeight(renderer))) {
        return;
    }
    renderer.hostClientRect = client;
    SetResolution(renderer, client.Width(), client.Height());
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
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    const auto uniform =
        DateUniform(CalendarTime{now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond});
    std::copy(uniform.begin(), uniform.end(), renderer.date);
}

/// Shader time advances by the frame's speed, not by the clock.
void AdvanceFrameValues(GlRenderer& renderer, float speed) noexcept {
    renderer.exactTime += speed;
    renderer.time = static_cast<float>(renderer.exactTime);
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

/// Waits until the picture is complete, before any reader binds it.
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

bool HasRefusedTarget(const GlRenderer& renderer) noexcept {
    return std::any_of(std::begin(renderer.slots), std::end(renderer.slots),
                       [](const PassSlot& slot) { return slot.targetsRefused; });
}

struct TextureSize {
    GLint width;
    GLint height;
};

TextureSize SizeOf(GLenum target, GlName texture) {
    TextureSize size = {};
    glBindTexture(target, texture);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_WIDTH, &size.width);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_HEIGHT, &size.height);
    glBindTexture(target, 0);
    ReportGlError();
    return size;
}

/// A plain texture with the averaged samples; empty if the driver cannot draw into one.
GlTexture ResolveForReading(GlName multisampledFramebuffer, TextureSize size) {
    GlTexture plain = GlTexture::Create();
    glBindTexture(GL_TEXTURE_2D, plain.Get());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size.width, size.height, 0, GL_BGRA, GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    const GlFramebuffer framebuffer = GlFramebuffer::Create();
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer.Get());
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, plain.Get(), 0);
    const bool complete = glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    if (complete) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, multisampledFramebuffer);
        glBlitFramebuffer(0, 0, size.width, size.height, 0, 0, size.width, size.height, GL_COLOR_BUFFER_BIT,
                          GL_NEAREST);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    ReportGlError();
    return complete ? std::move(plain) : GlTexture();
}

/// Rows need no flip: GL and a bottom-up section both begin with the lowest row.
void ReadTexture(GlName texture, void* bits) {
    GdiFlush();
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_BGRA, GL_UNSIGNED_BYTE, bits);
    glBindTexture(GL_TEXTURE_2D, 0);
    ReportGlError();
}

}  // namespace

std::int32_t RenderFrame(GlRenderer* renderer, const FrameParameters* parameters, std::int32_t, std::int32_t,
                         std::int32_t) {
    if (!renderer || !parameters || !IsRendererCurrent(*renderer)) {
        return 0;
    }
    FollowWindowSize(*renderer);
    if (HasRefusedTarget(*renderer)) {
        return 0;
    }
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

std::int32_t ReadFrameIntoBitmap(GlRenderer* renderer, const SectionPixels& bitmap) {
    if (!renderer || bitmap.bytes.empty() || !IsRendererCurrent(*renderer)) {
        return 0;
    }
    PassSlot& slot = renderer->slots[static_cast<std::size_t>(PassKind::Image)];
    if (!IsDrawableSlot(slot.number)) {
        return 0;
    }
    const PassTarget& newest = NewestTarget(slot);
    const bool multisampled = IsMultisampled(*renderer, slot);
    const TextureSize size =
        SizeOf(multisampled ? GL_TEXTURE_2D_MULTISAMPLE : GL_TEXTURE_2D, newest.texture.Get());
    if (bitmap.bitsPerPixel != 32 || bitmap.width != size.width || bitmap.height != size.height) {
        return 0;
    }
    if (!multisampled) {
        ReadTexture(newest.texture.Get(), bitmap.bytes.data());
        return 1;
    }
    const GlTexture resolved = ResolveForReading(newest.framebuffer.Get(), size);
    if (!resolved) {
        ReportUndrawable(*renderer, "the driver rejects the texture for the averaged samples");
        return 0;
    }
    ReadTexture(resolved.Get(), bitmap.bytes.data());
    return 1;
}

}  // namespace pixelforge
