// Which media documents may name, face files and crosses of cube maps, and what volume headers may claim.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "media/cube_map.h"
#include "media/document_media.h"
#include "media/volume_file.h"

namespace pixelforge {
namespace {

TEST(RestrictSources, DependsOnTheOrigin) {
    const std::tuple<std::wstring, std::wstring, std::wstring> cases[] = {
        {L"", L"", L""},
        {L"/media/a/b.jpg", L"b.jpg", L"/media/a/b.jpg"},
        {L"..\\b.jpg", L"b.jpg", L"..\\b.jpg"},
        {L"/media/a/..", L"", L"/media/a/.."},
        {L"C:\\b.jpg", L"b.jpg", L"C:\\b.jpg"},
        {L"b.jpg:stream", L"", L""},
        {L"https://x/b.jpg", L"b.jpg", L""},
        {L"\\\\server\\share\\b.jpg", L"b.jpg", L""},
        {L"/media/a/con.jpg", L"", L""},
        {L"b.jpg\\.", L"", L"b.jpg\\."}};
    for (const auto& [src, fromService, fromLocalFile] : cases) {
        for (const bool local : {false, true}) {
            const auto document = NewHeapRecord<ShaderDocument>();
            document->origin = local ? DocumentOrigin::LocalFile : DocumentOrigin::Service;
            PassInput& input = document->passes[7].inputs[3];
            CopyCut(input.src, src);
            RestrictSources(*document);
            EXPECT_EQ(input.src, local ? fromLocalFile : fromService) << testing::PrintToString(src);
        }
    }
}

TEST(CubeFacePath, PutsTheNumberBeforeTheExtension) {
    const std::tuple<std::wstring, std::uint32_t, std::wstring> cases[] = {
        {L"C:\\cache\\sky.png", 0, L"C:\\cache\\sky.png"},
        {L"media/sky.big.jpg", 5, L"media/sky.big_5.jpg"},
        {L"a.folder\\sky", 2, L"a.folder\\sky_2"},
        {L"sky", 6, L""},
        {std::wstring(257, L'x'), 1, std::wstring(257, L'x') + L"_1"},
        {std::wstring(258, L'x'), 1, L""}};
    for (const auto& [source, face, expected] : cases) {
        wchar_t path[kPathUnits];
        EXPECT_EQ(CubeFacePath(source.c_str(), face, path), !expected.empty());
        EXPECT_EQ(path, expected);
    }
}

TEST(CellsOfCross, TrimsEachCellAndRejectsTinyOnes) {
    EXPECT_TRUE((CellsOfCross(43, 32).value().faces[0] == PixelBox{22, 12, 6, 6}));
    for (const auto& [width, height] : {std::pair(19, 60), {60, 14}, {-40, 30}}) {
        EXPECT_FALSE(CellsOfCross(width, height)) << width << " x " << height;
    }
}

TEST(VolumeFile, ValidatesSidesChannelsAndLength) {
    constexpr std::uint32_t kMax = 0xFFFFFFFF;
    const std::tuple<VolumeHeader, std::uint64_t, bool> cases[] = {
        {{2, 3, 4, 1}, 24, true},      {{2, 3, 4, 1}, 23, false},     {{2, 3, 4, 2}, 48, true},
        {{2, 3, 4, 2}, 47, false},     {{2, 3, 4, 4}, 24, true},      {{2, 3, 4, 0}, 999, false},
        {{2, 3, 4, 3}, 999, false},    {{0, 3, 4, 1}, 999, false},    {{2, 0, 4, 1}, 999, false},
        {{2, 3, 0, 1}, 999, false},    {{2048, 1, 1, 1}, 2048, true}, {{2049, 1, 1, 1}, 9999, false},
        {{1, 1, kMax, 1}, kMax, false}};
    for (const auto& [header, voxelBytes, fits] : cases) {
        const char* fault = FaultOfVolume(header, kVolumeHeaderBytes + voxelBytes, 2048);
        EXPECT_EQ(!fault, fits) << header.width << " " << int{header.channels} << " " << voxelBytes;
    }
    // Sides whose product overflows 64 bits.
    EXPECT_TRUE(FaultOfVolume({kMax, kMax, kMax, 1}, kMax, kMax));
    EXPECT_TRUE(FaultOfVolume({1u << 31, 1u << 31, 4, 1}, kMax, kMax));
    // One byte short of a header, in a block of exactly that size.
    EXPECT_FALSE(ReadVolumeHeader(
        std::vector<std::uint8_t>{'B', 'I', 'N', 1, 2, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0}));
}

}  // namespace
}  // namespace pixelforge
