// The host's call order and the live view, with a module that records its calls.
#include "preview/host/host_session.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <cwchar>
#include <functional>
#include <optional>

#include "preview/frame_run.h"
#include "preview/host/file_paths.h"
#include "preview/view/live_view.h"
#include "tests/preview/recording_module.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using enum FrameResult;

TEST(HostSessionTest, MarksLoadingFramesAndLetsShaderTimeFollowTheClockBetweenThem) {
    results = {Failed, Failed, Drawn, Failed, Failed, Failed, Failed, ResetWanted, Drawn, Drawn};
    speeds.clear();
    HostSession session(kModule, {.width = 20, .height = 10});
    session.Open();
    const auto frames = RunFrames(session, {.frames = 10, .realTime = true});
    EXPECT_TRUE(std::ranges::equal(frames, results, {}, &FrameRecord::result));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].loading, i < 3 || i == 8) << i;
        EXPECT_EQ(speeds[i] == 1.0F / 60, i < 4 || i == 9) << i << ": a load does not count";
        EXPECT_GT(speeds[i], 0.0F);
    }
    results.clear();
    speeds.clear();
    EventPlayer pause({{1, WM_KEYDOWN, VK_F2}, {1, WM_KEYDOWN, VK_F2}});
    RunLiveView(kModule, {.state = {.size = {20, 10}, .realTime = true},
                          .name = "a",
                          .frames = 4,
                          .events = &pause,
                          .takeMessages = [](bool) { return std::vector<std::string>(); }});
    EXPECT_FLOAT_EQ(speeds[2], 1.0F / 60) << "nor does a pause";
    EXPECT_NE(speeds[3], 1.0F / 60);
}

/// On the live view, which frees it. A fixed block's handle is its address.
void Drop(const wchar_t* path) {
    auto* drop = static_cast<DROPFILES*>(GlobalAlloc(GPTR, sizeof(DROPFILES) + 32));
    *drop = {.pFiles = sizeof(DROPFILES), .pt = {}, .fNC = FALSE, .fWide = TRUE};
    std::wcscpy(reinterpret_cast<wchar_t*>(drop + 1), path);
    PostMessageW(FindShown(), WM_DROPFILES, reinterpret_cast<WPARAM>(drop), 0);
}

TEST_F(LiveViewTest, DoesAndShowsWhatTheKeysSay) {
    const std::string keys =
        "F1\tshow this list\nF2\tpause / resume\nF3\tpause, then step one frame\n"
        "F4, Shift+F4\tnext / previous shader of the playlist\nF5\treload the shader\n"
        "Shift+F5\thide / show the shader's messages\nF12\tsave a PNG\n"
        "Insert\tadd the shader to the favourites\nTab or F10\tall controls\n"
        "Shift+F10\tcopy the settings as a command line\nShift+F12\tgraph of frame times\n"
        "Alt+Enter\tfull screen / window\nF6, Shift+F6\tmore / fewer tiles across\n"
        "F7, Shift+F7\tmore / fewer tiles down\nF8\tmirror every second tile on / off\n"
        "F9\tforeground only on / off\nF11\tlevel output / colours\n"
        "Shift+F2, Shift+F3\ttime slower / faster\nCtrl+F3\ttime backwards / forwards\n"
        "Ctrl+Minus, Ctrl+Plus\tlower / higher resolution\n"
        "All other keys and the mouse go to the shader.";
    const std::string none = "There is no playlist";
    const test::TempFile folder("");
    const std::wstring picture = folder.Path() + L"-4.png";
    options_.pictureStem = folder.Path();
    Run({{Wait(0), opened_ + "draw*4 ", ""},
         {Wait(0), "draw*100 ", "a\\.glsl - frame \\d+ - \\d?\\d\\.\\d frames/s", 100},
         {Key(VK_F1), "draw*4 ", keys},
         {Key(VK_F1), "draw*4 ", ""},
         {Key(VK_F4), "draw*4 ", none},
         {Key(VK_F5), reloaded_, none},
         {Key(VK_F12), "draw*4 ", "Saved " + ToUtf8(picture)},
         {Key(VK_F4, VK_SHIFT), "draw*4 ", none},
         {Key(VK_F2), "draw ", none},
         {Wait(600), "", "a\\.glsl - frame 12 - paused"},
         {Key(VK_F3), "draw "},
         {Key(VK_F3), "draw "},
         {Key(VK_F12, VK_SHIFT), "graph "},
         {Key(VK_F12, VK_SHIFT), ""},
         {Key(VK_F2), "draw*3 "},
         {Key(VK_INSERT), "draw*4 ", none},
         {Wait(3100), "draw*4 ", ""}});
    EXPECT_TRUE(DeleteFileW(picture.c_str()));
}

