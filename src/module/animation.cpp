// The colour progression, the tiling values and the host framework's animation blocks.
#include "module/animation.h"

#include <limits>

#include "module/controls.h"

namespace pixelforge {
namespace {

constexpr std::int32_t kMode13AnimationMode = 13;
constexpr std::int32_t kSubBlockAnimationMode = 29;
constexpr std::int32_t kFreshMultiColorMode = 2;

/// Truncates toward zero; out-of-range values saturate and a NaN is 0.
std::int32_t Truncate(float value) noexcept {
    if (!(value == value)) {
        return 0;
    }
    if (value >= 2147483648.0F) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < -2147483648.0F) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

std::int32_t Saturate(std::int64_t value) noexcept {
    if (value > std::numeric_limits<std::int32_t>::max()) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < std::numeric_limits<std::int32_t>::min()) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

/// Converts a step control of the host framework to pixels; 1 means no step.
std::int32_t StepPixels(const ControlRecord* control, std::int32_t width) noexcept {
    const std::int64_t value = control ? control->whole.value[0] : 1;
    return Saturate((value - 1) * width / 300);
}

void StartFrameworkAnimation(FrameworkAnimation& block, std::int32_t mode) noexcept {
    block = {mode, 0};
}

void AdvanceFrameworkAnimation(FrameworkAnimation& block) noexcept {
    ++block.steps;
}

void SeedMultiColor(ModuleInstance& instance, std::int32_t mode, std::int32_t width) noexcept {
    MultiColorBlock& block = instance.multiColor;
    for (int i = 0; i < 3; ++i) {
        block.entrySteps[i] = StepPixels(block.entryControls[i], width);
    }
    block.mode = mode;
}

void DrawFreshPhases(ModuleInstance& instance, RandomSource random) noexcept {
    for (float& position : instance.colorPosition) {
        position = static_cast<float>(random() >> 8) * 0x1p-24F;  // 24 bits, so never rounded up to 1
    }
    instance.multiColor.mode %= 5;
    instance.multiColor.currentEntry %= 3;
}

/// The highest colour index of a palette of `levelDivisor` colours.
float LastColor(std::int32_t levelDivisor) noexcept {
    return static_cast<float>(static_cast<std::int64_t>(levelDivisor) - 1);
}

/// The index of the colour at the fraction `value` (0 to 1) of the host's palette.
std::int32_t PaletteIndex(std::int32_t levelDivisor, float value) noexcept {
    return levelDivisor == 0 ? 0 : Truncate(LastColor(levelDivisor) * value);
}

void ApplyColorControls(ModuleInstance& instance, std::int32_t levelDivisor) noexcept {
    ColorBlock& color = instance.color;
    color.enabled = 1;
    color.progress = DecimalValue(instance, control::kColorIndex);
    color.index = PaletteIndex(levelDivisor, color.progress);
    color.rate = DecimalValue(instance, control::kProgressionRate) / LastColor(levelDivisor);
    if (levelDivisor != 0 && color.stripeToggle && SwitchValue(instance, control::kAlternateColors)) {
        const std::int64_t shifted = static_cast<std::int64_t>(levelDivisor) / 2 + color.index;
        color.index = static_cast<std::int32_t>(shifted % levelDivisor);
    }
}

void ApplyTilingControls(ModuleInstance& instance) noexcept {
    TilingBlock& tiling = instance.tiling;
    tiling.tilesX = WholeValue(instance, control::kXTiling);
    tiling.tilesY = WholeValue(instance, control::kYTiling);
    tiling.flipOddTiles = SwitchValue(instance, control::kMirroring) ? 1 : 0;
    if (tiling.tileMask) {
        tiling.tileMask->mask.gridSize[0] = tiling.tilesX;
        tiling.tileMask->mask.gridSize[1] = tiling.tilesY;
    }
}

/// Flags 0x20 and 0x80, and a fifth tiling value without flag 0x80000000, belong to groups of the host
/// framework for which this module declares no controls.
void ApplyControls(ModuleInstance& instance, const DrawContext& context) noexcept {
    using namespace animation;
    const std::uint32_t flags = instance.animationFlags;
    if ((flags & (kModeFromControl | kMultiColor)) && instance.multiColor.modeControl) {
        instance.progressionMode = instance.multiColor.modeControl->whole.value[0];
    }
    if (flags & kStepWidth) {
        instance.multiColor.stepWidth = StepPixels(instance.multiColor.stepControl, context.width);
    }
    if (flags & kMultiColor) {
        SeedMultiColor(instance, instance.progressionMode, context.width);
    }
    if (flags & kColor) {
        ApplyColorControls(instance, context.levelDivisor);
    }
    if (flags & animation::kTiling) {
        ApplyTilingControls(instance);
    }
}

/// Keeps the progress within 0 to 1; at either end, and on a NaN, the direction reverses.
void StepProgress(ColorBlock& color) noexcept {
    color.progress += color.rate;
    if (color.progress > 1.0F) {
        color.progress = 1.0F;
    } else if (!(color.progress >= 0.0F)) {
        color.progress = 0.0F;
    } else {
        return;
    }
    color.rate = -color.rate;
}

void AdvanceColor(ModuleInstance& instance, std::int32_t levelDivisor) noexcept {
    ColorBlock& color = instance.color;
    if (!color.enabled) {
        return;
    }
    StepProgress(color);
    const bool wasToggled = color.stripeToggle != 0;
    color.stripeToggle = wasToggled ? 0 : 1;
    color.index = PaletteIndex(levelDivisor, color.progress);
    if (levelDivisor != 0 && !wasToggled && SwitchValue(instance, control::kAlternateColors)) {
        color.index = Saturate(static_cast<std::int64_t>(levelDivisor) - color.index);
    }
}

}  // namespace

void StartAnimations(ModuleInstance& instance, std::int32_t width, RandomSource random) noexcept {
    const std::uint32_t flags = instance.animationFlags;
    if (flags & animation::kMode13) {
        StartFrameworkAnimation(instance.mode13Block, kMode13AnimationMode);
    }
    if (flags & animation::kMultiColor) {
        SeedMultiColor(instance, kFreshMultiColorMode, width);
        DrawFreshPhases(instance, random);
    }
    if (flags & animation::kSubBlocks) {
        for (FrameworkAnimation& block : instance.subBlocks) {
            StartFrameworkAnimation(block, kSubBlockAnimationMode);
        }
    }
}

void AnimateFrame(ModuleInstance& instance, const DrawContext& context) noexcept {
    ApplyControls(instance, context);
    const std::uint32_t flags = instance.animationFlags;
    if (flags & animation::kMode13) {
        AdvanceFrameworkAnimation(instance.mode13Block);
    }
    if (flags & animation::kMultiColor) {
        for (int i = 0; i < 3; ++i) {
            instance.colorPosition[i] += instance.colorDelta[i];
        }
    }
    if (flags & animation::kColor) {
        AdvanceColor(instance, context.levelDivisor);
    }
    if (flags & animation::kSubBlocks) {
        for (FrameworkAnimation& block : instance.subBlocks) {
            AdvanceFrameworkAnimation(block);
        }
    }
}

}  // namespace pixelforge
