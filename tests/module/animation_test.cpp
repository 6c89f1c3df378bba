// The colour progression, frame by frame, and the tile mask.
#include "module/animation.h"

#include <gtest/gtest.h>

#include <limits>

namespace pixelforge {
namespace {

TEST(Animation, ColourIndexAndTileMaskFollowTheirControls) {
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        const char* what;
        std::int32_t levelDivisor;
        float colorIndex, rate;
        bool alternate;
        std::int32_t first, second;  ///< colour index after one frame and after two
        float progress, rateAfter;
    } cases[] = {
        {"read again on every frame", 256, 0.5F, 25.5F, false, 153, 153, 0.6F, 0.1F},
        {"stripes", 10, 0.5F, 0, true, 10 - 4, 4, 0.5F, 0},
        {"midway", 2, 0.25F, 0.5F, false, 0, 0, 0.75F, 0.5F},
        {"reversed at the end", 2, 1, 1, false, 1, 1, 1, -1},
        {"reversed at the start", 2, 0, -1, false, 0, 0, 0, 1},
        {"no colours", 0, 1e30F, 0, true, 0, 0, 1, 0},
        {"one colour", 1, 0.5F, 1, false, 0, 0, 1, -kInfinity},
        {"INT32_MAX colours", kMax, 1e30F, 0, true, 0, kMax, 1, 0},
        {"INT32_MIN colours", kMin, 1e30F, 0, true, 0, kMin, 1, 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        ControlRecord colorIndex = {}, progressionRate = {}, alternateColors = {}, columns = {}, mask = {};
        columns.whole.value[0] = 3;
        colorIndex.decimal.value[0] = each.colorIndex;
        progressionRate.decimal.value[0] = each.rate;
        alternateColors.toggle.value[1] = each.alternate ? 1 : 0;
        ModuleInstance instance = {};
        instance.animationFlags = animation::kDefault;
        instance.color.colorIndex = &colorIndex;
        instance.color.progressionRate = &progressionRate;
        instance.color.alternateColors = &alternateColors;
        instance.tiling.xTiling = &columns;
        instance.tiling.tileMask = &mask;
        DrawContext context = {};
        context.levelDivisor = each.levelDivisor;
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.first);
        EXPECT_TRUE(mask.mask.gridSize[0] == 3 && mask.mask.gridSize[1] == 1) << "columns, rows";
        AnimateFrame(instance, context);
        EXPECT_EQ(instance.color.index, each.second);
        EXPECT_FLOAT_EQ(instance.color.progress, each.progress);
        EXPECT_FLOAT_EQ(instance.color.rate, each.rateAfter);
    }
}

}  // namespace
}  // namespace pixelforge
