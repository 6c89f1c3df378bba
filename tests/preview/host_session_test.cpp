// The host's call order and the live view, with a module that records its calls.
#include "preview/host/host_session.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cwchar>

#include "preview/frame_run.h"
#include "preview/host/file_paths.h"
#include "preview/view/live_view.h"
#include "tests/preview/recording_module.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using enum FrameResult;
using testing::ElementsAre;

InputEvent Press(int frame, int key) {
    return {frame, WM_KEYDOWN, key};
}

/// Runs a session whose frames have the given results.
std::vector<FrameRecord> RunScript(std::vector<FrameResult> script, const FrameRunOptions& frames) {
    calls.clear();
    speeds.clear();
    results = std::move(script);
    HostSession session(kModule, {.width = 20, .height = 10, .playlistName = "a.playlist", .settings = {}});
    session.Open();
    return RunFrames(session, frames);
}

TEST(HostSessionTest, PreInitializesAgainWhenTheWindowIsResized) {
    EventPlayer events({{1, WM_SIZE, 30, 15}});
    const auto frames = RunScript({}, {.frames = 3, .checksums = true, .events = &events});
    EXPECT_THAT(calls, ElementsAre("describe", "build", "pre-initialize", "initialize", "draw",
                                   "pre-initialize", "initialize", "draw", "draw", "clean up", "destroy"));
    EXPECT_EQ(frames[2].crc32, Crc32(std::vector<std::uint8_t>(30 * 15 * 4)));
}

TEST(HostSessionTest, StopsAfterInitialFailuresAndMarksLoadingFrames) {
    EXPECT_EQ(RunScript({Failed, Failed, Failed}, {.frames = 10}).size(), kMaxInitialFailures);
    const std::vector<FrameResult> script = {Failed, Failed, Drawn,       Failed, Failed,
                                             Failed, Failed, ResetWanted, Drawn,  Drawn};
    const auto frames = RunScript(script, {.frames = 10});
    EXPECT_TRUE(std::ranges::equal(frames, script, {}, &FrameRecord::result));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].loading, i < 3 || i == 8) << i;
    }
}

TEST(HostSessionTest, LetsShaderTimeFollowTheClock) {
    RunScript({}, {.frames = 3, .realTime = true});
    EXPECT_FLOAT_EQ(speeds[0], 1.0F / 60);
    EXPECT_FLOAT_EQ(speeds[1], 1.0F / 60) << "the load does not count";
    EXPECT_GT(speeds[2], 0.0F);
    EXPECT_NE(speeds[2], 1.0F / 60);
    speeds.clear();
    EventPlayer pause({Press(1, VK_F2), Press(1, VK_F2)});
    RunLiveView(kModule, {.state = {.size = {20, 10}, .realTime = true},
                          .name = "a",
                          .frames = 4,
                          .events = &pause,
                          .takeMessages = [](bool) { return std::vector<std::string>(); }});
    EXPECT_FLOAT_EQ(speeds[2], 1.0F / 60) << "nor does a pause";
    EXPECT_NE(speeds[3], 1.0F / 60);
}

/// True if a text that starts like this is visible in a panel of the live view.
bool IsShown(std::wstring_view start) {
    bool shown = false;
    for (HWND panel = nullptr;
         (panel = FindWindowExW(FindShown(), panel, L"RICHEDIT50W", nullptr)) != nullptr;) {
        wchar_t text[16] = {};
        GetWindowTextW(panel, text, 16);
        shown = shown || (IsWindowVisible(panel) && std::wstring_view(text).starts_with(start));
    }
    return shown;
}

TEST(LiveView, KeepsALoadsWarningsAndShowsTheNoticeOnlyOnce) {
    results = {};
    bool shown = false;
    int loopsAfterReload = 0;
    EventPlayer hide({Press(0, VK_F5)});
    LiveViewOptions options = {
        .state = {.size = {20, 10}, .settings = {{"Info Time", "1"}}},
        .name = "a",
        .frames = 1000,
        .events = &hide,
        .takeMessages = [&](bool load) { return std::vector<std::string>(load ? 1 : 0, shown ? "w" : "v"); }};
    options.sourceChanged = [&] {
        const bool visible = IsShown(L"Shader:");
        EXPECT_FALSE(loopsAfterReload > 0 && visible) << "only once";
        loopsAfterReload += shown && (!visible || loopsAfterReload > 0);
        shown = shown || visible;
        EXPECT_FALSE(loopsAfterReload > 0 && IsShown(L"v")) << "hidden by the key";
        if (loopsAfterReload == 5) {
            EXPECT_TRUE(IsShown(L"w")) << "other messages than the hidden ones";
            PostMessageW(FindShown(), WM_CLOSE, 0, 0);
        }
        return loopsAfterReload == 1;
    };
    HoldKey(VK_SHIFT);
    testing::internal::CaptureStderr();
    RunLiveView(kModule, options);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "v\npreview: a: loaded\npreview: a: reloading\nw\npreview: a: loaded\n");
    HoldKey(0);
    EXPECT_EQ(loopsAfterReload, 5) << "closing ends the view";
}

