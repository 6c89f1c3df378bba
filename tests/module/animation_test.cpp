// The colour progression, frame by frame.
#include "module/animation.h"

#include <gtest/gtest.h>

#include <limits>

namespace pixelforge {
namespace {

/// An instance with the records that the progression reads.
struct Animated {
    ControlRecord colorIndex{}, progressionRate{}, alternateColors{};
    ModuleInstance instance{};
    DrawContext context{};

    explicit Animated(std::int32_t levelDivisor = 256) {
        instance.animationFlags = animation::kDefault;
        instance.color.colorIndex = &colorIndex;
        instance.color.progressionRate = &progressionRate;
        instance.color.alternateColors = &alternateColors;
        context.levelDivisor = levelDivisor;
    }

    std::int32_t IndexAfterFrame() {
        AnimateFrame(instance, context);
        return instance.color.index;
    }
};

TEST(Animation, TheColourIndexFollowsItsControlPlusOneStep) {
    Animated animated;
    animated.colorIndex.decimal.value[0] = 0.5f;
    animated.progressionRate.decimal.value[0] = 25.5f;
    // rate = 25.5 / 255 = 0.1, so the frame shows progress 0.6 of 255
    EXPECT_EQ(animated.IndexAfterFrame(), 153);
    EXPECT_EQ(animated.IndexAfterFrame(), 153) << "the controls are taken anew on every frame";
}

TEST(Animation, ProgressIsClampedAndTurnsAround) {
    const float cases[][4] = {
        {1.0f, 1.0f, 1.0f, -1.0f}, {0.0f, -1.0f, 0.0f, 1.0f}, {0.25f, 0.5f, 0.75f, 0.5f}};
    for (const auto& [index, rate, progress, rateAfter] : cases) {
        Animated animated(2);
        animated.colorIndex.decimal.value[0] = index;
        animated.progressionRate.decimal.value[0] = rate;
        AnimateFrame(animated.instance, animated.context);
        EXPECT_EQ(animated.instance.color.progress, progress);
        EXPECT_EQ(animated.instance.color.rate, rateAfter);
    }
}

TEST(Animation, AnEmptyOrExtremePaletteGivesADefinedIndex) {
    for (const std::int32_t divisor :
         {0, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        Animated animated(divisor);
        animated.colorIndex.decimal.value[0] = 1e30f;
        animated.alternateColors.toggle.value[1] = 1;
        animated.IndexAfterFrame();
        const std::int32_t index = animated.IndexAfterFrame();
        EXPECT_TRUE(divisor != 0 || index == 0) << index;
    }
}

TEST(Animation, StripesAlternateFromFrameToFrame) {
    Animated animated(10);
    animated.colorIndex.decimal.value[0] = 0.5f;
    animated.alternateColors.toggle.value[1] = 1;
    EXPECT_EQ(animated.IndexAfterFrame(), 10 - 4);
    EXPECT_EQ(animated.IndexAfterFrame(), 4);
    EXPECT_EQ(animated.IndexAfterFrame(), 10 - 4);
}

}  // namespace
}  // namespace pixelforge
