// The camera's picture in the shader's, and everything that a camera can do wrong.
#include <gtest/gtest.h>

#include <memory>

#include "tests/inputs/live_run.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {
namespace {

constexpr std::int32_t kWidth = 64;
constexpr std::int32_t kHeight = 48;

std::string CameraDocument() {
    return DocumentBuilder()
        .Image(MainImage("c = vec4(texture(iChannel0, p / iResolution.xy).rgb, 1.0);"),
               {{.channel = 0, .ctype = "webcam"}})
        .Json();
}

/// The colours at the middles of the four quarters: lower left, lower right, upper left, upper right.
std::vector<std::uint32_t> Quarters(const LiveRun& run) {
    return {run.Pixel(kWidth / 4, kHeight / 4), run.Pixel(kWidth * 3 / 4, kHeight / 4),
            run.Pixel(kWidth / 4, kHeight * 3 / 4), run.Pixel(kWidth * 3 / 4, kHeight * 3 / 4)};
}

using Colours = std::vector<std::uint32_t>;

const Colours kWhole = {0x0000FF, 0xFFFFFF, 0xFF0000, 0x00FF00};
const Colours kBlack = {0, 0, 0, 0};

struct Picture {
    const char* settings;
    Colours quarters;
};

TEST(LiveCamera, ShowsTheFirst640x480PixelsOfEveryFormat) {
    const Picture pictures[] = {
        {"pattern=quadrants", kWhole},
        {"pattern=quadrants;image=24", kWhole},
        {"pattern=quadrants;topdown=1", kWhole},
        {"pattern=quadrants;image=24;topdown=1", kWhole},
        // Twice as large: its lower left part fills the picture.
        {"pattern=quadrants;formats=1280x960", {0x0000FF, 0x0000FF, 0x0000FF, 0x0000FF}},
        {"pattern=quadrants;formats=800x600,640x480", kWhole},
    };
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.settings);
        SetCamera(picture.settings);
        LiveRun run(CameraDocument(), kWidth, kHeight);
        EXPECT_TRUE(run.DrawUntil([&] { return Quarters(run) == picture.quarters; }, 6000));
        EXPECT_EQ(Quarters(run), picture.quarters);
        run.Close();
        EXPECT_EQ(CameraObjects(), 0);
    }
}

/// The lower left quarter, where the first row in memory lies below.
TEST(LiveCamera, AHalfSizedPictureFillsAQuarter) {
    SetCamera("pattern=quadrants;formats=320x240");
    LiveRun run(CameraDocument(), kWidth, kHeight);
    EXPECT_TRUE(run.DrawUntil([&] { return run.Pixel(kWidth / 8, kHeight / 8) == 0x0000FF; }, 6000));
    EXPECT_EQ(run.Pixel(kWidth * 3 / 8, kHeight * 3 / 8), 0x00FF00U);
    EXPECT_EQ(run.Pixel(kWidth * 3 / 4, kHeight / 8), 0U);
    EXPECT_EQ(run.Pixel(kWidth / 8, kHeight * 3 / 4), 0U);
}

TEST(LiveCamera, NoFaultOfACameraStopsFramesOrLeaks) {
    const Picture faults[] = {
        {"device=none", kBlack},
        {"device=nameless", kBlack},
        {"fail=renderer", kBlack},
        {"fail=windowless", kBlack},
        {"fail=config", kBlack},
        {"fail=position", kBlack},
        {"fail=camera", kBlack},
        {"fail=enumpins", kBlack},
        {"fail=pin", kBlack},
        {"fail=enumtypes;formats=640x480", kWhole},
        {"fail=streamconfig;formats=640x480", kWhole},
        {"fail=setformat;formats=640x480,320x240", kWhole},
        {"fail=getformat", kWhole},
        {"formattype=other;formats=640x480", kWhole},
        {"null=type", kWhole},
        {"null=format", kBlack},
        {"fail=connect", kBlack},
        {"fail=run", kBlack},
        {"frames=never", kBlack},
        {"fail=image", kBlack},
        {"null=image", kBlack},
        {"block=0", kBlack},
        {"block=39", kBlack},
        {"block=1000", kBlack},
        {"block=1228839", kBlack},  // one byte short of 640 x 480 x 4 and the header
        {"block=1228840", kWhole},
    };
    for (const Picture& fault : faults) {
        SCOPED_TRACE(fault.settings);
        SetCamera(std::string("pattern=quadrants;") + fault.settings);
        LiveRun run(CameraDocument(), kWidth, kHeight);
        if (fault.quarters == kBlack)
            EXPECT_TRUE(run.DrawFor(400));
        else
            EXPECT_TRUE(run.DrawUntil([&] { return Quarters(run) == fault.quarters; }, 6000));
        EXPECT_EQ(Quarters(run), fault.quarters);
        run.Close();
        EXPECT_EQ(CameraObjects(), 0);
    }
}

TEST(LiveCamera, PictureChangesOnOneFrameInSixteen) {
    SetCamera("pattern=quadrants");
    LiveRun run(CameraDocument(), kWidth, kHeight);
    ASSERT_TRUE(run.DrawUntil([&] { return Quarters(run) == kWhole; }, 6000));
    SetCamera("pattern=scene");
    Sleep(200);
    int changes = 0;
    std::uint32_t last = run.Pixel(20, 30);
    for (int frame = 0; frame < 48; ++frame) {
        ASSERT_EQ(run.Frame(), FrameResult::Drawn);
        Sleep(10);
        changes += run.Pixel(20, 30) != last;
        last = run.Pixel(20, 30);
    }
    EXPECT_GE(changes, 1);
    EXPECT_LE(changes, 3);
}

}  // namespace
}  // namespace pixelforge::test
