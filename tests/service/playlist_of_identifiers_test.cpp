// The module itself, from a playlist of identifiers to pixels, against the service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "base/random.h"
#include "library/cache_names.h"
#include "preview/debug_capture.h"
#include "preview/host_session.h"
#include "preview/module_library.h"
#include "preview/shader_drop.h"
#include "tests/service/request_log.h"

namespace pixelforge::test {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

/// The module caches beside this program. Every test has identifiers of its own, and forgets them.
class PlaylistOfIdentifiers : public testing::Test {
protected:
    void TearDown() override {
        for (const std::string& id : ids_) {
            std::filesystem::remove(CachedFile(id));
        }
    }

    std::string NewId(const std::string& start) {
        return ids_.emplace_back(start + std::to_string(SystemRandom() % 100'000'000));
    }

    static std::filesystem::path CachedFile(const std::string& id) {
        wchar_t name[kPathUnits] = {};
        CachedNameForShaderId(std::wstring(id.begin(), id.end()).c_str(), name);
        const std::filesystem::path program = preview::ModulePathBesideProgram();
        return program.parent_path() / "Pixelforge" / "PixelforgeCache" / "Shaders" /
               (std::wstring(name) + L".json");
    }

    /// A run of the playlist that names the identifiers.
    preview::HostSession& Open(const std::vector<std::string>& ids,
                               const std::vector<preview::ControlSetting>& settings = {}) {
        std::string lines;
        for (const std::string& id : ids) {
            lines += id + "\r\n";
        }
        session_.reset();
        drop_.reset();
        drop_.emplace(preview::ShaderDrop::OfPlaylist(
            {reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size()}));
        session_.emplace(
            module_,
            preview::SessionOptions{
                .width = 16, .height = 16, .playlistName = drop_->PlaylistName(), .settings = settings});
        session_->Open();
        return *session_;
    }

    static std::uint32_t Colour(const preview::HostSession& session) {
        return session.Pixels().At(0, 0) & 0xFFFFFF;
    }

    std::string Words() {
        std::string words;
        for (const std::string& line : capture_.Lines()) {
            words += line + "\n";
        }
        return words;
    }

    preview::DebugCapture capture_;
    preview::ModuleLibrary module_;
    RequestLog log_;

private:
    std::vector<std::string> ids_;
    std::optional<preview::ShaderDrop> drop_;
    std::optional<preview::HostSession> session_;
};

TEST_F(PlaylistOfIdentifiers, IsFetchedOnceAndThenComesFromDisk) {
    const std::string id = NewId("Red");
    for (int run = 0; run < 2; ++run) {
        preview::HostSession& session = Open({id});
        EXPECT_EQ(session.DrawFrame(), FrameResult::Drawn) << Words();
        EXPECT_EQ(Colour(session), 0xFF0000u);
    }
    const auto requests = log_.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].path, "/api/v1/shaders/" + id + "?key=fz3kq9");
    EXPECT_EQ(requests[0].headers.at("User-Agent"),
              "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
              "Chrome/125.0.0.0 Safari/537.36");
    EXPECT_TRUE(std::filesystem::exists(CachedFile(id)));
}

TEST_F(PlaylistOfIdentifiers, CostsARequestAFrameWhileADeadOneIsPicked) {
    preview::HostSession& session = Open({"nosuchshader"});
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_EQ(session.DrawFrame(), FrameResult::Failed);
    }
    EXPECT_THAT(log_.Requests(), SizeIs(3));
    EXPECT_THAT(Words(), HasSubstr("nosuchshader: the service answered with status 404"));
}

TEST_F(PlaylistOfIdentifiers, RecoversFromEveryFault) {
    for (const char* manner : {"cut", "error", "garbage", "broken", "empty"}) {
        const std::string id = NewId(std::string("once-") + manner + "-red");
        const std::string shorter = id.substr(0, 19);
        preview::HostSession& session = Open({shorter});
        EXPECT_EQ(session.DrawFrame(), FrameResult::Failed) << manner;
        EXPECT_FALSE(std::filesystem::exists(CachedFile(shorter)));
        EXPECT_EQ(session.DrawFrame(), FrameResult::Drawn) << manner << Words();
        EXPECT_EQ(Colour(session), 0xFF0000u);
        std::filesystem::remove(CachedFile(shorter));
    }
}

TEST_F(PlaylistOfIdentifiers, PlaysOnWithDeadAndGoodOnesThroughResets) {
    const std::vector<std::string> ids = {NewId("red"), NewId("GREEN"), NewId("blue"), "deadone",
                                          "closed-red"};
    preview::HostSession& session = Open(ids, {{"Min Reset Time", "1"}});
    std::map<FrameResult, int> results;
    std::set<std::uint32_t> colours;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    while ((colours.size() < 3 || results[FrameResult::Failed] == 0) &&
           std::chrono::steady_clock::now() < deadline) {
        const FrameResult result = session.DrawFrame();
        ++results[result];
        // On all the time it would leave a slow machine no time to draw.
        session.Controls().Apply({"Reset Event", result == FrameResult::Drawn ? "1" : "0"});
        if (result == FrameResult::Drawn) {
            colours.insert(Colour(session));
        }
    }
    EXPECT_THAT(colours, testing::UnorderedElementsAre(0xFF0000u, 0x00FF00u, 0x0000FFu));
    EXPECT_GE(results[FrameResult::ResetWanted], 2);
    std::map<std::string, int> asked;
    for (const ServiceRequest& request : log_.Requests()) {
        ++asked[request.path.substr(0, request.path.find('?'))];
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(asked["/api/v1/shaders/" + ids[static_cast<std::size_t>(i)]], 1);
    }
}

}  // namespace
}  // namespace pixelforge::test
