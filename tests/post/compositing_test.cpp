// Foreground and level kernels against their formulas, on every code path.
#include "post/compositing.h"

#include <gtest/gtest.h>

#include "tests/post/test_pixels.h"
#include "tests/post/transcription.h"

namespace pixelforge {
namespace {

using Pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t kDivisors[] = {1, 2, 3, 7, 16, 255, 256, 764, 765, 766, 0x7FFFFFFF, 0xFFFFFFFF};

TEST(Compositing, EqualsItsFormulasOnEveryPathSizeAndAlignment) {
    Random random(1);
    for (std::uint32_t round = 0; round < 600; ++round) {
        const std::uint32_t count = round < 70 ? round + 1 : 1 + random() % 5000;
        const Pixels source = RandomPixels(random, count);
        const Pixels host = RandomPixels(random, count);
        const std::uint32_t divisor = kDivisors[round % std::size(kDivisors)];
        Pixels foreground = host;
        Pixels levels[2] = {host, host};
        transcription::ForegroundCopy(source.data(), foreground.data(), count);
        transcription::LevelCopy(source.data(), levels[0].data(), count, divisor, 0);
        transcription::LevelCopy(source.data(), levels[1].data(), count, divisor, 1);
        for (const VectorPath path : AvailablePaths()) {
            GuardedPixels from(source, random() % 33);
            const std::size_t misalignment = random() % 33;
            SCOPED_TRACE(testing::Message() << "count " << count << " divisor " << divisor << " path "
                                            << static_cast<int>(path) << " offset " << misalignment);
            GuardedPixels to(host, misalignment);
            ASSERT_EQ(ForegroundCopy(from.bits(), to.bits(), count, path), 1);
            ASSERT_EQ(to.Pixels(), foreground);
            ASSERT_TRUE(to.GuardsIntact());
            for (const std::int32_t only : {0, 1, -5}) {
                GuardedPixels level(host, misalignment);
                ASSERT_EQ(LevelCopy(from.bits(), level.bits(), count, divisor, only, path), 1);
                ASSERT_EQ(level.Pixels(), levels[only != 0]);
                ASSERT_TRUE(level.GuardsIntact());
            }
            ASSERT_EQ(from.Pixels(), source);
        }
    }
}

TEST(LevelCopy, DividesEverySumByEveryDivisorExactly) {
    Pixels sums(766);
    for (std::uint32_t sum = 0; sum < sums.size(); ++sum) {
        const std::uint32_t blue = sum < 255 ? sum : 255;
        const std::uint32_t green = sum - blue < 255 ? sum - blue : 255;
        sums[sum] = 0x7F000000 | (sum - blue - green) << 16 | green << 8 | blue;
    }
    for (std::uint32_t divisor = 1; divisor <= 800; ++divisor) {
        for (const VectorPath path : AvailablePaths()) {
            Pixels levels(sums.size(), 0xDEADBEEF);
            ASSERT_EQ(LevelCopy(sums.data(), levels.data(), 766, divisor, 0, path), 1);
            for (std::uint32_t sum = 0; sum < sums.size(); ++sum) {
                ASSERT_EQ(levels[sum], sum / divisor) << sum << " / " << divisor;
            }
        }
    }
}

TEST(Compositing, RefusesInvalidArgumentsUntouched) {
    const std::uint32_t source[] = {0xFFFFFF};
    std::uint32_t out[] = {42};
    EXPECT_EQ(ForegroundCopy(nullptr, out, 1), 0);
    EXPECT_EQ(ForegroundCopy(source, nullptr, 1), 0);
    EXPECT_EQ(ForegroundCopy(source, out, 0), 0);
    EXPECT_EQ(LevelCopy(nullptr, out, 1, 1, 0), 0);
    EXPECT_EQ(LevelCopy(source, nullptr, 1, 1, 0), 0);
    EXPECT_EQ(LevelCopy(source, out, 0, 1, 0), 0);
    EXPECT_EQ(LevelCopy(source, out, 1, 0, 0), 0);
    EXPECT_EQ(out[0], 42U);
}

}  // namespace
}  // namespace pixelforge
