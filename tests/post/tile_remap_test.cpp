// Tiling against its formula, on every code path, and pictures that are known beforehand.
#include "post/tile_remap.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/post/test_pixels.h"
#include "tests/post/transcription.h"

namespace pixelforge {
namespace {

using Pixels = std::vector<std::uint32_t>;

struct Size {
    std::int32_t width;
    std::int32_t height;
};

std::size_t Area(Size size) {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

void ExpectEqualsFormula(Random& random, Size output, Size input, const TileGrid& grid) {
    SCOPED_TRACE(testing::Message() << output.width << "x" << output.height << " from " << input.width << "x"
                                    << input.height << ", frame " << grid.frameWidth << "x"
                                    << grid.frameHeight << ", tiles " << grid.tilesX << "x" << grid.tilesY
                                    << ", flip " << grid.flipOddTiles);
    const Pixels source = RandomPixels(random, Area(input));
    Pixels expected(Area(output));
    transcription::TileRemap({expected.data(), output.width, output.height},
                             {source.data(), input.width, input.height}, grid);
    for (const VectorPath path : AvailablePaths()) {
        GuardedPixels from(source, random() % 33);
        GuardedPixels to(Pixels(Area(output), 0xDEADBEEF), random() % 33);
        ASSERT_EQ(TileRemap({to.bits(), output.width, output.height},
                            {from.bits(), input.width, input.height}, grid, path),
                  1);
        ASSERT_EQ(to.Pixels(), expected) << "path " << static_cast<int>(path);
        ASSERT_TRUE(to.GuardsIntact());
    }
}

std::int32_t Between(Random& random, std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(high - low + 1));
}

TEST(TileRemap, EqualsItsFormulaOnRandomPictures) {
    Random random(2);
    for (int round = 0; round < 300; ++round) {
        const Size output = {Between(random, 1, 300), Between(random, 1, 300)};
        const Size frame = round % 2 != 0 ? output : Size{Between(random, 1, 300), Between(random, 1, 300)};
        const Size input = round % 3 == 0 ? frame : Size{Between(random, 1, 300), Between(random, 1, 300)};
        const TileGrid grid = {frame.width, frame.height, Between(random, 1, 32), Between(random, 1, 32),
                               round % 4 < 2 ? 0 : Between(random, -1, 1)};
        ExpectEqualsFormula(random, output, input, grid);
        ASSERT_FALSE(HasFailure());
    }
}

// Exact at every count and display width: here the roundings decide, most of all beside tile edges.
TEST(TileRemap, EqualsItsFormulaOnDisplayWidths) {
    Random random(3);
    for (const std::int32_t width : {640, 1366, 1920, 2560, 3440, 3840, 4095, 4096, 4097, 8200}) {
        for (std::int32_t tiles = 1; tiles <= 32; ++tiles) {
            ExpectEqualsFormula(random, {width, 1}, {width, 1}, {width, 1, tiles, 1, 1});
            ExpectEqualsFormula(random, {1, width}, {1, width}, {1, width, 1, tiles, 1});
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(TileRemap, EqualsItsFormulaOnExtremeNumbers) {
    Random random(4);
    const std::int32_t extremes[] = {INT_MIN, INT_MIN + 1, -65537, -300,    -1,       0,           1,
                                     2,       299,         65536,  1000003, 16777217, INT_MAX - 1, INT_MAX};
    for (const std::int32_t frame : extremes) {
        for (const std::int32_t tiles : extremes) {
            const TileGrid grid = {frame, Between(random, 0, 1) != 0 ? INT_MAX : -(frame / 2),
                                   tiles < 1 ? 3 : tiles, tiles < 1 ? 5 : INT_MAX - tiles + 1, 1};
            ExpectEqualsFormula(random, {61, 37}, {Between(random, 1, 40), Between(random, 1, 40)}, grid);
            ASSERT_FALSE(HasFailure());
        }
    }
}

// Rows and columns follow the same rule, so each row is also run standing upright.
TEST(TileRemap, ShowsKnownPictures) {
    const struct {
        const char* name;
        std::int32_t tiles, flip, frameWidth;
        Pixels source, expected;
    } rows[] = {
        {"one tile is the picture itself", 1, 1, 4, {1, 2, 3, 4}, {1, 2, 3, 4}},
        {"two tiles", 2, 0, 8, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 3, 5, 7, 1, 3, 5, 7}},
        {"a mirrored tile begins with the last", 2, 1, 4, {1, 2, 3, 4}, {1, 3, 4, 3}},
        {"only the middle one of three is mirrored", 3, 1, 3, {1, 2, 3}, {1, 2, 3, 3, 3, 2, 1, 2, 3}},
        {"a small source goes on as its mirror image", 1, 0, 6, {1, 2}, {1, 2, 2, 1, 1, 2}},
        {"a fractional tile width fills every pixel", 2, 0, 5, {1, 2, 3, 4, 5}, {1, 3, 5, 2, 4}},
    };
    for (const auto& row : rows) {
        const auto from = static_cast<std::int32_t>(row.source.size());
        const auto to = static_cast<std::int32_t>(row.expected.size());
        Pixels across(row.expected.size());
        Pixels down(row.expected.size());
        EXPECT_EQ(TileRemap({across.data(), to, 1}, {row.source.data(), from, 1},
                            {row.frameWidth, 1, row.tiles, 1, row.flip}),
                  1);
        EXPECT_EQ(TileRemap({down.data(), 1, to}, {row.source.data(), 1, from},
                            {1, row.frameWidth, 1, row.tiles, row.flip}),
                  1);
        EXPECT_EQ(across, row.expected) << row.name;
        EXPECT_EQ(down, row.expected) << row.name;
    }
}

TEST(TileRemap, RefusesInvalidArgumentsUntouched) {
    const std::uint32_t source = 7;
    std::uint32_t out = 42;
    const TileGrid grid = {1, 1, 1, 1, 0};
    EXPECT_EQ(TileRemap({nullptr, 1, 1}, {&source, 1, 1}, grid), 0);
    EXPECT_EQ(TileRemap({&out, 1, 1}, {nullptr, 1, 1}, grid), 0);
    for (const std::int32_t side : {0, -1, INT_MIN}) {
        EXPECT_EQ(TileRemap({&out, side, 1}, {&source, 1, 1}, grid), 0);
        EXPECT_EQ(TileRemap({&out, 1, side}, {&source, 1, 1}, grid), 0);
        EXPECT_EQ(TileRemap({&out, 1, 1}, {&source, side, 1}, grid), 0);
        EXPECT_EQ(TileRemap({&out, 1, 1}, {&source, 1, side}, grid), 0);
        EXPECT_EQ(TileRemap({&out, 1, 1}, {&source, 1, 1}, {1, 1, side, 1, 0}), 0);
        EXPECT_EQ(TileRemap({&out, 1, 1}, {&source, 1, 1}, {1, 1, 1, side, 0}), 0);
    }
    EXPECT_EQ(out, 42U);
}

}  // namespace
}  // namespace pixelforge
