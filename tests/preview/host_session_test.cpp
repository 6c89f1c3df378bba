// The host's call order, against a module that records its calls.
#include "preview/host/host_session.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <commctrl.h>
#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "module/controls.h"
#include "module/module_instance.h"
#include "preview/frame_run.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/control_panel.h"
#include "preview/view/frame_graph.h"
#include "preview/view/live_view.h"
#include "preview/view/text_panel.h"
#include "preview/view/view_window.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using enum FrameResult;
using testing::ElementsAre;

std::vector<std::string> calls;
std::vector<FrameResult> results;  ///< one per call of "draw"; `Drawn` after the last
SIZE drawnSize = {};
std::vector<float> speeds;  ///< at each call of "draw"

std::int32_t Record(const char* call) {
    calls.emplace_back(call);
    return 1;
}

std::int32_t Build(ModuleInstance** instance, void*, AllocateControl allocate, void* hostContext) {
    static ModuleInstance controlled;
    *instance = &controlled;
    BuildControls(controlled, allocate, hostContext);
    return Record("build");
}

std::int32_t Draw(ModuleInstance* instance, DrawContext* context) {
    speeds.push_back(DecimalValue(*instance, control::kSpeed));
    RECT client = {};
    GetClientRect(context->window, &client);
    context->infoTextCallback(
        LR"(\cf2 Shader: \cf3{\field{\*\fldinst HYPERLINK "s"}{\fldrslt n}}\line \cf2 Author: )"
        LR"(\cf3{\field{\*\fldinst HYPERLINK "a"}{\fldrslt u}}\line \cf2 Description: d\par})");
    const bool fits = client.right == context->width && client.bottom == context->height;
    const auto frame = static_cast<std::size_t>(std::ranges::count(calls, "draw"));
    Record(fits ? "draw" : "draw in a window of another size");
    drawnSize = {context->width, context->height};
    return static_cast<std::int32_t>(frame < results.size() ? results[frame] : Drawn);
}

const ModuleFunctions kModule = {
    .getDescription = [](ModuleDescription*) { return Record("describe"); },
    .buildControlStructure = Build,
    .preInitialize = [](ModuleInstance*, DrawContext*) { return Record("pre-initialize"); },
    .initialize = [](ModuleInstance*, DrawContext*) { return Record("initialize"); },
    .drawFrame = Draw,
    .cleanUp = [](ModuleInstance*) { return Record("clean up"); },
    .destroyControlStructure = [](ModuleInstance*) { return Record("destroy"); }};

/// Runs a session whose frames have the given results.
std::vector<FrameRecord> RunScript(std::vector<FrameResult> script, const FrameRunOptions& frames) {
    calls.clear();
    speeds.clear();
    results = std::move(script);
    HostSession session(kModule, {.width = 20, .height = 10, .playlistName = "a.playlist", .settings = {}});
    session.Open();
    return RunFrames(session, frames);
}

TEST(HostSessionTest, InitializesAgainWhenTheModuleRequestsAReset) {
    RunScript({ResetWanted}, {.frames = 2});
    EXPECT_THAT(calls, ElementsAre("describe", "build", "pre-initialize", "initialize", "draw", "initialize",
                                   "draw", "clean up", "destroy"));
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
    ASSERT_EQ(frames.size(), 10u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].result, script[i]) << i;
        EXPECT_EQ(frames[i].loading, i < 3 || i == 8) << i;
    }
}

TEST(HostSessionTest, LetsShaderTimeFollowTheClock) {
    RunScript({}, {.frames = 3, .realTime = true});
    EXPECT_FLOAT_EQ(speeds[0], 1.0F / 60);
    EXPECT_FLOAT_EQ(speeds[1], 1.0F / 60) << "the load does not count";
    EXPECT_GT(speeds[2], 0.0F);
    EXPECT_NE(speeds[2], 1.0F / 60);
}

