// Decodes real files from tests/data/pictures, which the script there makes.
#include "media/image_decoder.h"

#include <windows.h>

#include <objbase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "base/bitmap.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

using testing::DoubleNear;
using testing::Pointwise;

using Bytes = std::vector<int>;

const std::string kFolder = PIXELFORGE_SOURCE_DIR "/tests/data/pictures/";

std::wstring PathOf(const std::string& name) {
    return Widen(kFolder + name, TextEncoding::Utf8).value();
}

std::string ContentOf(const std::string& name) {
    std::ifstream file(kFolder + name, std::ios::binary);
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

/// Two flat blocks of 8 x 8 pixels, which lossy compression hardly changes.
Bytes BlockAt(int x, int) {
    return x < 8 ? Bytes{40, 100, 200} : Bytes{220, 60, 30};
}

Bytes InksOfBlockAt(int x, int) {
    return x < 8 ? Bytes{0, 127, 204, 55} : Bytes{220, 185, 0, 35};
}

/// Rows follow each other without the section's padding, so those of sheared pictures start too early for the
/// section, and the bytes after the last row stay 0.
TEST(DecodeImageFile, KeepsDepthColoursAndUnpaddedRows) {
    const struct {
        const char* file;
        int width;
        int height;
        Bytes (*pixelOf)(int, int);
        std::size_t padding;  ///< bytes of all rows
        int tolerance;
    } cases[] = {
        {"rgb8.png", 4, 3, ColourAt, 0, 0},
        {"rgba8.png", 4, 3, ColourAndAlphaAt, 0, 0},
        {"interlaced.png", 4, 3, ColourAndAlphaAt, 0, 0},
        {"grey8.png", 4, 3, GreyAt, 0, 0},
        {"palette8.png", 4, 3, IndexAt, 0, 0},
        {"palette.gif", 4, 3, IndexAt, 0, 0},
        {"palette8.bmp", 4, 3, IndexAt, 0, 0},
        {"colour24.bmp", 4, 3, ColourAt, 0, 0},
        {"sheared_rgb8.png", 3, 3, ColourAt, 9, 0},
        {"sheared_grey8.png", 5, 3, GreyAt, 9, 0},
        {"progressive.jpg", 16, 8, BlockAt, 0, 3},
        {"cmyk.jpg", 16, 8, InksOfBlockAt, 0, 3},
    };
    for (const auto& each : cases) {
        Bytes expected;
        for (int i = 0; i < each.width * each.height; ++i) {
            std::ranges::copy(each.pixelOf(i % each.width, i / each.width), std::back_inserter(expected));
        }
        expected.resize(expected.size() + each.padding);
        std::string reason;
        const UniqueBitmap bitmap = DecodeImageFile(PathOf(each.file).c_str(), reason);
        EXPECT_EQ(reason, "") << each.file;
        const auto bytes = PixelsOf(bitmap.Get()).bytes;
        EXPECT_THAT(Bytes(bytes.begin(), bytes.end()), Pointwise(DoubleNear(each.tolerance), expected))
            << each.file;
    }
}

/// A black picture whose header claims a size that its data does not have.
std::string Claiming(unsigned width, unsigned height) {
    std::string header = ContentOf("colour24.bmp").substr(0, 54);
    std::memcpy(&header[18], &width, 4);
    std::memcpy(&header[22], &height, 4);
    return header + std::string(64, '\0');
}

TEST(DecodeImageFile, RejectsIncompleteAndUnsupportedPictures) {
    const std::string picture = ContentOf("rgba8.png");
    const std::pair<std::string, const char*> cases[] = {
        {"", "not a picture"},
        {"BIN", "not a picture"},
        {picture.substr(0, 8), ""},
        {picture.substr(0, 30), ""},
        {picture.substr(0, 50), ""},
        {Claiming(16385, 1), "larger than"},
        {Claiming(1, 16385), "larger than"},
        {Claiming(16384, 0x7FFFFFFF), "larger than"},
        {Claiming(0, 5), ""},
        {Claiming(0xFFFFFFFF, 0xFFFFFFFF), ""},
        {ContentOf("grey1.png"), "1-bit picture"},
        {ContentOf("palette4.bmp"), "4-bit picture"},
        {ContentOf("rgb16.png"), "48-bit picture"},
        {ContentOf("rgba16.png"), "64-bit picture"},
    };
    for (const auto& [content, expected] : cases) {
        std::string reason;
        EXPECT_FALSE(DecodeImageFile(test::TempFile(content, L".png").Path().c_str(), reason)) << expected;
        EXPECT_NE(reason, "");
        EXPECT_THAT(reason, testing::HasSubstr(expected));
    }
}

TEST(DecodeImageFile, WorksInAnyApartmentAndLeavesItUnchanged) {
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
