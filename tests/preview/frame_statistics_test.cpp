// Percentiles, checksum and the summary of runs.
#include "preview/frame_statistics.h"

#include <gtest/gtest.h>

#include <vector>

namespace pixelforge::preview {
namespace {

TEST(Crc32, GivesTheKnownValue) {
    const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Crc32(digits), 0xCBF43926u);
}

TEST(Percentile, TakesTheNearestRank) {
    const std::vector<double> sorted = {1, 2, 3, 4};
    for (const auto& [percent, expected] : {std::pair(0.0, 1.0), {25.0, 1.0}, {26.0, 2.0}, {95.0, 4.0}}) {
        EXPECT_EQ(Percentile(sorted, percent), expected) << percent;
    }
    EXPECT_EQ(Percentile({}, 95.0), 0.0);
}

TEST(Summary, LeavesOutLoadsAndFramesThatWereNotDrawn) {
    const FrameRecord frames[] = {{.result = FrameResult::Failed, .milliseconds = 900, .loading = true},
                                  {.result = FrameResult::Drawn, .milliseconds = 500, .loading = true},
                                  {.result = FrameResult::Drawn, .milliseconds = 20},
                                  {.result = FrameResult::NothingDrawn, .milliseconds = 1},
                                  {.result = FrameResult::Drawn, .milliseconds = 10}};
    const FrameStatistics statistics = Summarize(frames);
    EXPECT_EQ(statistics.drawn, 3u);
    EXPECT_EQ(statistics.failed, 1u);
    EXPECT_EQ(statistics.measured, 2u);
    EXPECT_EQ(statistics.medianMilliseconds, 15.0);
    EXPECT_EQ(statistics.worstMilliseconds, 20.0);
    EXPECT_DOUBLE_EQ(statistics.framesPerSecond, 1000.0 / 15.0);
}

}  // namespace
}  // namespace pixelforge::preview