TEST(HostSessionTest, RejectsLevelsAndForegroundWithTiles) {
    const ControlSetting foreground = {"Foreground Only", "true"};
    const ControlSetting tiles = {"Y Tiling", "2"};
    HostSession alone(kModule, {.settings = {foreground}, .autoOffscreen = true});
    alone.Open();
    for (const SessionOptions& options :
         {SessionOptions{.settings = {tiles, foreground}, .autoOffscreen = true},
          SessionOptions{.settings = {tiles}, .levelOutput = 1, .autoOffscreen = true}}) {
        HostSession session(kModule, options);
        EXPECT_THROW(session.Open(), HostError);
    }
}

/// True if a text that starts like this is visible in a panel of the live view.
bool IsShown(std::wstring_view start) {
    std::pair search(start, false);
    const auto look = [](HWND window, LPARAM parameter) -> BOOL {
        auto& [wanted, shown] = *reinterpret_cast<decltype(search)*>(parameter);
        HWND panel = nullptr;
        while ((panel = FindWindowExW(window, panel, L"RICHEDIT50W", nullptr)) != nullptr) {
            wchar_t text[16] = {};
            GetWindowTextW(panel, text, 16);
            shown = shown || (IsWindowVisible(panel) && std::wstring_view(text).starts_with(wanted));
        }
        return TRUE;
    };
    EnumThreadWindows(GetCurrentThreadId(), look, reinterpret_cast<LPARAM>(&search));
    return search.second;
}

TEST(LiveView, KeepsALoadsWarningsAndShowsTheNoticeOnlyOnce) {
    results = {};
    bool shown = false;
    bool again = false;
    bool warned = false;
    int loopsAfterReload = 0;
    std::atomic<bool> stop = false;
    LiveViewOptions options = {.session = {.width = 20, .height = 10, .settings = {{"Info Time", "1"}}},
                               .name = "a",
                               .stop = &stop,
                               .warnings = [] { return std::vector<std::string>{"w"}; },
                               .takeMessages = [] { return std::vector<std::string>(); }};
    options.sourceChanged = [&] {
        const bool visible = IsShown(L"Shader:");
        again = again || (loopsAfterReload > 0 && visible);
        loopsAfterReload += shown && (!visible || loopsAfterReload > 0);
        shown = shown || visible;
        stop = loopsAfterReload == 5;
        warned = IsShown(L"w");
        return loopsAfterReload == 1;
    };
    RunLiveView(kModule, options);
    EXPECT_TRUE(shown);
    EXPECT_FALSE(again);
    EXPECT_TRUE(warned);
}

TEST(TextPanel, CoversAtMostAThirdAndIsHiddenWithoutText) {
    HostWindow window(300, 150);
    TextPanel panel(window.Handle(), Edge::Upper);
    panel.Show(TextAsRichText(L"one line"));
    EXPECT_GT(panel.Height(), 5);
    EXPECT_LT(panel.Height(), 50);
    panel.Show(TextAsRichText(L"1\n2\n3\n4\n5\n6\n7\n8"));
    EXPECT_EQ(panel.Height(), 50);
    panel.Show({});
    EXPECT_EQ(panel.Height(), 0);
}

