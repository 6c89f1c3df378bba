// The module from a playlist of identifiers to pixels, against the service.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/random.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/host/debug_capture.h"
#include "preview/host/host_session.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "preview/preview_run.h"
#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

namespace fs = std::filesystem;

using testing::Contains;
using testing::HasSubstr;

struct Played {
    std::set<std::uint32_t> colours;
    std::size_t failed = 0;
};

/// Resets after every drawn frame until it has seen four colours and a failure, or for 50 seconds.
Played Play(const preview::ModuleLibrary& module, const preview::StagedShader& playlist) {
    preview::HostSession session(module, {.width = 16,
                                          .height = 16,
                                          .playlistName = playlist.PlaylistName(),
                                          .settings = {{"Min Reset Time", "1"}}});
    session.Open();
    Played played;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
    while ((played.colours.size() < 4 || played.failed == 0) && std::chrono::steady_clock::now() < deadline) {
        const FrameResult result = session.DrawFrame();
        played.failed += result == FrameResult::Failed ? 1 : 0;
        // Left on, it would leave a slow machine no time to draw.
        session.Controls().Apply({"Reset Event", result == FrameResult::Drawn ? "1" : "0"});
        if (result == FrameResult::Drawn) {
            played.colours.insert(session.Pixels().At(0, 0) & 0xFFFFFF);
        }
    }
    return played;
}

TEST_F(ServiceTest, APlaylistRequestsGoodShadersOnceAndDeadOnesEveryFrame) {
    // The cache lies beside this program, so each run uses new identifiers. They have no capitals, which
    // would change the mask in the file name.
    const fs::path cache =
        fs::path(preview::ModulePathBesideProgram()).parent_path() / "Pixelforge" / "PixelforgeCache";
    const std::string stamp = std::to_string(SystemRandom() % 100'000'000);
    const std::string good[] = {"red" + stamp, "green" + stamp, "blue" + stamp, "tile" + stamp};
    std::string lines = "deadone\r\ncut-red\r\n";
    for (const std::string& id : good) {
        lines += id + "\r\n";
    }
    const preview::StagedShader playlist = preview::StagedShader::OfPlaylist(BytesOf(lines));
    const std::string bait = "tile" + stamp + ".bmp";
    std::ofstream(bait) << "A stranger's document must not find this in the current folder.";
    const preview::DebugCapture capture;
    const preview::ModuleLibrary module;
    std::size_t failed = 0;
    // The second round reads them from disk.
    for (int round = 0; round < 2; ++round) {
        const Played played = Play(module, playlist);
        EXPECT_THAT(played.colours, testing::ElementsAre(0x0000FFu, 0x00FF00u, 0xFF0000u, 0xFFFF00u));
        EXPECT_GE(played.failed, 1u);
        failed += played.failed;
    }
    EXPECT_THAT(Requests(), testing::SizeIs(std::size(good) + 1 + failed)) << "and the tile's picture";
    EXPECT_THAT(Requests(), testing::Each(HasSubstr(kUserAgent)));
    for (const std::string& id : good) {
        EXPECT_THAT(Requests(), Contains(HasSubstr(" /api/v1/shaders/" + id + "?key=fz3kq9\t")));
        EXPECT_TRUE(fs::exists(cache / "Shaders" / (id + "_0.json")));
        preview::ForgetCachedShader(id);
        EXPECT_FALSE(fs::exists(cache / "Shaders" / (id + "_0.json")));
    }
    EXPECT_THAT(Requests(), Contains(HasSubstr(" /media/a/" + bait + "\t")));
    EXPECT_TRUE(fs::remove(cache / "Assets" / bait));
    EXPECT_TRUE(fs::remove(bait));
    EXPECT_THAT(capture.Lines(),
                Contains(testing::AnyOf(HasSubstr("deadone: the service returned status 404"),
                                        HasSubstr("cut-red: the service's response was cut short"))));
}

TEST(Playlist, OneThatYieldsNoLineIsReportedWithTheCause) {
    constexpr std::pair<std::string_view, const char*> kCases[] = {
        {"", "empty playlist: D:"},
        {"deadone", "no complete line"},
        {"locked\n", "cannot read the playlist D:"}};
    const preview::ModuleLibrary module;
    for (const auto& [lines, words] : kCases) {
        const preview::StagedShader playlist = preview::StagedShader::OfPlaylist(BytesOf(lines));
        const std::string path = "D:\\Moonreel\\Pixelforge\\Playlists\\" + playlist.PlaylistName();
        const DWORD reading = lines.starts_with("locked") ? 0 : FILE_SHARE_READ;
        const UniqueKernelHandle held =
            AdoptFileHandle(CreateFileA(path.c_str(), GENERIC_READ, reading | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(held);
        const preview::DebugCapture capture;
        preview::HostSession session(module,
                                     {.width = 16, .height = 16, .playlistName = playlist.PlaylistName()});
        session.Open();
        EXPECT_EQ(session.DrawFrame(), FrameResult::Failed);
        EXPECT_THAT(capture.Lines(), Contains(HasSubstr(words)));
    }
}

}  // namespace
}  // namespace pixelforge::test
