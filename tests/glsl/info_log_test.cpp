// Driver logs in the forms that occur, and in forms that should not.
#include "glsl/info_log.h"

#include <gtest/gtest.h>

#include <string>

#include "glsl/line_map.h"

namespace pixelforge {
namespace {

/// Lines 1 to 9 are the prefix, 10 to 19 Common, from 20 on Image, of which the first two lines were
/// dropped; 30 and 31 are an include, 32 and more Image again.
LineMap SampleMap() {
    LineMap lines;
    const std::uint32_t top = lines.AddSource("");
    lines.Begin(1, top, 1);
    lines.Begin(1, lines.AddSource("PREFIX"), 1);
    lines.Begin(10, lines.AddSource("Common"), 1);
    const std::uint32_t image = lines.AddSource("Image");
    lines.Begin(20, image, 3);
    lines.Begin(30, lines.AddSource("C:\\lib\\noise.glsl"), 1);
    lines.Begin(32, image, 14);
    lines.Begin(4'000'000'000, top, 1);
    lines.Begin(4'000'000'001, image, 4'000'000'000);
    return lines;
}

TEST(MapInfoLog, RewritesPositionsAndKeepsTheRest) {
    const struct {
        const char* log;
        const char* expected;
    } cases[] = {
        {"0:25(21): error: `x' undeclared\n", "Image:8:21: error: `x' undeclared\n"},
        {"0(10) : error C1008: undefined\n", "Common:1: error C1008: undefined\n"},
        {"ERROR: 0:31: 'x' : syntax error\n", "C:\\lib\\noise.glsl:2: ERROR: 'x' : syntax error\n"},
        {"WARNING: 0:32: a\r\n", "Image:14: WARNING: a\n"},
        {"0:9: L0001: a", "PREFIX:9: L0001: a\n"},
        {"0:19(1): error: a\n\n0:20(2): warning: b: 0:20(2): c",
         "Common:10:1: error: a\n\nImage:3:2: warning: b: 0:20(2): c\n"},
        {"0:20(1):", "Image:3:1: \n"},
        {"2 errors generated.", "2 errors generated.\n"},
        {"0:0(1): error: no line", "0:0(1): error: no line\n"},
        {"0:4000000000(1): a text without a name", "0:4000000000(1): a text without a name\n"},
        {"0:4294967295(4294967295): a", "Image:4294967294:4294967295: a\n"},
        {"0:4294967296(1): a", "0:4294967296(1): a\n"},
        {"0:-20(1): a", "0:-20(1): a\n"},
        {"0:20(", "0:20(\n"},
        {"0(20) error", "0(20) error\n"},
        {"ERROR: 0:", "ERROR: 0:\n"},
        {"ERROR: \xFF\x80", "ERROR: \xFF\x80\n"},
    };
    const LineMap lines = SampleMap();
    for (const auto& c : cases) {
        EXPECT_EQ(MapInfoLog(c.log, lines), c.expected) << c.log;
    }
    EXPECT_EQ(MapInfoLog("0:20(1): a", LineMap()), "0:20(1): a\n");
    EXPECT_EQ(MapInfoLog(std::string_view("a\0b", 3), lines), std::string("a\0b\n", 4));
}

}  // namespace
}  // namespace pixelforge
