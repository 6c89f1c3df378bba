// The textures that a pass's channels read, and how they are sampled.
#pragma once

#include <cstdint>

#include "render/gl_renderer.h"

namespace pixelforge {

/// Takes type, source and sampler of a channel from the document and makes the texture of its medium. False,
/// with the channel left without a texture, for a channel outside 0 to 3, a slot above 7, and a medium that
/// GL cannot show, which is said on the debugger output.
bool CreateChannelTexture(GlRenderer& renderer, std::uint32_t passSlot, std::uint32_t channel);

/// Binds the pass's channels to texture units 0 to 3 and sets its sampler uniforms; the pass's program is
/// in use.
void BindChannels(GlRenderer& renderer, const PassSlot& slot);

/// Sets iChannelResolution of all passes, anew after each change of the render size.
void SetChannelResolutions(GlRenderer& renderer) noexcept;

}  // namespace pixelforge
