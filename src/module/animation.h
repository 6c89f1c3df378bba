// Control animation: updates the working state once a frame, before the picture is drawn.
#pragma once

#include "base/random.h"
#include "module/module_instance.h"

namespace pixelforge {

/// Bits of `ModuleInstance::animationFlags`.
namespace animation {
inline constexpr std::uint32_t kModeFromControl = 0x01;
inline constexpr std::uint32_t kStepWidth = 0x02;
inline constexpr std::uint32_t kMode13 = 0x04;
inline constexpr std::uint32_t kMultiColor = 0x08;
inline constexpr std::uint32_t kColor = 0x10;
inline constexpr std::uint32_t kTiling = 0x40;
inline constexpr std::uint32_t kSubBlocks = 0x80;
inline constexpr std::uint32_t kDefault = 0x80000150;
}  // namespace animation

/// Starts the blocks selected by the flags; part of every initialisation. `width` is the output's, in pixels.
void StartAnimations(ModuleInstance& instance, std::int32_t width,
                     RandomSource random = SystemRandom) noexcept;

/// One frame: copies the controls' values into the working state, then advances the blocks that the flags
/// select.
void AnimateFrame(ModuleInstance& instance, const DrawContext& context) noexcept;

}  // namespace pixelforge
