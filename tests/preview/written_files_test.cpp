// What `preview` writes: pictures, and on drive D: what the module reads and nothing of which stays.
#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <optional>

#include "base/bitmap.h"
#include "base/file.h"
#include "media/image_decoder.h"
#include "preview/host/file_paths.h"
#include "preview/host/png_file.h"
#include "preview/host/shader_drop.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

// Every byte differs: a flip, a swap of channels or a wrong pitch shows.
TEST(PngFile, ShowsTheFrameTheRightWayUpWithoutItsAlpha) {
    std::vector<std::uint8_t> frame(4 * 2 * 4);
    std::iota(frame.begin(), frame.end(), std::uint8_t{1});
    for (const bool bottomUp : {false, true}) {
        const test::TempFile file("old content", L".png");
        WritePng(file.Path(), {.bytes = frame, .width = 4, .height = 2, .bottomUp = bottomUp});
        std::string reason;
        const UniqueBitmap bitmap = DecodeImageFile(file.Path().c_str(), reason);
        const SectionPixels pixels = PixelsOf(bitmap.Get());
        ASSERT_EQ(pixels.bytes.size(), 4u * 2u * 3u) << reason;
        for (std::size_t i = 0; i < pixels.bytes.size(); ++i) {
            const std::size_t row = bottomUp ? 1 - i / 12 : i / 12;
            EXPECT_EQ(pixels.bytes[i], frame[row * 16 + i % 12 / 3 * 4 + i % 3])
                << bottomUp << ", byte " << i;
        }
    }
}

std::string Content(const std::wstring& path) {
    const auto bytes = ReadInputFile(path);
    return {bytes.begin(), bytes.end()};
}

TEST(ShaderDrop, LiesWhereTheModuleReadsAndTakesAwayItsOwnFilesOnly) {
    std::optional first = ShaderDrop::OfDocument(std::vector<std::uint8_t>{'1'});
    const ShaderDrop second = ShaderDrop::OfDocument(std::vector<std::uint8_t>{'2'});
    const std::wstring alias = first->AliasPath();
    const std::wstring playlist = L"D:\\Moonreel\\Pixelforge\\Playlists\\" + FromUtf8(first->PlaylistName());
    EXPECT_EQ(Content(playlist), ToUtf8(alias) + "\r\n");
    EXPECT_EQ(Content(alias), "1");
    first.reset();
    EXPECT_FALSE(IsExistingFile(playlist.c_str()));
    EXPECT_FALSE(IsExistingFile(alias.c_str()));
    EXPECT_EQ(Content(second.AliasPath()), "2");
}

TEST(WorkingFolder, MakesFilesBesideReachableByTheirNamesUntilItEnds) {
    const test::TempFile beside("x");
    const std::wstring name = beside.Path().substr(beside.Path().find_last_of(L"\\/") + 1);
    const auto before = std::filesystem::current_path();
    {
        const WorkingFolder working(beside.Path());
        EXPECT_TRUE(working.Entered());
        EXPECT_TRUE(IsExistingFile(name.c_str()));
    }
    EXPECT_EQ(std::filesystem::current_path(), before);
    EXPECT_FALSE(WorkingFolder(L"C:\\no such folder\\file.json").Entered());
}

}  // namespace
}  // namespace pixelforge::preview
