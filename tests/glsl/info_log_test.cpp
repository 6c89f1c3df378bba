// Driver logs in the forms that occur, and in malformed ones.
#include "glsl/info_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "glsl/line_map.h"

namespace pixelforge {
namespace {

/// From line 10 Common, from 20 Image without its first two lines, 30 and 31 an include, then Image again.
/// Line 4,000,000,000 belongs to a nameless text and the next one to Image, with equally large source lines.
LineMap SampleMap() {
    constexpr std::uint32_t kFar = 4'000'000'000;
    LineMap lines;
    const std::uint32_t nameless = lines.AddSource("");
    const std::uint32_t image = lines.AddSource("Image");
    lines.Begin(10, nameless, 1);
    lines.Begin(10, lines.AddSource("Common"), 1);
    lines.Begin(20, image, 3);
    lines.Begin(30, lines.AddSource("C:\\lib\\noise.glsl"), 1);
    lines.Begin(32, image, 14);
    lines.Begin(kFar, nameless, 1);
    lines.Begin(kFar + 1, image, kFar);
    return lines;
}

TEST(MapInfoLog, RewritesKnownPositionsOnly) {
    const std::pair<const char*, const char*> cases[] = {
        {"0:25(21): error: `x' undeclared\n", "Image:8:21: error: `x' undeclared\n"},
        {"0(10) : error C1008: undefined\n", "Common:1: error C1008: undefined\n"},
        {"ERROR: 0:31: 'x' : syntax error\n", "C:\\lib\\noise.glsl:2: ERROR: 'x' : syntax error\n"},
        {"WARNING: 0:32: a\r\n", "Image:14: WARNING: a\n"},
        {"0:19(1): error: a\n\n0:20(2): warning: b: 0:20(2): c",
         "Common:10:1: error: a\n\nImage:3:2: warning: b: 0:20(2): c\n"},
        {"0:4294967295(4294967295): a", "Image:4294967294:4294967295: a\n"},
    };
    const LineMap lines = SampleMap();
    for (const auto& [log, expected] : cases) {
        EXPECT_EQ(MapInfoLog(log, lines), expected) << log;
    }
    for (const std::string kept :
         {"2 errors generated.", "0:9(1): before the first text", "0:4000000000(1): no name", "0:20(",
          "0:-20(1): a", "0:4294967296(1): a", "1:20(1): a", "0(20) error", "ERROR: 0:", "ERROR: \xFF\x80"}) {
        EXPECT_EQ(MapInfoLog(kept, lines), kept + "\n");
    }
    EXPECT_EQ(MapInfoLog("0:20(1): a", LineMap()), "0:20(1): a\n");
    EXPECT_EQ(MapInfoLog(std::string_view("a\0b", 3), lines), std::string("a\0b\n", 4));
}

TEST(PrefixPassLog, NamesThePassOnEveryLine) {
    EXPECT_THAT(PrefixPassLog("Buffer A", "Buffer A:12: x\r\n\nCommon:3: y\nBuffer A says z\nlast"),
                testing::ElementsAre("Buffer A:12: x", "Buffer A: Common:3: y", "Buffer A: Buffer A says z",
                                     "Buffer A: last"));
    EXPECT_THAT(PrefixPassLog("Image", std::string_view("Image:\n\0", 8)),
                testing::ElementsAre("Image: Image:"));
}

}  // namespace
}  // namespace pixelforge
