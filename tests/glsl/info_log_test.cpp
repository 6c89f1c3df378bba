// Driver logs in the forms that occur, and in malformed ones.
#include "glsl/info_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

/// One line of a log without `#line` in the text.
std::string Mapped(std::string_view log, const LineMap& lines = SampleMap()) {
    const std::vector<std::string> mapped = MapInfoLog("Image", log, "", lines);
    return mapped.size() == 1 ? mapped[0] : std::to_string(mapped.size()) + " lines";
}

TEST(MapInfoLog, RewritesKnownPositionsOnly) {
    const std::pair<const char*, const char*> cases[] = {
        {"0:25(21): error: `x' undeclared\n", "Image:8:21: error: `x' undeclared"},
        {"0(10) : error C1008: undefined\n", "Image: Common:1: error C1008: undefined"},
        {"ERROR: 0:31: 'x' : syntax error\n", "Image: C:\\lib\\noise.glsl:2: ERROR: 'x' : syntax error"},
        {"WARNING: 0:32: a\r\n", "Image:14: WARNING: a"},
        {"0:20(2): warning: b: 0:20(2): c", "Image:3:2: warning: b: 0:20(2): c"},
        {"0:4294967295(4294967295): a", "Image:4294967294:4294967295: a"},
    };
    for (const auto& [log, expected] : cases) {
        EXPECT_EQ(Mapped(log), expected) << log;
    }
    for (const std::string kept :
         {"2 errors generated.", "0:9(1): before the first text", "0:4000000000(1): no name", "0:20(",
          "0:-20(1): a", "0:4294967296(1): a", "1:20(1): a", "0(20) error", "ERROR: 0:", "ERROR: \xFF\x80"}) {
        EXPECT_EQ(Mapped(kept), "Image: " + kept);
    }
    EXPECT_EQ(Mapped("0:20(1): a", LineMap()), "Image: 0:20(1): a");
    EXPECT_EQ(Mapped(std::string_view("a\0b\0", 4)), std::string("Image: a\0b", 10));
    EXPECT_THAT(MapInfoLog("Image", "0:19(1): a\n\r\n\n0:20(2): b\nImage:\n", "", SampleMap()),
                testing::ElementsAre("Image: Common:10:1: a", "Image:3:2: b", "Image: Image:"));
    std::string huge;
    for (int i = 0; i <= 1000; ++i) {
        huge += "a\n";
    }
    const std::vector<std::string> bounded = MapInfoLog("Image", huge, "", LineMap());
    EXPECT_EQ(bounded.size(), 1001U);
    EXPECT_EQ(bounded.back(), "Image: the rest of the driver's log is left out");
}

}  // namespace
}  // namespace pixelforge