TEST(LiveView, PlaysAPlaylistOnAfterAFailedLoadByKeyAndByTime) {
    const test::TempFile list("a\nb\nc\nd\n");
    const test::TempFile favourites("x");
    StagedShader staged = StagedShader::OfPlaylist({});
    const std::wstring stagedPath =
        L"D:\\Moonreel\\Pixelforge\\Playlists\\" + FromUtf8(staged.PlaylistName());
    PlaylistPlayer player({list.Path(), "list", favourites.Path()}, staged, std::chrono::seconds(1));
    EventPlayer events({{1, WM_KEYDOWN, VK_F4, 0}, {2, WM_KEYDOWN, VK_INSERT, 0}});
    calls.clear();
    results = {Failed};
    const LiveViewOptions options = {.session = {.width = 20, .height = 10},
                                     .name = "list",
                                     .frames = 100,
                                     .events = &events,
                                     .playlist = &player,
                                     .takeMessages = [] { return std::vector<std::string>(); }};
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn);
    EXPECT_GE(std::ranges::count(calls, "initialize"), 4) << "open, failure, key, and by time";
    EXPECT_EQ(player.Order().Failures().size(), 1u);
    EXPECT_EQ(ReadInputFile(stagedPath), player.ShaderName() + "\r\n");
    const auto marked = SplitPlaylist(ReadInputFile(favourites.Path()));
    ASSERT_EQ(marked.size(), 2u);
    EXPECT_NE(marked[1].bytes, player.Order().Failures()[0].line.bytes);
}

HDROP DropOf(const std::wstring& path) {
    const HGLOBAL block = GlobalAlloc(GHND, sizeof(DROPFILES) + (path.size() + 2) * sizeof(wchar_t));
    auto* drop = static_cast<DROPFILES*>(GlobalLock(block));
    drop->pFiles = sizeof(DROPFILES);
    drop->fWide = TRUE;
    std::memcpy(drop + 1, path.data(), path.size() * sizeof(wchar_t));
    GlobalUnlock(block);
    return static_cast<HDROP>(block);
}

BOOL CALLBACK DropOnVisible(HWND window, LPARAM path) {
    if (IsWindowVisible(window)) {
        PostMessageW(window, WM_DROPFILES,
                     reinterpret_cast<WPARAM>(DropOf(reinterpret_cast<const wchar_t*>(path))), 0);
    }
    return TRUE;
}

TEST(LiveView, FillsTheScreenAtItsScaleUntilAFileIsDropped) {
    calls.clear();
    results.clear();
    const wchar_t* const files[] = {L"C:\\unusable", L"C:\\b.glsl"};
    std::vector<std::wstring> dropped;
    ViewState last = {};
    LiveViewOptions options = {
        .session = {.settings = {{"Multi-Sample", "2"}}},
        .name = "a",
        .frames = 200,
        .fullScreen = true,
        .scale = 0.25,
        .fileDropped =
            [&](const std::wstring& path, const ViewState& state) {
                dropped.push_back(path);
                last = state;
                if (dropped.size() < std::size(files)) {
                    throw HostError(ExitStatus::WrongUsage, "unusable");
                }
            },
        .takeMessages =
            [&] {
                EXPECT_EQ(drawnSize.cx, GetSystemMetrics(SM_CXSCREEN) / 4);
                EXPECT_EQ(drawnSize.cy, GetSystemMetrics(SM_CYSCREEN) / 4);
                EnumThreadWindows(GetCurrentThreadId(), DropOnVisible,
                                  reinterpret_cast<LPARAM>(files[std::min<std::size_t>(dropped.size(), 1)]));
                return std::vector<std::string>();
            }};
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn);
    EXPECT_THAT(dropped, ElementsAre(files[0], files[1]));
    EXPECT_TRUE(last.fullScreen);
    ASSERT_EQ(last.settings.size(), 1u);
    EXPECT_EQ(last.settings[0].label, "Multi-Sample");
}

class ControlChangesTest : public testing::Test {
protected:
    ControlChangesTest() {
        session_.Open();
        controls_.emplace(view_.Frame().Handle(), session_.Controls(), changes_, [] {});
        controls_->Toggle();
        controls_->Refresh();
        panel_ = FindWindowW(nullptr, L"Controls");
    }

