// The media step on documents put together in memory.
#include "library/document_media.h"

#include <gtest/gtest.h>

#include <memory>

#include "library/cube_faces.h"
#include "library/internet_session.h"
#include "library/volume_file.h"
#include "tests/support/temp_file.h"

namespace pixelforge {
namespace {

TEST(LoadDocumentMedia, LeavesChannelsEmptyThatCannotBeLoaded) {
    const test::TempFile noVolume("BAN" + std::string(40, '\1'), L".bin");
    const test::TempFile cutVolume("BIN" + std::string(16, '\1'), L".bin");
    const test::TempFile empty("", L".bin");
    const std::pair<ChannelType, std::wstring> cases[] = {
        {ChannelType::Volume, noVolume.Path()},  {ChannelType::Volume, cutVolume.Path()},
        {ChannelType::Volume, empty.Path()},     {ChannelType::Texture, empty.Path()},
        {ChannelType::CubeMap, noVolume.Path()},
    };
    for (const auto& [type, src] : cases) {
        const auto document = std::make_unique<ShaderDocument>();
        document->origin = DocumentOrigin::LocalFile;
        RenderPass& image = document->passes[7];
        image.kind = PassKind::Image;
        image.inputs[2].ctype = type;
        CopyCut(image.inputs[2].src, src);
        InternetSession offline;
        EXPECT_TRUE(LoadDocumentMedia(&offline, *document));
        EXPECT_FALSE(image.inputs[2].volume);
        EXPECT_FALSE(image.inputs[2].faces[0]);
        EXPECT_EQ(image.inputs[2].sourcePass, 0);
        EXPECT_EQ(image.channelResolution[2].width, 0.0F);
    }
}

TEST(CubeFacePath, PutsTheNumberBeforeTheExtension) {
    const struct {
        std::wstring path;
        std::uint32_t face;
        std::wstring expected;
    } cases[] = {
        {L"C:\\cache\\sky.png", 0, L"C:\\cache\\sky.png"},
        {L"C:\\cache\\sky.png", 1, L"C:\\cache\\sky_1.png"},
        {L"media/sky.big.jpg", 5, L"media/sky.big_5.jpg"},
        {L"a.folder\\sky", 2, L"a.folder\\sky_2"},
        {L"C:sky.png", 3, L"C:sky_3.png"},
        {L".png", 4, L"_4.png"},
        {L"sky", 6, L""},
        {std::wstring(257, L'x'), 1, std::wstring(257, L'x') + L"_1"},
        {std::wstring(258, L'x'), 1, L""},
    };
    for (const auto& each : cases) {
        wchar_t path[kPathUnits];
        EXPECT_EQ(CubeFacePath(each.path.c_str(), each.face, path), !each.expected.empty());
        EXPECT_EQ(path, each.expected);
    }
}

TEST(VolumeFile, JudgesSidesChannelsAndLength) {
    constexpr std::uint32_t kMost = 0xFFFFFFFF;
    const struct {
        VolumeHeader header;
        std::uint64_t voxelBytes;
        bool fits;
    } cases[] = {
        {{2, 3, 4, 1}, 24, true},       {{2, 3, 4, 1}, 23, false},        {{2, 3, 4, 2}, 48, true},
        {{2, 3, 4, 2}, 47, false},      {{2, 3, 4, 4}, 24, true},         {{2, 3, 4, 4}, 23, false},
        {{2, 3, 4, 0}, 999, false},     {{2, 3, 4, 3}, 999, false},       {{0, 3, 4, 1}, 999, false},
        {{2, 0, 4, 1}, 999, false},     {{2, 3, 0, 1}, 999, false},       {{2048, 1, 1, 1}, 2048, true},
        {{2049, 1, 1, 1}, 9999, false}, {{1, 1, kMost, 1}, kMost, false},
    };
    for (const auto& [header, voxelBytes, fits] : cases) {
        const char* fault = FaultOfVolume(header, kVolumeHeaderBytes + voxelBytes, 2048);
        EXPECT_EQ(fault == nullptr, fits) << header.width << " " << header.height << " " << header.depth
                                          << " " << int{header.channels} << " " << voxelBytes;
    }
    // Sides whose product does not fit 64 bits.
    EXPECT_NE(FaultOfVolume({kMost, kMost, kMost, 1}, kMost, kMost), nullptr);
    EXPECT_NE(FaultOfVolume({1u << 31, 1u << 31, 4, 1}, kMost, kMost), nullptr);
}

}  // namespace
}  // namespace pixelforge
