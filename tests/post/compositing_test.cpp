// Foreground and level kernels against their reference implementations.
#include "post/compositing.h"

#include <gtest/gtest.h>

#include "tests/post/reference_kernels.h"
#include "tests/post/test_pixels.h"

namespace pixelforge {
namespace {

using Pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t kDivisors[] = {1, 2, 3, 7, 16, 255, 256, 764, 765, 766, 0x7FFFFFFF, 0xFFFFFFFF};

TEST(Compositing, MatchesReferenceAtEverySizeAndAlignment) {
    Random random(1);
    for (std::uint32_t round = 0; round < 600; ++round) {
        const std::uint32_t count = round < 70 ? round + 1 : 1 + random() % 5000;
        const Pixels source = RandomPixels(random, count);
        const Pixels host = RandomPixels(random, count);
        const std::uint32_t divisor = kDivisors[round % std::size(kDivisors)];
        std::vector<Pixels> expected(3, host);
        reference::ForegroundCopy(source.data(), expected[0].data(), count);
        reference::LevelCopy(source.data(), expected[1].data(), count, divisor, 0);
        reference::LevelCopy(source.data(), expected[2].data(), count, divisor, -5);
        GuardedPixels from(source, random() % 33);
        const std::size_t misalignment = random() % 33;
        std::vector<GuardedPixels> to(3, GuardedPixels(host, misalignment));
        ASSERT_EQ(ForegroundCopy(from.Bits(), to[0].Bits(), count), 1);
        ASSERT_EQ(LevelCopy(from.Bits(), to[1].Bits(), count, divisor, 0), 1);
        ASSERT_EQ(LevelCopy(from.Bits(), to[2].Bits(), count, divisor, -5), 1);
        for (std::size_t form = 0; form < 3; ++form) {
            ASSERT_TRUE(to[form] == GuardedPixels(expected[form], misalignment))
                << "form " << form << " count " << count << " divisor " << divisor << " offset "
                << misalignment;
        }
    }
}

TEST(LevelCopy, DividesEverySumByEveryDivisorExactly) {
    Pixels sums(766);
    for (std::uint32_t sum = 0; sum < sums.size(); ++sum) {
        const std::uint32_t blue = std::min(sum, 255U);
        const std::uint32_t green = std::min(sum - blue, 255U);
        sums[sum] = 0x7F000000 | (sum - blue - green) << 16 | green << 8 | blue;
    }
    for (std::uint32_t divisor = 1; divisor <= 800; ++divisor) {
        Pixels levels(sums.size(), 0xDEADBEEF);
        ASSERT_EQ(LevelCopy(sums.data(), levels.data(), 766, divisor, 0), 1);
        for (std::uint32_t sum = 0; sum < sums.size(); ++sum) {
            ASSERT_EQ(levels[sum], sum / divisor) << sum << " / " << divisor;
        }
    }
}

TEST(Compositing, RejectsInvalidArgumentsWithoutWriting) {
    const std::uint32_t source[] = {0xFFFFFF};
    std::uint32_t out[] = {42};
    EXPECT_EQ(ForegroundCopy(nullptr, out, 1) | ForegroundCopy(source, nullptr, 1), 0);
    EXPECT_EQ(LevelCopy(nullptr, out, 1, 1, 0) | LevelCopy(source, nullptr, 1, 1, 0), 0);
    EXPECT_EQ(ForegroundCopy(source, out, 0) | LevelCopy(source, out, 0, 1, 0), 0) << "no pixels";
    EXPECT_EQ(LevelCopy(source, out, 1, 0, 0), 0) << "divisor 0";
    EXPECT_EQ(out[0], 42U);
}

}  // namespace
}  // namespace pixelforge
