// Textures of the live inputs: keyboard, sound and camera, one of each per renderer.
#pragma once

#include "document/shader_document.h"
#include "render/gl_renderer.h"

namespace pixelforge {

/// The renderer's texture for a live channel type; null for every other type.
LiveTexture* LiveTextureOf(GlRenderer& renderer, ChannelType type) noexcept;

/// For the first channel of a live type, creates the texture with the input's current state; a webcam channel
/// also opens the camera. Does nothing for other types.
void CreateLiveTexture(GlRenderer& renderer, ChannelType type);

/// Uploads what has changed since the last frame. Called once a frame.
void RefreshLiveTextures(GlRenderer& renderer);

void ReleaseLiveTextures(GlRenderer& renderer) noexcept;

}  // namespace pixelforge
