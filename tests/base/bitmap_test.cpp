// GDI sections.
#include "base/bitmap.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "base/win_handles.h"

namespace pixelforge {
namespace {

struct SourceSection {
    UniqueBitmap bitmap;
    std::uint8_t* bits = nullptr;
};

SourceSection MakeSource(std::int32_t width, std::int32_t height, WORD bitsPerPixel, DWORD imageSize) {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } info = {};
    info.header = {sizeof(BITMAPINFOHEADER), width, height, 1, bitsPerPixel, BI_RGB, imageSize, 0, 0, 0, 0};
    void* bits = nullptr;
    SourceSection source;
    source.bitmap.Reset(CreateDIBSection(nullptr, reinterpret_cast<const BITMAPINFO*>(&info), DIB_RGB_COLORS,
                                         &bits, nullptr, 0));
    source.bits = static_cast<std::uint8_t*>(bits);
    return source;
}

DIBSECTION Describe(const UniqueBitmap& bitmap) {
    DIBSECTION section = {};
    EXPECT_EQ(GetObjectW(bitmap.Get(), sizeof(section), &section), static_cast<int>(sizeof(section)));
    return section;
}

TEST(CreatePictureBitmap, ShowsSingleBytesAsGreys) {
    const UniqueBitmap grey = CreatePictureBitmap(1, 1, 8);
    const UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    const GdiSelection selection(dc.Get(), grey.Get());
    for (const int level : {0, 1, 130, 255}) {
        PixelsOf(grey.Get()).bytes[0] = static_cast<std::uint8_t>(level);
        EXPECT_EQ(GetPixel(dc.Get(), 0, 0), RGB(level, level, level));
    }
}

TEST(Bitmaps, RefuseHostileSizes) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::array<std::int32_t, 2> sizes[] = {{0, 1},         {1, 0},       {-4, 4},   {4, -4},
                                                 {30000, 30000}, {most, most}, {most, 1}, {1 << 16, 1 << 16}};
    for (const auto& [width, height] : sizes) {
        EXPECT_FALSE(CreateHostBitmap(width, height)) << width << " x " << height;
        EXPECT_FALSE(CreatePictureBitmap(width, height, 32)) << width << " x " << height;
    }
    EXPECT_FALSE(CreatePictureBitmap(16385, 1, 8));
    EXPECT_FALSE(CreatePictureBitmap(1, 1, 0));
}

TEST(CopyToTopDown, TakesHeaderAndBytesInTheirOrder) {
    // Rows of 5 24-bit and of 3 8-bit pixels are padded; the stated image size may be 0 or a lie.
    const struct {
        std::int32_t width, height;
        WORD bitsPerPixel;
        std::size_t bytes;
    } cases[] = {{5, 3, 24, 48}, {3, 4, 8, 16}, {6, -2, 32, 48}, {2, 2, 32, 16}, {9, 2, 1, 8}};
    for (const auto& each : cases) {
        for (const DWORD imageSize : {DWORD{0}, DWORD{0x7FFFFFFF}}) {
            const SourceSection source = MakeSource(each.width, each.height, each.bitsPerPixel, imageSize);
            ASSERT_TRUE(source.bitmap);
            for (std::size_t i = 0; i < each.bytes; ++i) {
                source.bits[i] = static_cast<std::uint8_t>(i + 1);
            }
            const UniqueBitmap copy = CopyToTopDown(source.bitmap.Get());
            ASSERT_TRUE(copy) << each.bitsPerPixel;
            const DIBSECTION section = Describe(copy);
            EXPECT_EQ(section.dsBmih.biBitCount, each.bitsPerPixel);
            EXPECT_EQ(std::memcmp(section.dsBm.bmBits, source.bits, each.bytes), 0) << each.bitsPerPixel;
        }
    }
}

}  // namespace
}  // namespace pixelforge
