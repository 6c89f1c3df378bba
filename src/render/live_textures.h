// The textures that the machine itself feeds: keyboard, sound and camera, one of each for a renderer.
#pragma once

#include "document/shader_document.h"
#include "render/gl_renderer.h"

namespace pixelforge {

/// The renderer's texture of a live channel type, null for every other type.
LiveTexture* LiveTextureOf(GlRenderer& renderer, ChannelType type) noexcept;

/// Creates the texture of a live channel type at the first channel that has it, showing what is known so far,
/// and opens the camera for a webcam channel. Does nothing for other types.
void CreateLiveTexture(GlRenderer& renderer, ChannelType type);

/// Once a frame: uploads what has changed since the last one.
void RefreshLiveTextures(GlRenderer& renderer);

void ReleaseLiveTextures(GlRenderer& renderer) noexcept;

}  // namespace pixelforge
