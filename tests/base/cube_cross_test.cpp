// Finding a cross in a picture, and its cells.
#include "base/cube_cross.h"

#include <gtest/gtest.h>

#include <vector>

namespace pixelforge {

namespace {

TEST(FindCrossBox, EnclosesWhatDiffersFromTheFirstPixel) {
    const struct {
        std::vector<int> marks;  ///< indices of differing pixels in a picture of 5 x 4
        PixelBox box;
    } cases[] = {
        {{}, {}},
        {{1}, {1, 0, 1, 1}},
        {{19}, {4, 3, 1, 1}},
        {{7, 11, 18}, {1, 1, 3, 3}},
        {{4, 15}, {0, 0, 5, 4}},
    };
    for (const auto& each : cases) {
        std::vector<std::uint32_t> pixels(20, 0xFF112233);
        for (const int mark : each.marks) {
            pixels[static_cast<std::size_t>(mark)] = 0xFF112234;
        }
        EXPECT_TRUE(FindCrossBox(pixels, 5) == each.box) << testing::PrintToString(each.marks);
    }
    EXPECT_TRUE(FindCrossBox({}, 5) == PixelBox{});
    EXPECT_TRUE(FindCrossBox(std::vector<std::uint32_t>(3), 0) == PixelBox{});
}

TEST(CellsOfCross, TrimsEachCellAndRefusesTinyOnes) {
    const auto cells = CellsOfCross(43, 32);
    ASSERT_TRUE(cells);
    EXPECT_EQ(cells->faceSize, 10);
    const PixelBox expected[6] = {{22, 12, 6, 6}, {2, 12, 6, 6},  {12, 2, 6, 6},
                                  {12, 22, 6, 6}, {12, 12, 6, 6}, {32, 12, 6, 6}};
    for (std::size_t face = 0; face < 6; ++face) {
        EXPECT_TRUE(cells->faces[face] == expected[face]) << face;
    }
    EXPECT_EQ(CellsOfCross(20, 21)->faceSize, 7);
    for (const auto& [width, height] : {std::pair(19, 60), {60, 14}, {0, 0}, {-40, 30}}) {
        EXPECT_FALSE(CellsOfCross(width, height)) << width << " x " << height;
    }
}

}  // namespace
}  // namespace pixelforge
