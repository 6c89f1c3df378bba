// Decoding of real files: tests/data/pictures, made by the script there.
#include "library/image_decoder.h"

#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "base/bitmap.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

using Bytes = std::vector<int>;

std::wstring PathOf(const std::string& name) {
    return Widen(PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name, TextEncoding::Utf8).value();
}

std::string ContentOf(const std::string& name) {
    std::ifstream file(PIXELFORGE_SOURCE_DIR "/tests/data/pictures/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes ColourAt(int x, int y) {
    return {200 - 30 * x - 20 * y, 30 + 50 * y, 20 + 40 * x};
}

Bytes ColourAndAlphaAt(int x, int y) {
    Bytes bytes = ColourAt(x, y);
    bytes.push_back(255 - 40 * (x + y));
    return bytes;
}

Bytes GreyAt(int x, int y) {
    return {10 + 40 * x + 15 * y};
}

Bytes IndexAt(int x, int y) {
    return {x + 2 * y};
}

UniqueBitmap Decode(const char* name) {
    std::string reason;
    UniqueBitmap bitmap = DecodeImageFile(PathOf(name).c_str(), reason);
    EXPECT_EQ(reason, "") << name;
    return bitmap;
}

/// The bytes of one pixel, as a section lays them out, in the top row first.
Bytes PixelAt(const SectionPixels& pixels, int x, int y) {
    const auto bytes = static_cast<std::size_t>(pixels.bitsPerPixel) / 8;
    const auto stride = static_cast<std::size_t>(SectionRowBytes(pixels.width, pixels.bitsPerPixel));
    const auto pixel = pixels.bytes.subspan(
        static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * bytes, bytes);
    return {pixel.begin(), pixel.end()};
}

TEST(DecodeImageFile, KeepsDepthAndColours) {
    const std::pair<const char*, Bytes (*)(int, int)> cases[] = {
        {"rgb8.png", ColourAt},    {"rgba8.png", ColourAndAlphaAt}, {"interlaced.png", ColourAndAlphaAt},
        {"grey8.png", GreyAt},     {"palette8.png", IndexAt},       {"colour24.bmp", ColourAt},
        {"palette8.bmp", IndexAt}, {"palette.gif", IndexAt},        {"grey.tif", GreyAt},
    };
    for (const auto& [file, pixelOf] : cases) {
        const UniqueBitmap bitmap = Decode(file);
        const SectionPixels pixels = PixelsOf(bitmap.Get());
        ASSERT_EQ(pixels.width, 4) << file;
        ASSERT_EQ(pixels.height, 3) << file;
        for (int i = 0; i < 12; ++i) {
            EXPECT_EQ(PixelAt(pixels, i % 4, i / 4), pixelOf(i % 4, i / 4)) << file << ", pixel " << i;
        }
    }
}

TEST(DecodeImageFile, ReadsCompressedPhotographs) {
    // Two flat blocks of 8 x 8 pixels; the numbers are those of the left one.
    for (const auto& [file, left] : {std::pair("progressive.jpg", Bytes{40, 100, 200}),
                                     {"grey.jpg", {117}},
                                     {"cmyk.jpg", {0, 127, 204, 55}}}) {
        const UniqueBitmap bitmap = Decode(file);
        const SectionPixels pixels = PixelsOf(bitmap.Get());
        ASSERT_EQ(pixels.width, 16) << file;
        const Bytes pixel = PixelAt(pixels, 3, 6);
        ASSERT_EQ(pixel.size(), left.size()) << file;
        for (std::size_t i = 0; i < left.size(); ++i) {
            EXPECT_NEAR(pixel[i], left[i], 3) << file << ", sample " << i;
        }
    }
}

/// Rows follow each other without the section's padding: each begins earlier than the section expects it.
TEST(DecodeImageFile, ShearsRowsThatAreNoMultipleOfFourBytes) {
    const struct {
        const char* file;
        int width, bytesPerPixel;
        Bytes (*pixelOf)(int, int);
    } cases[] = {{"sheared_rgb8.png", 3, 3, ColourAt}, {"sheared_grey8.png", 5, 1, GreyAt}};
    for (const auto& each : cases) {
        const UniqueBitmap bitmap = Decode(each.file);
        const SectionPixels pixels = PixelsOf(bitmap.Get());
        ASSERT_EQ(pixels.width, each.width) << each.file;
        for (int i = 0; i < each.width * 3; ++i) {
            const int expected = each.pixelOf(i % each.width, i / each.width)[0];
            EXPECT_EQ(pixels.bytes[static_cast<std::size_t>(i * each.bytesPerPixel)], expected)
                << each.file << ", pixel " << i;
        }
        const auto written = static_cast<std::size_t>(each.width * each.bytesPerPixel * pixels.height);
        ASSERT_LT(written, pixels.bytes.size());
        for (const std::uint8_t untouched : pixels.bytes.subspan(written)) {
            EXPECT_EQ(untouched, 0) << each.file;
        }
    }
}

TEST(DecodeImageFile, RefusesDepthsThatNoSectionHas) {
    for (const char* file : {"grey1.png", "palette4.bmp", "rgb16.png", "rgba16.png"}) {
        std::string reason;
        EXPECT_FALSE(DecodeImageFile(PathOf(file).c_str(), reason)) << file;
        EXPECT_NE(reason.find("-bit picture"), std::string::npos) << file << ": " << reason;
    }
}

/// A picture of zeros whose header claims a size that its data does not have.
std::string Claiming(unsigned width, unsigned height) {
    std::string header = ContentOf("colour24.bmp").substr(0, 54);
    std::memcpy(&header[18], &width, 4);
    std::memcpy(&header[22], &height, 4);
    return header + std::string(64, '\0');
}

TEST(DecodeImageFile, RefusesWhatIsNoWholePicture) {
    const std::string picture = ContentOf("rgba8.png");
    ASSERT_GT(picture.size(), 60u);
    for (const std::string& content :
         {std::string(), std::string("BIN"), std::string("no picture at all"), picture.substr(0, 8),
          picture.substr(0, 30), picture.substr(0, 50), Claiming(16385, 1), Claiming(1, 16385),
          Claiming(16384, 0x7FFFFFFF), Claiming(0, 5), Claiming(0xFFFFFFFF, 0xFFFFFFFF)}) {
        std::string reason;
        EXPECT_FALSE(DecodeImageFile(test::TempFile(content, L".png").Path().c_str(), reason));
        EXPECT_NE(reason, "");
    }
    std::string reason;
    EXPECT_FALSE(DecodeImageFile(PathOf("missing.png").c_str(), reason));
}

TEST(DecodeImageFile, WorksInAnyApartmentAndLeavesItAsItWas) {
    for (const DWORD model : {DWORD{COINIT_MULTITHREADED}, DWORD{COINIT_APARTMENTTHREADED}}) {
        std::thread([model] {
            ASSERT_EQ(CoInitializeEx(nullptr, model), S_OK);
            std::string reason;
            EXPECT_TRUE(DecodeImageFile(PathOf("rgb8.png").c_str(), reason)) << reason;
            EXPECT_EQ(CoInitializeEx(nullptr, model), S_FALSE) << "the apartment is gone";
            CoUninitialize();
            CoUninitialize();
        }).join();
    }
}

}  // namespace
}  // namespace pixelforge
