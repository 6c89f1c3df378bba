// A pass's pair of render targets, and the plain copies of multisampled ones.
#pragma once

#include <cstdint>

#include "render/gl_renderer.h"

namespace pixelforge {

/// Releases the slot's targets and creates them again, cleared: six faces of fixed size for the cube pass,
/// otherwise flat ones of the given size in pixels, with the renderer's format and sample count.
void BuildPassTargets(const GlRenderer& renderer, PassSlot& slot, std::int32_t width, std::int32_t height);

/// True when the slot's targets are multisampled textures.
bool IsMultisampled(const GlRenderer& renderer, const PassSlot& slot) noexcept;

/// The member of the pair that holds the newest finished picture.
PassTarget& NewestTarget(PassSlot& slot) noexcept;

/// Brings the plain copy of a multisampled target up to date.
void ResolveTarget(const GlRenderer& renderer, PassTarget& target);

/// Side of the flat targets in pixels: the renderer's resolution, rounded half away from zero.
std::int32_t RenderWidth(const GlRenderer& renderer) noexcept;
std::int32_t RenderHeight(const GlRenderer& renderer) noexcept;

}  // namespace pixelforge