TEST_F(LiveViewTest, FollowsItsWindowAndPassesItsStateOn) {
    const std::string line =
        "c --window --size 1000x300 --scale 0.5 --set Multi-Sample=2 --set \"Info Time=0\"";
    EventPlayer resize({{1, WM_SIZE, kViewSize.cx, kViewSize.cy}});
    options_.events = &resize;
    options_.state.size = {900, 200};
    options_.state.scale = 0.5;
    options_.state.settings = {{"Info Time", "0"}, {"Multi-Sample", "1"}, {"Multi-Sample", "2"}};
    options_.fileDropped = [](auto& path, auto& state) {
        if (path == L"C:\\x") {
            const std::string place = state.place ? " and place" : "";
            throw HostError(ExitStatus::WrongUsage,
                            std::to_string(state.size.cx) + place + state.settings[0].label);
        }
    };
    const Action drop = [&](HWND) {
        ASSERT_TRUE(OpenClipboard(nullptr));
        EXPECT_EQ(ToUtf8(static_cast<const wchar_t*>(GlobalLock(GetClipboardData(CF_UNICODETEXT)))), line);
        CloseClipboard();
        Drop(L"C:\\y");
    };
    Run({{Wait(0), opened_ + "draw*2 pre-initialize initialize draw*2 ", ""},
         {[](HWND) { Drop(L"C:\\x"); }, "draw*4 ", "1000 and placeMulti-Sample"},
         {[](HWND window) { ShowWindow(window, SW_MINIMIZE); }, "draw*4 "},
         {[](HWND window) { ShowWindow(window, SW_RESTORE); }, "draw*4 "},
         {Key(VK_TAB), "draw*4 [1] "},
         {Click(L"Copy as command line"), "draw*4 [1] ", "Copied: " + line},
         {Key(VK_RETURN, VK_MENU), refitted_ + "[1] "},
         {Key(VK_RETURN, VK_MENU), refitted_ + "[1] "},
         {Key(VK_F12, VK_SHIFT), "draw*4 graph [1] "},
         {drop, "the view ends"}});
    EXPECT_TRUE(drawnSize.cx == 500 && drawnSize.cy == 150);
}

TEST_F(LiveViewTest, ShowsALoadsMessagesUntilTheNextAndTheNoticeOnce) {
    const std::string failed = "[The shader failed to load; the module reported no reason.] ";
    const std::string notice = "[Shader: n Author: u Description: d] ";
    const auto reload = [&](const std::vector<std::string>& messages) {
        return [this, messages](HWND) {
            messages_ = messages;
            changed_ = true;
        };
    };
    results = {Failed};
    options_.state.settings = {{"Info Time", "1"}};
    options_.pictureStem = L"D:\\missing\\a";
    testing::internal::CaptureStderr();
    Run({{Wait(0), opened_ + "draw " + failed},
         {Wait(600), failed, "a\\.glsl - frame 0 - failed to load"},
         {reload({}), "initialize draw*4 " + notice},
         {Key(VK_F1), "draw*4 "},
         {Key(VK_F1), "draw*4 " + notice},
         {Wait(1100), "draw*4 ", "Loaded again"},
         {Key(VK_F12), "draw*4 ",
          FailureOf([] { WritePng(L"D:\\missing\\a-17.png", HostSurface(1, 1).Pixels()); })},
         {reload({"v", "2"}), "initialize draw*4 [v 2] "},
         {Key(VK_F1), "draw*4 "},
         {Key(VK_F1), "draw*4 [v 2] "},
         {Key(VK_F5, VK_SHIFT), "draw*4 "},
         {reload({"v", "2"}), "initialize draw*4 "},
         {reload({"w"}), "initialize draw*4 [w] "},
         {Key(VK_F5, VK_SHIFT), "draw*4 "},
         {Key(VK_F5, VK_SHIFT), "draw*4 [w] "}});
    std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(
        errors,
        "The shader failed to load; the module reported no reason.\npreview: dir/a.glsl: failed to load\n"
        "preview: dir/a.glsl: reloading\npreview: dir/a.glsl: loaded\n"
        "preview: dir/a.glsl: reloading\nv\n2\npreview: dir/a.glsl: loaded\n"
        "preview: dir/a.glsl: reloading\nv\n2\npreview: dir/a.glsl: loaded\n"
        "preview: dir/a.glsl: reloading\nw\npreview: dir/a.glsl: loaded\n");
}