TEST(LiveView, GoesToTheNextOfAPlaylistAfterAFailureByKeyAndByTime) {
    const test::TempFile list("a\nb\nc\nd\n");
    const std::wstring favourites = FolderOf(list.Path()) + L"favourites.txt";
    WriteOutputFile(favourites, std::vector<std::uint8_t>{'x'});
    StagedShader staged = StagedShader::OfPlaylist({});
    PlaylistPlayer player(list.Path(), "list", staged, std::chrono::seconds(2));
    EventPlayer events({Press(1, VK_F4), Press(2, VK_INSERT), Press(3, VK_F2), Press(3, VK_F12)});
    int attempts = 0;
    int polls = 0;
    int pauses = 0;
    bool text = false;
    std::string seen;
    constexpr WPARAM keys[] = {
        VK_F3, VK_F3, VK_TAB, VK_F10, VK_F1, VK_F1, kWithShift | VK_F12, kWithShift | VK_F12, VK_F2};
    std::atomic<bool> stop = false;
    calls.clear();
    results = {Failed};
    const auto poll = [&] {
        wchar_t title[80] = {};
        const HWND window = FindShown();
        GetWindowTextW(window, title, 80);
        double rate = 0.0;
        std::swscanf(title, L"%*c - frame %*d - %lf", &rate);
        EXPECT_LT(rate, 100.0) << "60 frames a second at most";
        const HostSurface corner(60, 20);
        const GdiSelection bitmap(corner.DeviceContext(), corner.Bitmap());
        BitBlt(corner.DeviceContext(), 0, 0, 60, 20, WindowDc(window).Get(), 24, 12, SRCCOPY);
        text = std::ranges::any_of(corner.Pixels().bytes, [](auto byte) { return byte != 0; });
        stop = ++polls > 1000;
        if (std::wcsstr(title, L" - paused - ") && ++pauses == 3) {
            EXPECT_EQ(ToUtf8(title),
                      player.ShaderName() + " - frame 2 - paused - Pixelforge preview (F1: keys)");
            EXPECT_TRUE(text) << "the saved picture's name, for seconds";
            EXPECT_EQ(GetPixel(WindowDc(window).Get(), 0, 0), RGB(255, 255, 255)) << "the frame";
            Sleep(3100);
        } else if (pauses > 3 && pauses % 4 == 0 && pauses / 4 <= std::ssize(keys)) {
            EXPECT_EQ(calls.back(), "draw") << "nothing loads during a pause";
            seen += " " + std::to_string(std::ranges::count(calls, "draw")) + (FindShown(true) ? "P" : "") +
                    (text ? "T" : "");
            HoldKey(keys[pauses / 4 - 1] >> 8);
            PostMessageW(window, WM_KEYDOWN, keys[pauses / 4 - 1] & 0xFF, 0);
        }
        return false;
    };
    LiveViewOptions options = {.state = {.size = {240, 120}},
                               .name = "list",
                               .pictureStem = list.Path(),
                               .frames = 150,
                               .events = &events,
                               .stop = &stop,
                               .playlist = &player,
                               .sourceChanged = poll,
                               .takeMessages = [&](bool) {
                                   EXPECT_TRUE(++attempts != 8 || calls.end()[-2] == "draw")
                                       << "the playlist's time stops during a pause";
                                   return std::vector<std::string>();
                               }};
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith(player.NameOf(player.Order().Failures().at(0).line) +
                                    " failed to load\nThe shader failed to load; the module reported no "
                                    "reason.\npreview: list: failed to load\npreview: list: loaded\n"));
    EXPECT_EQ(seen, " 5 6 7 7P 7 7T 7 7T 7") << "a frame for each step, the panel, a text, the graph";
    EXPECT_FALSE(text) << "it disappears";
    EXPECT_GE(std::ranges::count(calls, "initialize"), 4) << "open, failure, key, and by time";
    EXPECT_TRUE(DeleteFileW((list.Path() + L"-2.png").c_str())) << "frames since the load";
    EXPECT_EQ(player.Order().Failures().size(), 1u);
    EXPECT_EQ(ReadInputFile(staged.Path()), player.ShaderName() + "\r\n");
    const auto marked = SplitPlaylist(ReadInputFile(favourites));
    DeleteFileW(favourites.c_str());
    CreateDirectoryW(favourites.c_str(), nullptr);
    EXPECT_THAT(ToUtf8(player.AddFavourite()), testing::StartsWith("cannot write"));
    RemoveDirectoryW(favourites.c_str());
    ASSERT_EQ(marked.size(), 2u);
    EXPECT_NE(marked[1].bytes, player.Order().Failures()[0].line.bytes);
    PlaylistPlayer untimed(list.Path(), "list", staged, std::chrono::seconds(0));
    EventPlayer pause({Press(0, VK_F2), Press(0, VK_F2), Press(1, VK_F5)});
    options.events = &pause;
    options.playlist = &untimed;
    options.frames = 3;
    calls.clear();
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn) << "paused at the failed shader, then not";
    EXPECT_EQ(std::ranges::count(calls, "initialize"), 3) << "open, failure, key";
    untimed.MarkFailed("why");
    EXPECT_FALSE(untimed.IsDue()) << "in a second";
    untimed.MarkDrawn();
    Sleep(1100);
    EXPECT_FALSE(untimed.IsDue()) << "a failed shader that has loaded since";
}

