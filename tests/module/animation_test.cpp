// The colour progression, frame by frame.
#include "module/animation.h"

#include <gtest/gtest.h>

#include <limits>

namespace pixelforge {
namespace {

TEST(Animation, TheColourIndexFollowsItsControlsPlusOneStepAndStaysDefined) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        const char* what;
        std::int32_t levelDivisor;
        float colorIndex, rate;
        bool alternate;
        std::int32_t first, second;  ///< colour index after one frame and after two
        float progress, rateAfter;
    } cases[] = {
        {"taken anew on every frame", 256, 0.5f, 25.5f, false, 153, 153, 0.6f, 0.1f},
        {"stripes", 10, 0.5f, 0, true, 10 - 4, 4, 0.5f, 0},
        {"on the way", 2, 0.25f, 0.5f, false, 0, 0, 0.75f, 0.5f},
        {"turned at the end", 2, 1, 1, false, 1, 1, 1, -1},
        {"turned at the start", 2, 0, -1, false, 0, 0, 0, 1},
        {"no colours", 0, 1e30f, 0, true, 0, 0, 1, 0},
        {"one colour", 1, 0.5f, 1, false, 0, 0, 1, -kInfinity},
        {"most colours", kMost, 1e30f, 0, true, 0, kMost, 1, 0},
        {"least colours", kLeast, 1e30f, 0, true, 0, kLeast, 1, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        ControlRecord colorIndex = {}, progressionRate = {}, alternateColors = {};
        colorIndex.decimal.value[0] = each.colorIndex;
        progressionRate.decimal.value[0] = each.rate;
        alternateColors.toggle.value[1] = each.alternate ? 1 : 0;
        ModuleInstance instance = {};
        instance.animationFlags = animation::kDefault;
        instance.color.colorIndex = &colorIndex;
        instance.color.progressionRate = &progressionRate;
        instance.color.alternateColors = &alternateColors;
        DrawContext context = {};
        context.levelDivisor = each.levelDivisor;
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.first);
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.second);
        EXPECT_FLOAT_EQ(instance.color.progress, each.progress);
        EXPECT_FLOAT_EQ(instance.color.rate, each.rateAfter);
    }
}

}  // namespace
}  // namespace pixelforge