struct Playlist {
    explicit Playlist(int seconds) : player(list.Path(), "list", staged, std::chrono::seconds(seconds)) {}

    const test::TempFile list{"a\nb\n"};
    StagedShader staged = StagedShader::OfPlaylist({});
    PlaylistPlayer player;
    const std::string first = player.ShaderName();
    const std::string second = first == "a" ? "b" : "a";
    const std::string failed = std::string(first == "a" ? "[list:1: a" : "[list:2: b") +
                               " failed to load The shader failed to load; the module reported no reason.] " +
                               first;
};

TEST_F(LiveViewTest, GoesForwardsAndBackThroughAPlaylistAndKeepsFavourites) {
    Playlist playlist(0);
    const auto& [list, staged, player, first, second, failed] = playlist;
    const std::wstring favourites = FolderOf(list.Path()) + L"favourites.txt";
    WriteOutputFile(favourites, std::vector<std::uint8_t>{'x'});
    results = {Failed};
    staged_ = &staged;
    options_.playlist = &playlist.player;
    Run({{Wait(0), opened_ + "draw " + failed},
         {Key(VK_F5), "initialize draw*3 " + first},
         {Key(VK_F4), reloaded_ + second},
         {Key(VK_F4, VK_SHIFT), reloaded_ + first},
         {Key(VK_F4, VK_SHIFT), "draw*4 " + first, "No shader was shown before this one"},
         {Key(VK_INSERT), "draw*4 " + first, "Added " + first + " to " + ToUtf8(favourites)},
         {Key(VK_INSERT), "draw*4 " + first, first + " is already a favourite"},
         {Wait(1100), "draw*4 " + first, first + " - frame \\d+ - \\d+\\.\\d frames/s"}});
    EXPECT_EQ(ReadInputFile(favourites), "x\r\n" + first + "\r\n");
    DeleteFileW(favourites.c_str());
    CreateDirectoryW(favourites.c_str(), nullptr);
    EXPECT_THAT(ToUtf8(player.AddFavourite()), testing::StartsWith("cannot write"));
    RemoveDirectoryW(favourites.c_str());
}

TEST_F(LiveViewTest, LeavesAPlaylistsShaderInTimeButNotDuringAPause) {
    Playlist playlist(2);
    const auto& [list, staged, player, first, second, failed] = playlist;
    results = {Failed};
    staged_ = &staged;
    options_.playlist = &playlist.player;
    Run({{Wait(0), opened_ + "draw " + failed},
         {Key(VK_F2), failed},
         {Wait(1100), failed},
         {Key(VK_F2), "initialize draw*3 " + second},
         {Key(VK_F2), "draw " + second},
         {Wait(2100), second},
         {Key(VK_F2), "draw*3 " + second},
         {Wait(2100), "initialize draw*4 " + first}});
}

TEST_F(LiveViewTest, EndsAfterItsFramesAndWhenNoLoadCanFollowAFailure) {
    Playlist playlist(0);
    const std::tuple<std::string, std::vector<FrameResult>, std::size_t, ExitStatus> cases[] = {
        {"failed reload", {Drawn, Failed}, 2, ExitStatus::Failed},
        {"watched file", {Failed, Failed, Failed, Failed}, 6, ExitStatus::Drawn},
        {"playlist", {Drawn, Failed, Failed, Failed}, 5, ExitStatus::Drawn}};
    options_.frames = 2;
    options_.state.fullScreen = true;
    options_.takeMessages = [](bool) {
        Key(VK_F5)(FindShown());
        return std::vector<std::string>();
    };
    for (const auto& [name, script, draws, status] : cases) {
        speeds.clear();
        results = script;
        options_.playlist = name == "playlist" ? &playlist.player : nullptr;
        options_.sourceChanged = name == "watched file" ? std::function([] { return false; }) : nullptr;
        testing::internal::CaptureStderr();
        EXPECT_EQ(RunLiveView(kModule, options_), status) << name;
        const bool forEditors = testing::internal::GetCapturedStderr().find("preview: ") != std::string::npos;
        EXPECT_EQ(forEditors, name == "watched file") << name;
        EXPECT_EQ(speeds.size(), draws) << name;
        EXPECT_EQ(drawnSize.cx, GetSystemMetrics(SM_CXSCREEN));
    }
}

}  // namespace
}  // namespace pixelforge::preview
