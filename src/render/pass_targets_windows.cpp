// Creation and clearing of a pass's render targets.
#include "render/pass_targets.h"

#include <GL/glew.h>

#include <cmath>
#include <string>

#include "document/shader_document.h"
#include "render/frame_inputs.h"
#include "render/gl_diagnostics.h"

namespace pixelforge {
namespace {

/// Clears the bound framebuffer unless the driver refuses it.
void CheckAndClear(PassSlot& slot) noexcept {
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        slot.targetsRefused = true;
        return;
    }
    glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
}

void SetLinearClamped(GLenum target) noexcept {
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    if (target == GL_TEXTURE_CUBE_MAP) {
        glTexParameteri(target, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE);
    }
}

GlTexture CreateFlatTexture(GLenum format, std::int32_t width, std::int32_t height) {
    GlTexture texture = GlTexture::Create();
    glBindTexture(GL_TEXTURE_2D, texture.Get());
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, GL_RGBA, GL_FLOAT, nullptr);
    SetLinearClamped(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

/// A new framebuffer with the texture as its colour attachment, cleared and left bound.
GlFramebuffer CreateFramebuffer(PassSlot& slot, GLenum target, GlName texture) {
    GlFramebuffer framebuffer = GlFramebuffer::Create();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.Get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, target, texture, 0);
    CheckAndClear(slot);
    return framebuffer;
}

void BuildFlatTarget(const GlRenderer& renderer, PassSlot& slot, PassTarget& target, std::int32_t width,
                     std::int32_t height) {
    target.texture = CreateFlatTexture(renderer.bufferFormat, width, height);
    target.framebuffer = CreateFramebuffer(slot, GL_TEXTURE_2D, target.texture.Get());
}

void BuildMultisampledTarget(const GlRenderer& renderer, PassSlot& slot, PassTarget& target,
                             std::int32_t width, std::int32_t height) {
    target.texture = GlTexture::Create();
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, target.texture.Get());
    glTexImage2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, 1 << renderer.sampleExponent, renderer.bufferFormat,
                            width, height, GL_TRUE);
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, 0);
    target.framebuffer = CreateFramebuffer(slot, GL_TEXTURE_2D_MULTISAMPLE, target.texture.Get());
    if (slot.isRead) {
        target.resolvedTexture = CreateFlatTexture(renderer.bufferFormat, width, height);
        target.resolvedFramebuffer = CreateFramebuffer(slot, GL_TEXTURE_2D, target.resolvedTexture.Get());
    }
}

/// Clears all faces and leaves the first attached.
void BuildCubeTarget(PassSlot& slot, PassTarget& target) {
    target.texture = GlTexture::Create();
    glBindTexture(GL_TEXTURE_CUBE_MAP, target.texture.Get());
    for (GLenum face = 0; face < 6; ++face) {
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA16F, kCubeSize, kCubeSize, 0, GL_RGBA,
                     GL_FLOAT, nullptr);
    }
    SetLinearClamped(GL_TEXTURE_CUBE_MAP);
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    target.framebuffer = GlFramebuffer::Create();
    glBindFramebuffer(GL_FRAMEBUFFER, target.framebuffer.Get());
    for (GLenum face = 6; face-- > 0;) {
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face,
                               target.texture.Get(), 0);
        CheckAndClear(slot);
    }
}

std::int32_t RoundedSide(float side) noexcept {
    return static_cast<std::int32_t>(std::llround(side));
}

}  // namespace

void BuildPassTargets(GlRenderer& renderer, PassSlot& slot, std::int32_t width, std::int32_t height) {
    slot.targetsRefused = false;
    for (PassTarget& target : slot.targets) {
        target = PassTarget{};
        if (slot.targetsRefused) {
            continue;
        }
        if (slot.number == static_cast<std::uint32_t>(PassKind::CubeA)) {
            BuildCubeTarget(slot, target);
        } else if (IsMultisampled(renderer, slot)) {
            BuildMultisampledTarget(renderer, slot, target, width, height);
        } else {
            BuildFlatTarget(renderer, slot, target, width, height);
        }
        target.mipmapsStale = true;
        ReportGlError();
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (slot.targetsRefused) {
        ReportUndrawable(
            renderer, std::string("the driver rejects the render target of ") + PassNarrowName(slot.number));
    }
}

bool IsMultisampled(const GlRenderer& renderer, const PassSlot& slot) noexcept {
    return renderer.sampleExponent != 0 && slot.number != static_cast<std::uint32_t>(PassKind::CubeA);
}

PassTarget& NewestTarget(PassSlot& slot) noexcept {
    return slot.targets[(slot.current + 1) % 2];
}

void ResolveTarget(const GlRenderer& renderer, PassTarget& target) {
    if (!target.resolvedStale || !target.resolvedFramebuffer) {
        return;
    }
    const std::int32_t width = RenderWidth(renderer);
    const std::int32_t height = RenderHeight(renderer);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, target.framebuffer.Get());
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.resolvedFramebuffer.Get());
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    target.resolvedStale = false;
    target.mipmapsStale = true;
    ReportGlError();
}

std::int32_t RenderWidth(const GlRenderer& renderer) noexcept {
    return RoundedSide(renderer.resolution[0]);
}

std::int32_t RenderHeight(const GlRenderer& renderer) noexcept {
    return RoundedSide(renderer.resolution[1]);
}

}  // namespace pixelforge
