// What `preview` writes: PNG files, and the temporary files on drive D:.
#include <gmock/gmock.h>

#include <filesystem>
#include <numeric>
#include <optional>
#include <thread>

#include "base/bitmap.h"
#include "base/file.h"
#include "media/image_decoder.h"
#include "preview/documents/opened_shader.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/host_surface.h"
#include "preview/host/staged_shader.h"
#include "preview/video.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

// All bytes differ, so that a flip, swapped channels or a wrong pitch fail.
TEST(PngFile, HoldsTheFrameTheRightWayUpWithoutItsAlpha) {
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

// The corners of the colour cube in limited range. The blocks differ, so that a flip or a transposition
// fails.
TEST(VideoFile, HoldsEachFrameInLimitedRange) {
    const std::uint8_t colors[4][4] = {{0, 0, 255, 9}, {255, 0, 0, 9}, {0, 255, 0, 9}, {255, 255, 255, 9}};
    const std::string luma("\x51\x51\x29\x29\x51\x51\x29\x29\x91\x91\xEB\xEB\x91\x91\xEB\xEB");
    const std::string frame = "FRAME\n" + luma + "\x5A\xF0\x36\x80" + "\xF0\x6E\x22\x80";
    for (const bool bottomUp : {false, true}) {
        std::vector<std::uint8_t> bytes;
        for (int i = 0; i < 16; ++i) {
            const auto& color = colors[(i / 8 != 0) != bottomUp ? 2 + i % 4 / 2 : i % 4 / 2];
            bytes.insert(bytes.end(), color, color + 4);
        }
        const FramePixels pixels = {.bytes = bytes, .width = 4, .height = 4, .bottomUp = bottomUp};
        const test::TempFile file("", L".y4m");
        {
            VideoWriter video({"v", file.Path()}, 25);
            video.Write(pixels);
            video.Write(pixels);
            EXPECT_THROW(video.Write({.bytes = bytes, .width = 8, .height = 2}), HostError);
        }
        EXPECT_EQ(
            ReadInputFile(file.Path()),
            "YUV4MPEG2 W4 H4 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED XMATRIX=BT.601\n" + frame + frame)
            << bottomUp;
    }
}

std::wstring PlaylistPath(const StagedShader& shader) {
    return L"D:\\Moonreel\\Pixelforge\\Playlists\\" + FromUtf8(shader.PlaylistName());
}

TEST(StagedShader, RemovesTheFilesOfAKilledProgram) {
    const std::wstring folder = L"D:\\Moonreel\\Pixelforge\\Playlists";
    const std::wstring left[] = {L"D:\\Moonreel\\paa0aa9", folder + L"\\preview-aa0aa9.playlist"};
    const std::wstring foreign[] = {L"D:\\Moonreel\\paa0aa8", folder + L"\\preview-mine.playlist"};
    std::filesystem::create_directories(folder);
    for (const auto& files : {left, foreign}) {
        WriteOutputFile(files[0], BytesOf("x"));
        WriteOutputFile(files[1], BytesOf("x"));
    }
    StagedShader::OfDocument(BytesOf("1"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(IsExistingFile(left[i].c_str()));
        EXPECT_TRUE(std::filesystem::remove(foreign[i]));
    }
}

TEST(StagedShader, LiesWhereTheModuleLooksAndRemovesOnlyItsOwnFiles) {
    std::optional first = StagedShader::OfDocument(BytesOf("1"));
    const StagedShader second = StagedShader::OfDocument(BytesOf("2"));
    const std::wstring alias = first->AliasPath();
    const std::wstring playlist = PlaylistPath(*first);
    EXPECT_EQ(ReadInputFile(playlist), ToUtf8(alias) + "\r\n");
    EXPECT_EQ(ReadInputFile(PlaylistPath(OpenedShader::OfIdentifier("\xC3\xA4").Staged())), "\xE4\r\n");
    EXPECT_EQ(ReadInputFile(alias), "1");
    first.reset();
    EXPECT_FALSE(IsExistingFile(playlist.c_str()));
    EXPECT_FALSE(IsExistingFile(alias.c_str()));
    EXPECT_EQ(ReadInputFile(second.AliasPath()), "2");
}

TEST(OpenedShader, ReloadsWhenAChangeOfSizeIsWholeAndReadable) {
    const test::TempFile file("//@ iChannel0 nothing\n", L".glsl");
    OpenedShader shader = OpenedShader::OfFile(file.Path(), {}, "dir/s.glsl");
    EXPECT_EQ(shader.Errors().size(), 1u);
    EXPECT_EQ(ReadInputFile(shader.Staged().AliasPath()), "");
    const auto polled = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return shader.Refresh();
    };
    EXPECT_FALSE(polled());
    const auto time = std::filesystem::last_write_time(file.Path());
    for (const char* text : {"void", "void mainImage(out vec4 c, in vec2 p) {}"}) {
        WriteOutputFile(file.Path(), BytesOf(text));
        std::filesystem::last_write_time(file.Path(), time);
        EXPECT_FALSE(polled()) << "another write may follow";
    }
    auto writer = AdoptFileHandle(
        CreateFileW(file.Path().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(polled()) << "still open for writing";
    writer.Reset();
    EXPECT_TRUE(polled());
    EXPECT_THAT(ReadInputFile(shader.Staged().AliasPath()), testing::HasSubstr("mainImage"));
}

TEST(WorkingFolder, ResolvesRelativeNamesWhileAlive) {
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
