// GDI sections.
#include "base/bitmap.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <tuple>

#include "base/win_handles.h"

namespace pixelforge {
namespace {

TEST(CreatePictureBitmap, Has8BitGreyPalette) {
    const UniqueBitmap grey = CreatePictureBitmap(1, 1, 8);
    const UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    const GdiSelection selection(dc.Get(), grey.Get());
    for (const int level : {0, 1, 130, 255}) {
        PixelsOf(grey.Get()).bytes[0] = static_cast<std::uint8_t>(level);
        EXPECT_EQ(GetPixel(dc.Get(), 0, 0), RGB(level, level, level));
    }
}

TEST(Bitmaps, RejectHostileSizes) {
    constexpr int kMax = 0x7FFFFFFF;
    const int sizes[][2] = {{0, 1}, {1, 0}, {-4, 4}, {4, -4}, {30000, 30000}, {kMax, kMax}, {65536, 65536}};
    for (const auto& [width, height] : sizes) {
        EXPECT_FALSE(CreateHostBitmap(width, height)) << width << " x " << height;
        EXPECT_FALSE(CreatePictureBitmap(width, height, 32)) << width << " x " << height;
    }
    EXPECT_FALSE(CreatePictureBitmap(16385, 1, 8));
    EXPECT_FALSE(CreatePictureBitmap(1, 1, 0));
}

TEST(CopyToTopDown, CopiesDepthAndBytesUnchanged) {
    // The first two have padded rows. The image sizes are 0 or wrong; Wine corrects wrong ones.
    const std::tuple<LONG, LONG, WORD, DWORD, std::size_t> cases[] = {
        {5, 3, 24, 0, 48}, {3, 4, 8, 0x7FFFFFFF, 16}, {6, -2, 32, 0x7FFFFFFF, 48}};
    for (const auto& [width, height, depth, imageSize, bytes] : cases) {
        BITMAPINFO info[100] = {};  // with room for a palette
        info->bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, depth, BI_RGB, imageSize, 0, 0, 0, 0};
        void* bits = nullptr;
        const UniqueBitmap source(CreateDIBSection(nullptr, info, DIB_RGB_COLORS, &bits, nullptr, 0));
        const std::span given(static_cast<std::uint8_t*>(bits), bytes);
        std::iota(given.begin(), given.end(), std::uint8_t{1});
        const UniqueBitmap copy = CopyToTopDown(source.Get());
        const SectionPixels pixels = PixelsOf(copy.Get());
        EXPECT_EQ(pixels.bitsPerPixel, depth);
        EXPECT_TRUE(std::ranges::equal(pixels.bytes, given)) << depth << " bits";
    }
}

}  // namespace
}  // namespace pixelforge
