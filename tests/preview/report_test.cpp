// The report, read back by a JSON parser.
#include "preview/report.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

namespace pixelforge::preview {
namespace {

TEST(Report, HoldsEveryFrameAndLine) {
    const std::string json =
        ReportJson({.shader = "C:\\a \"b\".json",
                    .width = 640,
                    .height = 360,
                    .exitStatus = 1,
                    .gl = {.version = "4.5", .renderer = "soft", .vendor = "none"},
                    .frames = {{.result = FrameResult::Drawn, .milliseconds = 2.5, .crc32 = 0xAB},
                               {.result = FrameResult::ResetWanted, .milliseconds = 1.0, .loading = true}},
                    .debugLines = {"Pass \"Image\": error", "\xC3\xA4"}});
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(json.c_str()).HasParseError()) << json;
    EXPECT_STREQ(document["shader"].GetString(), "C:\\a \"b\".json");
    EXPECT_EQ(document["statistics"]["framesPerSecond"].GetDouble(), 400.0);
    const auto frames = document["frames"].GetArray();
    ASSERT_EQ(frames.Size(), 2u);
    EXPECT_STREQ(frames[0]["crc32"].GetString(), "000000ab");
    const auto lines = document["debugOutput"].GetArray();
    ASSERT_EQ(lines.Size(), 2u);
    EXPECT_STREQ(lines[0].GetString(), "Pass \"Image\": error");
    EXPECT_STREQ(lines[1].GetString(), "\xC3\xA4");
}

}  // namespace
}  // namespace pixelforge::preview
