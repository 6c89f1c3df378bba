// The textures that a pass's channels read, and how they are sampled.
#pragma once

#include <cstdint>

#include "render/gl_renderer.h"

namespace pixelforge {

/// Sets a channel's type, source and sampler from the document and creates the texture of its medium. False
/// for a channel outside 0 to 3, a slot above 7, or a medium that GL cannot show; in the last case the
/// channel has no texture and the reason goes to the debugger output.
bool CreateChannelTexture(GlRenderer& renderer, std::uint32_t passSlot, std::uint32_t channel);

/// Binds the pass's channels to texture units 0 to 3 and sets the sampler uniforms of its program, which is
/// in use.
void BindChannels(GlRenderer& renderer, const PassSlot& slot);

/// Sets iChannelResolution of all passes; called again after each change of the render size.
void SetChannelResolutions(GlRenderer& renderer) noexcept;

}  // namespace pixelforge
