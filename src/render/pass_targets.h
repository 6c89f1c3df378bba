// A pass's pair of render targets, and the resolved copies of multisampled ones.
#pragma once

#include <cstdint>

#include "render/gl_renderer.h"

namespace pixelforge {

/// Replaces the slot's targets with cleared ones: six faces of fixed size for the cube pass, otherwise flat
/// ones of the given size in pixels with the renderer's format and sample count. If the driver refuses one,
/// sets `targetsRefused` and reports it; the slot's targets are then incomplete.
void BuildPassTargets(GlRenderer& renderer, PassSlot& slot, std::int32_t width, std::int32_t height);

/// True if the slot's targets are multisampled textures.
bool IsMultisampled(const GlRenderer& renderer, const PassSlot& slot) noexcept;

/// The member of the pair with the newest finished picture.
PassTarget& NewestTarget(PassSlot& slot) noexcept;

/// Updates the resolved copy of a multisampled target.
void ResolveTarget(const GlRenderer& renderer, PassTarget& target);

/// Sides of the flat targets in pixels: the renderer's resolution, rounded half away from zero.
std::int32_t RenderWidth(const GlRenderer& renderer) noexcept;
std::int32_t RenderHeight(const GlRenderer& renderer) noexcept;

}  // namespace pixelforge
