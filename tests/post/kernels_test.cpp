// Pixel kernels against their reference implementations, at any alignment, between guard bytes.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <vector>

#include "post/compositing.h"
#include "post/tile_remap.h"
#include "tests/post/reference_kernels.h"

namespace pixelforge {
namespace {

using Pixels = std::vector<std::uint32_t>;

/// The same sequence on every run and in every build.
using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

std::int32_t Between(Random& random, std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(high - low + 1));
}

/// One third black with random alpha, one third with a single dark channel, the rest arbitrary.
Pixels RandomPixels(Random& random, std::size_t count) {
    Pixels pixels(count);
    for (std::uint32_t& pixel : pixels) {
        const std::uint32_t any = random();
        const std::uint32_t masks[] = {0xFF000000, 0xFF000001U << (any >> 30) * 8, 0xFFFFFFFF};
        pixel = any & masks[random() % 3];
    }
    return pixels;
}

constexpr std::size_t kGuardBytes = 64;

/// Pixels from byte `start` on; without bytes after them, the address sanitizer sees reads past their end.
std::vector<std::uint8_t> CopyAt(std::size_t start, const Pixels& pixels, std::size_t bytesAfter = 0) {
    std::vector<std::uint8_t> bytes(start + pixels.size() * 4 + bytesAfter, 0xA5);
    std::memcpy(bytes.data() + start, pixels.data(), pixels.size() * 4);
    return bytes;
}

constexpr std::uint32_t kDivisors[] = {1, 2, 3, 7, 16, 255, 256, 764, 765, 766, 0x7FFFFFFF, 0xFFFFFFFF};

TEST(Compositing, MatchesReferenceAtEverySizeAndAlignmentWithEverySumAndDivisor) {
    Random random(1);
    for (std::uint32_t round = 0; round < 870; ++round) {
        const std::uint32_t count = round < 70 ? round + 1 : 766 + random() % 4000;
        Pixels source = RandomPixels(random, count);
        for (std::uint32_t sum = 0; sum < 766 && round >= 70; ++sum) {
            source[sum] = 0x7F000000 | (sum + 2) / 3 << 16 | (sum + 1) / 3 << 8 | sum / 3;
        }
        const Pixels host = RandomPixels(random, count);
        const std::uint32_t divisor = round < 70 ? kDivisors[round % std::size(kDivisors)] : round - 69;
        std::vector<Pixels> expected(3, host);
        reference::ForegroundCopy(source.data(), expected[0].data(), count);
        reference::LevelCopy(source.data(), expected[1].data(), count, divisor, 0);
        reference::LevelCopy(source.data(), expected[2].data(), count, divisor, -5);
        const std::size_t start = kGuardBytes + random() % 33;
        const std::size_t sourceStart = random() % 33;
        const auto from = CopyAt(sourceStart, source);
        const void* const bits = from.data() + sourceStart;
        std::vector to(3, CopyAt(start, host, kGuardBytes));
        ASSERT_EQ(ForegroundCopy(bits, to[0].data() + start, count), 1);
        ASSERT_EQ(LevelCopy(bits, to[1].data() + start, count, divisor, 0), 1);
        ASSERT_EQ(LevelCopy(bits, to[2].data() + start, count, divisor, -5), 1);
        for (std::size_t form = 0; form < 3; ++form) {
            ASSERT_TRUE(to[form] == CopyAt(start, expected[form], kGuardBytes)) << form << '/' << round;
        }
    }
}

struct Size {
    std::int32_t width;
    std::int32_t height;
    std::size_t Area() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

void ExpectEqualsFormula(Random& random, Size output, Size input, const TileGrid& grid) {
    const Pixels source = RandomPixels(random, input.Area());
    Pixels expected(output.Area());
    reference::TileRemap({expected.data(), output.width, output.height},
                         {source.data(), input.width, input.height}, grid);
    const std::size_t start = kGuardBytes + random() % 33;
    const std::size_t sourceStart = random() % 33;
    const auto from = CopyAt(sourceStart, source);
    auto to = CopyAt(start, Pixels(output.Area(), 0xDEADBEEF), kGuardBytes);
    const PixelView view = {to.data() + start, output.width, output.height};
    ASSERT_EQ(TileRemap(view, {from.data() + sourceStart, input.width, input.height}, grid), 1);
    ASSERT_TRUE(to == CopyAt(start, expected, kGuardBytes))
        << output.width << "x" << output.height << " from " << input.width << "x" << input.height
        << ", frame " << grid.frameWidth << "x" << grid.frameHeight << ", tiles " << grid.tilesX << "x"
        << grid.tilesY << ", flip " << grid.flipOddTiles;
}

// One third are long strips of up to four rows or of one column, where rounding matters at tile edges; one
// third have tiles of whole pixels, which repeat; half of the rest have extreme frames and numbers of tiles.
TEST(TileRemap, MatchesReferenceOnRandomPictures) {
    Random random(2);
    const auto anySize = [&random] {
        const Size sizes[] = {{Between(random, 1, 300), Between(random, 1, 300)},
                              {Between(random, 300, 9000), Between(random, 1, 4)},
                              {1, Between(random, 300, 9000)}};
        return sizes[std::max(Between(random, -3, 2), 0)];
    };
    const auto anyExtreme = [&random] {
        constexpr std::int32_t kExtremes[] = {INT_MIN, INT_MIN + 1, -65537,      -300,   -1,
                                              0,       1,           2,           299,    65536,
                                              1000003, 16777217,    INT_MAX - 1, INT_MAX};
        return kExtremes[random() % std::size(kExtremes)];
    };
    for (int round = 0; round < 1080; ++round) {
        const bool extreme = round % 6 == 5;
        Size tiles = {Between(random, 1, 32), Between(random, 1, 32)};
        Size output = anySize();
        if (round % 3 == 1) {
            output = {tiles.width * Between(random, 1, 12), tiles.height * Between(random, 1, 12)};
        }
        Size frame = round % 2 != 0 ? output : anySize();
        if (extreme) {
            frame = {anyExtreme(), anyExtreme()};
            tiles = {std::max(anyExtreme(), 1), std::max(anyExtreme(), 1)};
        }
        const Size input = extreme || round % 4 == 3 ? anySize() : frame;
        const TileGrid grid = {frame.width, frame.height, tiles.width, tiles.height,
                               round % 5 < 2 ? 0 : Between(random, -1, 1)};
        ASSERT_NO_FATAL_FAILURE(ExpectEqualsFormula(random, output, input, grid));
    }
}

TEST(Kernels, RejectInvalidArgumentsWithoutWriting) {
    const std::uint32_t in = 7;
    std::uint32_t out = 42;
    EXPECT_EQ(ForegroundCopy(nullptr, &out, 1) | LevelCopy(nullptr, &out, 1, 1, 0), 0) << "no source";
    EXPECT_EQ(ForegroundCopy(&in, nullptr, 1) | LevelCopy(&in, nullptr, 1, 1, 0), 0);
    EXPECT_EQ(ForegroundCopy(&in, &out, 0) | LevelCopy(&in, &out, 0, 1, 0), 0) << "no pixels";
    EXPECT_EQ(LevelCopy(&in, &out, 1, 0, 0), 0) << "divisor 0";
    for (const std::int32_t bad : {0, -1, INT_MIN}) {
        for (int place = 0; place < 6; ++place) {
            std::int32_t n[6] = {1, 1, 1, 1, 1, 1};
            n[place] = bad;
            EXPECT_EQ(TileRemap({&out, n[0], n[1]}, {&in, n[2], n[3]}, {1, 1, n[4], n[5], 0}), 0);
        }
    }
    const TileGrid id = {1, 1, 1, 1, 0};
    EXPECT_EQ(TileRemap({nullptr, 1, 1}, {&in, 1, 1}, id) | TileRemap({&out, 1, 1}, {nullptr, 1, 1}, id), 0);
    EXPECT_EQ(out, 42U);
}

}  // namespace
}  // namespace pixelforge
