// Creates GDI sections and finds their pixels.
#include "base/bitmap.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/win_handles.h"

namespace pixelforge {
namespace {

struct SectionInfo {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];  ///< the palette or three colour masks
};

struct Section {
    UniqueBitmap bitmap;
    void* bits = nullptr;
};

SectionInfo DescribeSection(std::int32_t width, std::int32_t height, std::int32_t bitsPerPixel) {
    SectionInfo info = {};
    info.header.biSize = sizeof(info.header);
    info.header.biWidth = width;
    info.header.biHeight = height;
    info.header.biPlanes = 1;
    info.header.biBitCount = static_cast<WORD>(bitsPerPixel);
    info.header.biCompression = BI_RGB;
    return info;
}

void FillWithGreys(SectionInfo& info) {
    for (unsigned i = 0; i < std::size(info.colours); ++i) {
        const auto level = static_cast<BYTE>(i);
        info.colours[i] = {level, level, level, 0};
    }
}

Section CreateSection(const SectionInfo& info) {
    const WindowDc screen(nullptr);
    Section section;
    section.bitmap.Reset(CreateDIBSection(screen.Get(), reinterpret_cast<const BITMAPINFO*>(&info),
                                          DIB_RGB_COLORS, &section.bits, nullptr, 0));
    return section;
}

bool Describe(HBITMAP bitmap, DIBSECTION& section) noexcept {
    return bitmap && GetObjectW(bitmap, sizeof(section), &section) == sizeof(section) && section.dsBm.bmBits;
}

SectionPixels PixelsIn(const DIBSECTION& section) noexcept {
    const BITMAPINFOHEADER& header = section.dsBmih;
    SectionPixels pixels = {header.biWidth, std::abs(header.biHeight), header.biBitCount, {}};
    const std::int64_t size = SectionRowBytes(pixels.width, pixels.bitsPerPixel) * pixels.height;
    pixels.bytes = {static_cast<std::uint8_t*>(section.dsBm.bmBits), static_cast<std::size_t>(size)};
    return pixels;
}

}  // namespace

void BitmapTraits::Close(HBITMAP bitmap) noexcept {
    DeleteObject(bitmap);
}

UniqueBitmap CreateHostBitmap(std::int32_t width, std::int32_t height) {
    if (width < 1 || height < 1 || std::int64_t{width} * height > kMaxSectionBytes / 4) {
        return {};
    }
    return CreateSection(DescribeSection(width, height, 32)).bitmap;
}

UniqueBitmap CreatePictureBitmap(std::int32_t width, std::int32_t height, std::int32_t bitsPerPixel) {
    if (!FitsSection(width, height, bitsPerPixel)) {
        return {};
    }
    SectionInfo info = DescribeSection(width, -height, bitsPerPixel);
    FillWithGreys(info);
    return CreateSection(info).bitmap;
}

UniqueBitmap CopyToTopDown(HBITMAP source) {
    DIBSECTION original = {};
    if (!Describe(source, original)) {
        return {};
    }
    SectionInfo info = {};
    info.header = original.dsBmih;
    info.header.biHeight = -std::abs(original.dsBmih.biHeight);
    Section copy = CreateSection(info);
    if (!copy.bitmap || !copy.bits) {
        return {};
    }
    // The stated size of an uncompressed section may be 0 or too large.
    const std::size_t stated = original.dsBmih.biSizeImage;
    const std::size_t real = PixelsIn(original).bytes.size();
    std::memcpy(copy.bits, original.dsBm.bmBits, stated ? std::min(stated, real) : real);
    return std::move(copy.bitmap);
}

SectionPixels PixelsOf(HBITMAP bitmap) noexcept {
    DIBSECTION section = {};
    return Describe(bitmap, section) ? PixelsIn(section) : SectionPixels{};
}

}  // namespace pixelforge
