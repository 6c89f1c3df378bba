// What is left on drive D: for the module, and that nothing of it stays.
#include "preview/shader_drop.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "base/file.h"
#include "preview/file_paths.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

const std::wstring kPlaylists = L"D:\\Moonreel\\Pixelforge\\Playlists\\";

std::span<const std::uint8_t> Bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string Content(const std::wstring& path) {
    const auto bytes = ReadInputFile(path);
    return {bytes.begin(), bytes.end()};
}

TEST(ShaderDrop, NamesADocumentInAPlaylistLineOfNineteenUnits) {
    const auto drop = ShaderDrop::OfDocument(Bytes("{\"a\":1}"));
    EXPECT_EQ(drop.AliasPath().size(), 19u);
    EXPECT_EQ(Content(drop.AliasPath()), "{\"a\":1}");
    EXPECT_EQ(Content(kPlaylists + FromUtf8(drop.PlaylistName())), ToUtf8(drop.AliasPath()) + "\r\n");
}

TEST(ShaderDrop, RemovesWhatItMadeAndNothingElse) {
    std::optional first = ShaderDrop::OfDocument(Bytes("1"));
    std::optional second = ShaderDrop::OfDocument(Bytes("2"));
    const std::wstring firstAlias = first->AliasPath();
    const std::wstring secondAlias = second->AliasPath();
    EXPECT_NE(firstAlias, secondAlias);
    first.reset();
    EXPECT_FALSE(IsExistingFile(firstAlias.c_str()));
    EXPECT_EQ(Content(secondAlias), "2");
    const std::wstring playlist = kPlaylists + FromUtf8(second->PlaylistName());
    second.reset();
    EXPECT_FALSE(IsExistingFile(secondAlias.c_str()));
    EXPECT_FALSE(IsExistingFile(playlist.c_str()));
}

TEST(WorkingFolder, MakesFilesBesideReachableByTheirNames) {
    const test::TempFile beside("x");
    const std::wstring path = beside.Path();
    const std::wstring name = path.substr(path.find_last_of(L"\\/") + 1);
    const auto before = std::filesystem::current_path();
    {
        const WorkingFolder working(path);
        EXPECT_TRUE(working.Entered());
        EXPECT_TRUE(IsExistingFile(name.c_str()));
    }
    EXPECT_EQ(std::filesystem::current_path(), before);
    EXPECT_FALSE(WorkingFolder(L"C:\\no such folder\\file.json").Entered());
    EXPECT_EQ(std::filesystem::current_path(), before);
}

}  // namespace
}  // namespace pixelforge::preview
