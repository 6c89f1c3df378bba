// The camera picture in a webcam channel, and every way a camera can fail.
#include <gtest/gtest.h>

#include "tests/inputs/live_run.h"

namespace pixelforge::test {
namespace {

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 48;

/// Draws the webcam channel, except for the first column, which shows the channel's resolution.
const char* const kBody =
    "c = vec4(texture(iChannel0, p / iResolution.xy).rgb, 1.0);"
    "if (p.x < 1.0) c = vec4(iChannelResolution[0].xy / 2560.0, 0, 1);";

using Colours = std::vector<std::uint32_t>;

const Colours kFullPicture = {0x0000FF, 0xFFFFFF, 0xFF0000, 0x00FF00};
const Colours kBlack = {0, 0, 0, 0};

/// The colours at the centres of the four quarters: lower left, lower right, upper left, upper right.
Colours Quarters(const LiveRun& run) {
    return {run.Pixel(kWidth / 4, kHeight / 4), run.Pixel(kWidth * 3 / 4, kHeight / 4),
            run.Pixel(kWidth / 4, kHeight * 3 / 4), run.Pixel(kWidth * 3 / 4, kHeight * 3 / 4)};
}

void ExpectPicture(const std::string& settings, const Colours& quarters) {
    SCOPED_TRACE(settings);
    SetCamera("pattern=quadrants;" + settings);
    LiveRun run("webcam", kBody, kWidth, kHeight);
    run.DrawUntil([&] { return quarters != kBlack && Quarters(run) == quarters; },
                  quarters == kBlack ? 400 : 6000);
    EXPECT_EQ(Quarters(run), quarters);
    EXPECT_EQ(run.Pixel(0, 0), 0x804800U) << "iChannelResolution is not 1280 x 720";
    run.Close();
    EXPECT_EQ(CameraObjects(), 0);
}

TEST(LiveCamera, ShowsFirst640x480PixelsOfEveryFormat) {
    for (const char* form :
         {"image=32", "image=24", "topdown=1", "image=24;topdown=1", "formats=1280x480,640x960,640x480"}) {
        ExpectPicture(form, kFullPicture);
    }
    // Twice the size: its lower left quarter fills the picture. Half the size: it fills a quarter.
    ExpectPicture("formats=1280x960", {0x0000FF, 0x0000FF, 0x0000FF, 0x0000FF});
    ExpectPicture("formats=320x240", {0x00FF00, 0, 0, 0});
}

TEST(LiveCamera, StaysOffIfTheShaderDoesNotCompile) {
    SetCamera("");
    LiveRun run("webcam", "c = no_such_colour;", kWidth, kHeight);
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_EQ(CameraObjects(), 0);
}

TEST(LiveCamera, FaultsNeitherStopFramesNorLeak) {
    // The last block is one byte short of the header and 640 x 480 x 4.
    for (const char* fault : {"device=none", "device=nameless", "fail=renderer", "fail=windowless",
                              "fail=config", "fail=position", "fail=camera", "fail=enumpins", "fail=pin",
                              "fail=connect", "fail=run", "fail=image", "null=format", "null=image",
                              "frames=never", "block=0", "block=39", "block=1228839"}) {
        ExpectPicture(fault, kBlack);
    }
    for (const char* harmless : {"fail=enumtypes;formats=640x480", "fail=streamconfig;formats=640x480",
                                 "fail=setformat;formats=640x480,320x240", "fail=getformat", "null=type",
                                 "formattype=other;formats=640x480", "block=1228840"}) {
        ExpectPicture(harmless, kFullPicture);
    }
}

TEST(LiveCamera, PictureChangesOnEverySixteenthFrame) {
    SetCamera("pattern=quadrants");
    LiveRun run("webcam", kBody, kWidth, kHeight);
    ASSERT_TRUE(run.DrawUntil([&] { return Quarters(run) == kFullPicture; }, 6000));
    SetCamera("pattern=scene");
    int frames = 0;
    int changes = 0;
    std::uint32_t last = run.Pixel(20, 30);
    run.DrawUntil(
        [&] {
            changes += run.Pixel(20, 30) != last;
            last = run.Pixel(20, 30);
            return ++frames == 48;
        },
        10000);
    EXPECT_GE(changes, 1);
    EXPECT_LE(changes, 3);
}

}  // namespace
}  // namespace pixelforge::test