/// On the live view, which frees it. A fixed block's handle is its address.
void Drop(const wchar_t* path) {
    auto* drop = static_cast<DROPFILES*>(GlobalAlloc(GPTR, sizeof(DROPFILES) + 32));
    *drop = {.pFiles = sizeof(DROPFILES), .pt = {}, .fNC = FALSE, .fWide = TRUE};
    std::wcscpy(reinterpret_cast<wchar_t*>(drop + 1), path);
    PostMessageW(FindShown(), WM_DROPFILES, reinterpret_cast<WPARAM>(drop), 0);
}

TEST(LiveView, FillsTheScreenAtItsScaleUntilAFileIsDropped) {
    calls.clear();
    results.clear();
    const wchar_t* const files[] = {L"C:\\unusable", L"C:\\b.glsl"};
    std::vector<std::wstring> dropped;
    ViewState last = {};
    const std::string command = "preview " + std::to_string(GetCurrentProcessId());
    EventPlayer copy({Press(0, VK_F11), Press(0, VK_F11), Press(1, VK_SHIFT), Press(1, VK_F10)});
    LiveViewOptions options = {.state = {.levels = 16,
                                         .scale = 0.25,
                                         .fullScreen = true,
                                         .settings = {{"Multi-Sample", "1"}, {"Multi-Sample", "2"}}},
                               .name = "a",
                               .command = command,
                               .frames = 200,
                               .events = &copy};
    options.fileDropped = [&](const std::wstring& path, const ViewState& state) {
        dropped.push_back(path);
        last = state;
        if (path == files[0]) {
            throw HostError(ExitStatus::WrongUsage, "unusable");
        }
    };
    options.takeMessages = [&](bool) {
        EXPECT_EQ(drawnSize.cx, GetSystemMetrics(SM_CXSCREEN) / 4);
        EXPECT_EQ(drawnSize.cy, GetSystemMetrics(SM_CYSCREEN) / 4);
        Drop(files[dropped.empty() ? 0 : 1]);
        return std::vector<std::string>();
    };
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn);
    HoldKey(0);
    EXPECT_THAT(dropped, ElementsAre(files[0], files[1]));
    EXPECT_TRUE(last.fullScreen);
    EXPECT_THAT(last.settings, ElementsAre(testing::FieldsAre("Multi-Sample", "2")));
    ASSERT_TRUE(OpenClipboard(nullptr));
    EXPECT_STREQ(reinterpret_cast<const wchar_t*>(GetClipboardData(CF_UNICODETEXT)),
                 FromUtf8(command + " --fullscreen --scale 0.25 --levels 16 --set Multi-Sample=2").c_str());
    CloseClipboard();
}

}  // namespace
}  // namespace pixelforge::preview
