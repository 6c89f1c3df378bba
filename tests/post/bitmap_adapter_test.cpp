// The kernels behind `BITMAP` records of real DIB sections.
#include "post/bitmap_adapter.h"

#include <gtest/gtest.h>

#include <cstring>

namespace pixelforge {
namespace {

struct Section {
    Section(LONG width, LONG height, WORD bitsPerPixel) {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, bitsPerPixel, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        handle = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        GetObjectW(handle, sizeof record, &record);
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() { DeleteObject(handle); }

    std::uint32_t* pixels() const { return static_cast<std::uint32_t*>(record.bmBits); }

    HBITMAP handle;
    BITMAP record = {};
};

TEST(BitmapAdapter, TilesOneSectionOverAnother) {
    const Section source(4, 1, 32);
    const Section output(8, 2, 32);
    const std::uint32_t frame[] = {1, 2, 3, 0xFF000004};
    std::memcpy(source.pixels(), frame, sizeof frame);
    ASSERT_EQ(TileRemap(&output.record, &source.record, 0, 0, 4, 1, 2, 2, 1), 1);
    const std::uint32_t row[] = {1, 2, 3, 0xFF000004, 0xFF000004, 0xFF000004, 3, 2};
    EXPECT_EQ(std::memcmp(output.pixels(), row, sizeof row), 0);
    EXPECT_EQ(std::memcmp(output.pixels() + 8, row, sizeof row), 0);
}

TEST(BitmapAdapter, RefusesWhatIsNoPictureOfWords) {
    const Section words(6, 5, 32);
    const Section small(3, 7, 32);
    const Section bytes(64, 64, 8);
    BITMAP empty = words.record;
    empty.bmBits = nullptr;
    BITMAP negative = words.record;
    negative.bmHeight = -5;
    EXPECT_EQ(SharedPixelCount(&words.record, &small.record), 21U);
    EXPECT_EQ(SharedPixelCount(&words.record, &words.record), 30U);
    for (const BITMAP* bad : {static_cast<const BITMAP*>(nullptr), &bytes.record,
                              static_cast<const BITMAP*>(&empty), static_cast<const BITMAP*>(&negative)}) {
        EXPECT_EQ(SharedPixelCount(bad, &words.record), 0U);
        EXPECT_EQ(SharedPixelCount(&words.record, bad), 0U);
        EXPECT_EQ(TileRemap(bad, &words.record, 0, 0, 6, 5, 2, 2, 0), 0);
        EXPECT_EQ(TileRemap(&words.record, bad, 0, 0, 6, 5, 2, 2, 0), 0);
    }
}

}  // namespace
}  // namespace pixelforge
