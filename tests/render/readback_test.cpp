// The bitmaps that take the finished picture, and those that are refused.
#include "render/readback.h"

#include <gtest/gtest.h>

#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using ReadbackTest = StageTest;

TEST_F(ReadbackTest, OnlyAnExactlyFittingSectionIsWritten) {
    const struct {
        LONG width;
        LONG height;
        WORD bitsPerPixel;
        int accepted;
    } cases[] = {
        {63, 48, 32, 0}, {65, 48, 32, 0},  {64, 47, 32, 0}, {64, 49, 32, 0}, {48, 64, 32, 0},
        {64, 48, 24, 0}, {128, 48, 16, 0}, {64, 48, 8, 0},  {64, 48, 32, 1}, {64, -48, 32, 1},
    };
    for (const int exponent : {0, 2}) {
        const SampleScope samples(exponent);
        stage_.Clear().Body(PassKind::Image, "c = vec4(1.0);");
        ASSERT_TRUE(stage_.Build()) << stage_.Reason();
        stage_.Draw();
        for (const auto& item : cases) {
            BITMAPINFO info{};
            info.bmiHeader = {sizeof(BITMAPINFOHEADER),
                              item.width,
                              item.height,
                              1,
                              item.bitsPerPixel,
                              BI_RGB,
                              0,
                              0,
                              0,
                              0,
                              0};
            void* bits = nullptr;
            const UniqueBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
            ASSERT_TRUE(bitmap);
            EXPECT_EQ(ReadFrameIntoBitmap(&stage_.Renderer(), bitmap.Get()), item.accepted)
                << item.width << " x " << item.height << ", " << item.bitsPerPixel;
            EXPECT_EQ(*static_cast<const std::uint8_t*>(bits), item.accepted ? 255 : 0);
        }
    }
    const UniqueBitmap noSection(CreateBitmap(64, 48, 1, 32, nullptr));
    EXPECT_EQ(ReadFrameIntoBitmap(&stage_.Renderer(), noSection.Get()), 0);
    EXPECT_EQ(ReadFrameIntoBitmap(&stage_.Renderer(), nullptr), 0);
    EXPECT_EQ(ReadFrameIntoBitmap(nullptr, noSection.Get()), 0);
}

}  // namespace
}  // namespace pixelforge::test
