// The cells of a cross.
#include "media/cube_cross.h"

#include <gtest/gtest.h>

namespace pixelforge {
namespace {

TEST(CellsOfCross, TrimsEachCellAndRefusesTinyOnes) {
    const auto cells = CellsOfCross(43, 32);
    ASSERT_TRUE(cells);
    EXPECT_EQ(cells->faceSize, 10);
    EXPECT_TRUE((cells->faces[0] == PixelBox{22, 12, 6, 6}));
    EXPECT_EQ(CellsOfCross(20, 21)->faceSize, 7);
    for (const auto& [width, height] : {std::pair(19, 60), {60, 14}, {-40, 30}}) {
        EXPECT_FALSE(CellsOfCross(width, height)) << width << " x " << height;
    }
}

}  // namespace
}  // namespace pixelforge