    /// The panel's control that follows its label by this many.
    HWND Part(const wchar_t* label, int next) const {
        HWND part = FindWindowExW(panel_, nullptr, nullptr, label);
        for (; next > 0; --next) {
            part = GetWindow(part, GW_HWNDNEXT);
        }
        return part;
    }
    void MoveSlider(const wchar_t* label, int position) const {
        SendMessageW(Part(label, 1), TBM_SETPOS, TRUE, position);
        SendMessageW(panel_, WM_HSCROLL, TB_THUMBTRACK, reinterpret_cast<LPARAM>(Part(label, 1)));
    }
    void EditField(const wchar_t* label, const wchar_t* text) const {
        SetFocus(Part(label, 2));
        SetWindowTextW(Part(label, 2), text);
        SendMessageW(panel_, WM_COMMAND, IDOK, 0);
    }
    std::string ValueOf(const char* label) const { return ControlValueText(*session_.Control(label)); }

    ViewWindow view_{{.width = 240, .height = 120}};
    HostSession session_{kModule, {.autoOffscreen = true}};
    std::string said_;
    ControlChanges changes_{
        session_, view_, {.levelDivisor = 64, .followClock = true, .report = [this](auto& line) {
                              said_ = ToUtf8(line);
                          }}};
    std::optional<ControlPanel> controls_;
    HWND panel_ = nullptr;
};

TEST_F(ControlChangesTest, SetsControlsFromThePanel) {
    MoveSlider(L"X Tiling", 4);
    EXPECT_EQ(ValueOf("X Tiling"), "4");
    EditField(L"X Tiling", L"40");
    EXPECT_THAT(said_, testing::HasSubstr("1 to 32"));
    EXPECT_EQ(ValueOf("X Tiling"), "4");
    SendMessageW(Part(L"Foreground Only", 0), BM_CLICK, 0, 0);
    EXPECT_THAT(said_, testing::HasSubstr("cannot be combined"));
    controls_->Refresh();
    EXPECT_EQ(SendMessageW(Part(L"Foreground Only", 0), BM_GETCHECK, 0, 0), BST_UNCHECKED);
    EXPECT_FALSE(changes_.TakeReload());
    SendMessageW(Part(L"Fast Buffers", 0), BM_CLICK, 0, 0);
    EXPECT_TRUE(changes_.TakeReload());
    EXPECT_TRUE(changes_.FollowsClock());
    EditField(L"Speed", L"0.5");
    EXPECT_FALSE(changes_.FollowsClock());
    EXPECT_EQ(view_.Arguments() + changes_.Arguments(),
              " --window --size 240x120 --set Speed=0.5 --set \"Fast Buffers=true\" --set \"X Tiling=4\"");
}

TEST_F(ControlChangesTest, ChangesPaceAndScale) {
    changes_.ChangePace(0.5);
    changes_.ChangePace(-1.0);
    EXPECT_EQ(changes_.Pace(), -0.5);
    RealTime time(session_);
    time.Advance(changes_.Pace());
    EXPECT_FLOAT_EQ(session_.Control("Speed")->decimal.value[0], -0.5F / 60);
    changes_.ChangeScale(0.5);
    EXPECT_EQ(ScaledSize({240, 120}, changes_.Scale()).cx, 120);
}

TEST(FrameGraph, MarksTimesAboveASixtiethOfASecond) {
    const HostSurface surface(8, 100);
    {
        const GdiSelection bitmap(surface.DeviceContext(), surface.Bitmap());
        FrameGraph graph(4);
        for (const double time : {99.0, 10.0, 20.0, 100.0, 5.0}) {
            graph.Add(time);
        }
        graph.Draw(surface.DeviceContext(), {0, 0, 8, 100}, nullptr);
        GdiFlush();
    }
    const FramePixels pixels = surface.Pixels();
    const auto bottom = [&](std::int32_t x) { return pixels.At(x, 99); };
    EXPECT_NE(bottom(0), bottom(2)) << "in time, late";
    EXPECT_NE(bottom(2), bottom(4)) << "late, very late";
    EXPECT_EQ(bottom(0), bottom(7));
    EXPECT_NE(pixels.At(4, 45), pixels.At(6, 45)) << "75 of 133 milliseconds";
}

}  // namespace
}  // namespace pixelforge::preview
