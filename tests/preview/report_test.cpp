// The report, read back by a JSON parser.
#include "preview/frame_run.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <vector>

namespace pixelforge::preview {
namespace {

TEST(Report, HoldsEveryFrameAndLineAndTheStatisticsOfFramesDrawnWithoutALoad) {
    std::vector<FrameRecord> frames = {{.result = FrameResult::Failed, .milliseconds = 900, .loading = true},
                                       {.result = FrameResult::Drawn, .milliseconds = 500, .loading = true},
                                       {.result = FrameResult::NothingDrawn, .milliseconds = 700}};
    for (int i = 198; i > 0; --i) {
        frames.push_back({.result = FrameResult::Drawn, .milliseconds = i + 0.0, .crc32 = 0xABu});
    }
    const std::string json = ReportJson({.shader = "C:\\a \"b\".json",
                                         .width = 640,
                                         .height = 360,
                                         .frames = frames,
                                         .debugLines = {"Pass \"Image\": error", "\xC3\xA4"}});
    rapidjson::Document report;
    ASSERT_FALSE(report.Parse(json.c_str()).HasParseError()) << json;
    EXPECT_STREQ(report["shader"].GetString(), "C:\\a \"b\".json");
    ASSERT_EQ(report["frames"].Size(), 201u);
    EXPECT_EQ(report["frames"][2]["result"].GetInt(), 3);
    EXPECT_STREQ(report["frames"][3]["crc32"].GetString(), "000000ab");
    EXPECT_STREQ(report["debugOutput"][0].GetString(), "Pass \"Image\": error");
    EXPECT_STREQ(report["debugOutput"][1].GetString(), "\xC3\xA4");
    const rapidjson::Value& figures = report["statistics"];
    for (const auto& [name, expected] : {std::pair("drawn", 199.0),
                                         {"failed", 1.0},
                                         {"measured", 198.0},
                                         {"medianMilliseconds", 99.5},
                                         {"percentile95Milliseconds", 189.0},
                                         {"worstMilliseconds", 198.0},
                                         {"framesPerSecond", 10.050}}) {
        EXPECT_NEAR(figures[name].GetDouble(), expected, 0.001) << name;
    }
    EXPECT_EQ(Summarize({}).worstMilliseconds, 0.0);
}

TEST(Report, ListsTheFailuresOfAPlaylist) {
    rapidjson::Document report;
    report.Parse(
        ReportJson({.shader = "p", .failedPicks = std::vector<PlaylistFailure>{{{12, "\xE4"}, "why"}}})
            .c_str());
    const rapidjson::Value& pick = report["failedPicks"][0];
    EXPECT_EQ(pick["line"].GetInt(), 12);
    EXPECT_STREQ(pick["shader"].GetString(), "\xC3\xA4");
    EXPECT_STREQ(pick["reason"].GetString(), "why");
}

TEST(Crc32, MatchesPngAndZipFiles) {
    const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Crc32(digits), 0xCBF43926u);
}

}  // namespace
}  // namespace pixelforge::preview
