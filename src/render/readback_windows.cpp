// Brings the finished frame into a bitmap.
#include "render/readback.h"

#include <windows.h>

#include <GL/glew.h>

#include "base/bitmap.h"
#include "render/gl_context.h"
#include "render/gl_diagnostics.h"
#include "render/gl_renderer.h"
#include "render/pass_targets.h"

namespace pixelforge {

namespace {

struct TextureSize {
    GLint width;
    GLint height;
};

TextureSize SizeOf(GLenum target, GlName texture) {
    TextureSize size{};
    glBindTexture(target, texture);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_WIDTH, &size.width);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_HEIGHT, &size.height);
    glBindTexture(target, 0);
    ReportGlError();
    return size;
}

/// A plain texture with the average of the samples.
GlTexture ResolveForReading(GlName multisampledFramebuffer, TextureSize size) {
    GlTexture plain = NewTexture();
    glBindTexture(GL_TEXTURE_2D, plain.Get());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size.width, size.height, 0, GL_BGRA, GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    const GlFramebuffer framebuffer = NewFramebuffer();
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer.Get());
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, plain.Get(), 0);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, multisampledFramebuffer);
    glBlitFramebuffer(0, 0, size.width, size.height, 0, 0, size.width, size.height, GL_COLOR_BUFFER_BIT,
                      GL_NEAREST);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    ReportGlError();
    return plain;
}

/// No row is turned over: GL and a bottom-up section both begin with the lowest row.
void ReadTexture(GlName texture, void* bits) {
    GdiFlush();
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_BGRA, GL_UNSIGNED_BYTE, bits);
    glBindTexture(GL_TEXTURE_2D, 0);
    ReportGlError();
}

}  // namespace

std::int32_t ReadFrameIntoBitmap(GlRenderer* renderer, HBITMAP bitmap) {
    if (!renderer || !bitmap || !IsRendererCurrent(*renderer)) {
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
    const SectionPixels pixels = PixelsOf(bitmap);
    if (pixels.bitsPerPixel != 32 || pixels.width != size.width || pixels.height != size.height) {
        return 0;
    }
    if (multisampled) {
        ReadTexture(ResolveForReading(newest.framebuffer.Get(), size).Get(), pixels.bytes.data());
    } else {
        ReadTexture(newest.texture.Get(), pixels.bytes.data());
    }
    return 1;
}

}  // namespace pixelforge
