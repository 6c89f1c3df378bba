// Tiling against its reference implementation.
#include "post/tile_remap.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/post/reference_kernels.h"
#include "tests/post/test_pixels.h"

namespace pixelforge {
namespace {

struct Size {
    std::int32_t width;
    std::int32_t height;
    std::size_t Area() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

void ExpectEqualsFormula(Random& random, Size output, Size input, const TileGrid& grid) {
    const std::vector<std::uint32_t> source = RandomPixels(random, input.Area());
    std::vector<std::uint32_t> expected(output.Area());
    reference::TileRemap({expected.data(), output.width, output.height},
                         {source.data(), input.width, input.height}, grid);
    const std::size_t misalignment = random() % 33;
    GuardedPixels from(source, random() % 33);
    GuardedPixels to(std::vector<std::uint32_t>(output.Area(), 0xDEADBEEF), misalignment);
    ASSERT_EQ(
        TileRemap({to.Bits(), output.width, output.height}, {from.Bits(), input.width, input.height}, grid),
        1);
    ASSERT_TRUE(to == GuardedPixels(expected, misalignment))
        << output.width << "x" << output.height << " from " << input.width << "x" << input.height
        << ", frame " << grid.frameWidth << "x" << grid.frameHeight << ", tiles " << grid.tilesX << "x"
        << grid.tilesY << ", flip " << grid.flipOddTiles;
}

std::int32_t Between(Random& random, std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(high - low + 1));
}

// One third are single rows or columns of display length, where rounding matters next to tile edges; one
// third have tiles of whole pixels, which repeat.
TEST(TileRemap, MatchesReferenceOnRandomPictures) {
    Random random(2);
    const auto anySize = [&random] {
        const Size sizes[] = {{Between(random, 1, 300), Between(random, 1, 300)},
                              {Between(random, 300, 9000), 1},
                              {1, Between(random, 300, 9000)}};
        const std::uint32_t kind = random() % 6;
        return sizes[kind < 3 ? kind : 0];
    };
    for (int round = 0; round < 900; ++round) {
        const Size tiles = {Between(random, 1, 32), Between(random, 1, 32)};
        Size output = anySize();
        if (round % 3 == 1) {
            output = {tiles.width * Between(random, 1, 12), tiles.height * Between(random, 1, 12)};
        }
        const Size frame = round % 2 != 0 ? output : anySize();
        const Size input = round % 4 == 3 ? anySize() : frame;
        const TileGrid grid = {frame.width, frame.height, tiles.width, tiles.height,
                               round % 5 < 2 ? 0 : Between(random, -1, 1)};
        ASSERT_NO_FATAL_FAILURE(ExpectEqualsFormula(random, output, input, grid));
    }
}

TEST(TileRemap, MatchesReferenceOnExtremeSizes) {
    Random random(4);
    const std::int32_t extremes[] = {INT_MIN, INT_MIN + 1, -65537, -300,    -1,       0,           1,
                                     2,       299,         65536,  1000003, 16777217, INT_MAX - 1, INT_MAX};
    for (const std::int32_t frame : extremes) {
        for (const std::int32_t tiles : extremes) {
            const TileGrid grid = {frame, Between(random, 0, 1) != 0 ? INT_MAX : -(frame / 2),
                                   tiles < 1 ? 3 : tiles, tiles < 1 ? 5 : INT_MAX - tiles + 1, 1};
            const Size input = {Between(random, 1, 40), Between(random, 1, 40)};
            ASSERT_NO_FATAL_FAILURE(ExpectEqualsFormula(random, {61, 37}, input, grid));
        }
    }
}

TEST(TileRemap, RejectsInvalidArgumentsWithoutWriting) {
    const std::uint32_t source = 7;
    std::uint32_t out = 42;
    for (const std::int32_t bad : {0, -1, INT_MIN}) {
        for (int place = 0; place < 6; ++place) {
            std::int32_t n[6] = {1, 1, 1, 1, 1, 1};
            n[place] = bad;
            EXPECT_EQ(TileRemap({&out, n[0], n[1]}, {&source, n[2], n[3]}, {1, 1, n[4], n[5], 0}), 0)
                << bad << " as argument " << place;
        }
    }
    EXPECT_EQ(TileRemap({nullptr, 1, 1}, {&source, 1, 1}, {1, 1, 1, 1, 0}), 0);
    EXPECT_EQ(TileRemap({&out, 1, 1}, {nullptr, 1, 1}, {1, 1, 1, 1, 0}), 0);
    EXPECT_EQ(out, 42U);
}

}  // namespace
}  // namespace pixelforge
