// Uploads of keyboard, sound and camera.
#include "render/live_textures.h"

#include <GL/glew.h>

#include "inputs/audio_capture.h"
#include "inputs/webcam_capture.h"
#include "render/frame_inputs.h"
#include "render/gl_diagnostics.h"

namespace pixelforge {
namespace {

struct LiveImage {
    GLint internalFormat;
    GLsizei width;
    GLsizei height;
    GLenum format;
    const void* pixels;  ///< one byte per component, bottom row first
};

void Upload(LiveTexture& live, const LiveImage& image) {
    glBindTexture(GL_TEXTURE_2D, live.texture.Get());
    glTexImage2D(GL_TEXTURE_2D, 0, image.internalFormat, image.width, image.height, 0, image.format,
                 GL_UNSIGNED_BYTE, image.pixels);
    glBindTexture(GL_TEXTURE_2D, 0);
    live.mipmapsStale = true;
    ReportGlError();
}

/// Uploaded as unsigned bytes into a signed-normalised format: 255 reaches the shader as 1.
void UploadKeyboard(GlRenderer& renderer) {
    KeyboardImage image;
    renderer.seenKeyboardChanges = HostInput().KeyboardChanges();
    HostInput().ReadKeyboard(image);
    Upload(renderer.keyboard,
           {GL_R8_SNORM, kKeyboardTextureWidth, kKeyboardTextureHeight, GL_RED, image.data()});
}

void UploadSpectrum(GlRenderer& renderer) {
    const SpectrumBytes bytes = CopyAudioSpectrum();
    Upload(renderer.audio, {GL_R8_SNORM, kAudioTextureWidth, kAudioTextureHeight, GL_RED, bytes.data()});
}

void UploadWebcam(GlRenderer& renderer) {
    if (const std::uint8_t* pixels = WebcamPixels()) {
        Upload(renderer.webcam, {GL_RGBA, kWebcamWidth, kWebcamHeight, GL_BGRA, pixels});
    }
}

}  // namespace

LiveTexture* LiveTextureOf(GlRenderer& renderer, ChannelType type) noexcept {
    switch (type) {
        case ChannelType::Keyboard:
            return &renderer.keyboard;
        case ChannelType::Audio:
            return &renderer.audio;
        case ChannelType::Webcam:
            return &renderer.webcam;
        default:
            return nullptr;
    }
}

void CreateLiveTexture(GlRenderer& renderer, ChannelType type) {
    LiveTexture* live = LiveTextureOf(renderer, type);
    if (!live || live->texture || (type == ChannelType::Webcam && !LoadWebcam())) {
        return;
    }
    live->texture = GlTexture::Create();
    switch (type) {
        case ChannelType::Keyboard:
            return UploadKeyboard(renderer);
        case ChannelType::Audio:
            return UploadSpectrum(renderer);
        default:
            return UploadWebcam(renderer);
    }
}

void RefreshLiveTextures(GlRenderer& renderer) {
    if (renderer.keyboard.texture && renderer.seenKeyboardChanges != HostInput().KeyboardChanges()) {
        UploadKeyboard(renderer);
    }
    if (renderer.webcam.texture) {
        const std::uint32_t picture = GrabWebcamFrame();
        if (picture != renderer.seenWebcamPicture) {
            renderer.seenWebcamPicture = picture;
            UploadWebcam(renderer);
        }
    }
    if (renderer.audio.texture) {
        UploadSpectrum(renderer);
    }
}

void ReleaseLiveTextures(GlRenderer& renderer) noexcept {
    renderer.keyboard = LiveTexture{};
    renderer.audio = LiveTexture{};
    renderer.webcam = LiveTexture{};
}

}  // namespace pixelforge
