// The host's call order, against a module that records its calls.
#include "preview/host/host_session.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <commctrl.h>
#include <richedit.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cwchar>

#include "module/controls.h"
#include "module/module_instance.h"
#include "preview/frame_run.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/control_panel.h"
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
    if (drawnSize.cx == 240) {
        const GdiSelection bitmap(context->dc, context->bitmap);
        SetPixel(context->dc, 0, 0, RGB(255, 255, 255));
    }
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
         (panel = FindWindowExW(GetActiveWindow(), panel, L"RICHEDIT50W", nullptr)) != nullptr;) {
        wchar_t text[16] = {};
        GetWindowTextW(panel, text, 16);
        shown = shown || (IsWindowVisible(panel) && std::wstring_view(text).starts_with(start));
    }
    return shown;
}

/// For this thread; 0: none.
void HoldKey(std::size_t key) {
    std::array<BYTE, 256> keys = {};
    keys[key] = 0x80;
    SetKeyboardState(keys.data());
}

constexpr WPARAM kWithShift = VK_SHIFT << 8;
constexpr WPARAM kWithControl = VK_CONTROL << 8;

TEST(LiveView, KeepsALoadsWarningsAndShowsTheNoticeOnlyOnce) {
    results = {};
    bool shown = false;
    int loopsAfterReload = 0;
    std::atomic<bool> stop = false;
    EventPlayer hide({Press(0, VK_F5)});
    LiveViewOptions options = {
        .state = {.size = {20, 10}, .settings = {{"Info Time", "1"}}},
        .name = "a",
        .events = &hide,
        .stop = &stop,
        .takeMessages = [&](bool load) { return std::vector<std::string>(load ? 1 : 0, shown ? "w" : "v"); }};
    options.sourceChanged = [&] {
        const bool visible = IsShown(L"Shader:");
        EXPECT_FALSE(loopsAfterReload > 0 && visible) << "again";
        loopsAfterReload += shown && (!visible || loopsAfterReload > 0);
        shown = shown || visible;
        stop = loopsAfterReload == 5;
        EXPECT_FALSE(loopsAfterReload > 0 && IsShown(L"v")) << "hidden by the key";
        EXPECT_TRUE(!stop || IsShown(L"w")) << "other messages than the hidden ones";
        return loopsAfterReload == 1;
    };
    HoldKey(VK_SHIFT);
    RunLiveView(kModule, options);
    HoldKey(0);
}

TEST(TextPanel, CoversAtMostAThirdScrollsAndOpensNoForgedLink) {
    HostWindow window(300, 150);
    TextPanel panel(window.Handle(), Edge::Upper);
    window.SetHandler([&](UINT message, WPARAM, LPARAM notice) {
        return message == WM_NOTIFY ? std::optional(panel.OnNotify(notice)) : std::nullopt;
    });
    panel.Show(TextAsRichText(L"one line"));
    EXPECT_EQ(panel.Height(), 24);
    panel.Show(TextAsRichText(L"1\n2\n3\n4\n5\n6\n7\n8"));
    EXPECT_EQ(panel.Height(), 50);
    const HWND control = GetWindow(window.Handle(), GW_CHILD);
    for (const auto& [delta, line] : {std::pair(-WHEEL_DELTA, 3), {WHEEL_DELTA, 0}}) {
        SendMessageW(control, WM_MOUSEWHEEL, MAKEWPARAM(0, delta), 0);
        EXPECT_EQ(SendMessageW(control, EM_GETFIRSTVISIBLELINE, 0, 0), line) << delta;
    }
    panel.Show({});
    EXPECT_EQ(panel.Height(), 0);
    panel.Show(TextAsRichText(L"forged link"), {L"C:\\missing.exe"});
    const MSGFILTER click = {{control, 0, EN_MSGFILTER}, WM_LBUTTONDOWN, 0, MAKELPARAM(5, 5)};
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(panel.OnNotify(reinterpret_cast<LPARAM>(&click)), 1);
    EXPECT_NE(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND}) << "it was opened";
}

TEST(ViewWindow, HandlesMouseKeysAndFullScreen) {
    ViewState state = {.size = {240, 120}, .place = POINT{30, 40}};
    ViewWindow view(state);
    const HWND frame = view.Frame().Handle();
    std::vector<LPARAM> got;
    view.ModuleWindow().SetClientSize(120, 30);
    view.ModuleWindow().SetHandler([&](UINT message, WPARAM, LPARAM place) {
        got.insert(got.end(), {message, place});
        return 0;
    });
    SetFocus(nullptr);
    SendMessageW(frame, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    EXPECT_TRUE(GetCapture() == frame && GetFocus() == frame);
    SendMessageW(frame, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-20, -8));
    SendMessageW(frame, WM_LBUTTONUP, 0, 0);
    SendMessageW(frame, WM_KEYDOWN, 'A', 1);
    SendMessageW(frame, WM_KEYUP, 'A', 1);
    view.ModuleWindow().SetHandler({});
    EXPECT_THAT(got, ElementsAre(WM_LBUTTONDOWN, 0, WM_MOUSEMOVE, MAKELPARAM(-10, -2), WM_LBUTTONUP, 0,
                                 WM_KEYDOWN, 1, WM_KEYUP, 1));
    EXPECT_EQ(GetCapture(), nullptr);
    view.Messages().Show(TextAsRichText(L"1\n2\n3\n4\n5\n6\n7\n8"));
    SendMessageW(frame, WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
    EXPECT_GT(SendMessageW(GetTopWindow(frame), EM_GETFIRSTVISIBLELINE, 0, 0), 0);
    for (const bool full : {true, false}) {
        view.ToggleFullScreen();
        SendMessageW(frame, WM_SETCURSOR, reinterpret_cast<WPARAM>(frame), HTCLIENT);
        EXPECT_EQ(GetCursor() == nullptr, full);
        view.Describe(state);
        EXPECT_TRUE(state.size.cx == 240 && state.place->x == 30 && state.place->y == 40);
    }
    ShowWindow(frame, SW_MINIMIZE);
    view.Describe(state);
    EXPECT_EQ(state.size.cx, 240);
    ShowWindow(frame, SW_RESTORE);
    view.Notice().Show(TextAsRichText(L"n"));
    view.Frame().SetClientSize(300, 200);
    for (const LONG y : {5, 195}) {
        const HWND panel = ChildWindowFromPoint(frame, {295, y});
        SendMessageW(panel, WM_LBUTTONDOWN, MK_LBUTTON, 0);
        EXPECT_TRUE(panel != frame && GetFocus() == frame) << "panels along the upper and lower edge";
    }
    view.AddKeys({{VK_F4, 0, nullptr, [] { ADD_FAILURE() << "Alt+F4 closes the window"; }}});
    HoldKey(VK_MENU);
    SendMessageW(frame, WM_SYSKEYDOWN, VK_F4, 0);
    HoldKey(0);
    view.ActOnKeys();
    SendMessageW(frame, WM_CLOSE, 0, 0);
    EXPECT_TRUE(view.Closed() && IsWindow(frame));
}

TEST(ViewWindow, DrawsTextAndTheLatestTimesOverThePicture) {
    ViewWindow view({.size = {600, 200}});
    view.ToggleGraph();
    view.AddFrameTime(100.0);
    for (int i = 0; i < 240; ++i) {
        view.AddFrameTime(10.0);
    }
    const WindowDc dc(view.Frame().Handle());
    const auto endOfText = [&] {
        UpdateWindow(view.Frame().Handle());
        int y = 199;
        for (; GetPixel(dc.Get(), 20, y) == RGB(255, 255, 255); --y) {
        }
        return y;
    };
    EXPECT_EQ(endOfText(), 199) << "black before the first frame";
    constexpr std::uint8_t kWhiteBelowRed[] = {255, 255, 255, 0, 0, 0, 255, 0};
    view.ShowPicture({.bytes = kWhiteBelowRed, .width = 1, .height = 2});
    EXPECT_EQ(endOfText(), 99) << "upright, over the whole window";
    view.ShowText(L"\n\n\n\n\n\n\n\n\n\n\n\n\nx");
    const int end = endOfText();
    EXPECT_LT(end, 199) << "text as long as the list of keys fits into the window";
    view.Messages().Show(TextAsRichText(L"m"));
    EXPECT_EQ(endOfText(), end + view.Messages().Height()) << "below the messages";
    EXPECT_EQ(GetPixel(dc.Get(), 400, 160), GetPixel(dc.Get(), 400, 186)) << "10 of 33 milliseconds";
    EXPECT_NE(GetPixel(dc.Get(), 400, 120), GetPixel(dc.Get(), 400, 186));
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
    HWND window = nullptr;
    std::string seen;
    constexpr WPARAM keys[] = {
        VK_F3, VK_F3, VK_TAB, VK_F10, VK_F1, VK_F1, kWithShift | VK_F12, kWithShift | VK_F12, VK_F2};
    std::atomic<bool> stop = false;
    calls.clear();
    results = {Failed};
    const auto poll = [&] {
        wchar_t title[64] = {};
        window = window ? window : GetActiveWindow();
        GetWindowTextW(window, title, 64);
        double rate = 0.0;
        std::swscanf(title, L"%*c - frame %*d - %lf", &rate);
        EXPECT_LT(rate, 100.0) << "60 frames a second at most";
        const HostSurface corner(60, 20);
        const GdiSelection bitmap(corner.DeviceContext(), corner.Bitmap());
        BitBlt(corner.DeviceContext(), 0, 0, 60, 20, WindowDc(window).Get(), 24, 12, SRCCOPY);
        text = std::ranges::any_of(corner.Pixels().bytes, [](auto byte) { return byte != 0; });
        stop = ++polls > 1000;
        if (std::wcsstr(title, L" - paused - ") && ++pauses == 3) {
            EXPECT_TRUE(text) << "the saved picture's name, for seconds";
            EXPECT_EQ(GetPixel(WindowDc(window).Get(), 0, 0), RGB(255, 255, 255)) << "the frame";
            Sleep(3100);
        } else if (pauses > 3 && pauses % 4 == 0 && pauses / 4 <= std::ssize(keys)) {
            EXPECT_EQ(calls.back(), "draw") << "the show has not gone on";
            seen += " " + std::to_string(std::ranges::count(calls, "draw")) +
                    (GetActiveWindow() != window ? "P" : "") + (text ? "T" : "");
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
                                       << "the pause does not count";
                                   return std::vector<std::string>();
                               }};
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunLiveView(kModule, options), ExitStatus::Drawn);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith(player.NameOf(player.Order().Failures().at(0).line) +
                                    " failed to load\nThe shader failed to load; the module reported no "
                                    "reason.\npreview: list: failed to load\npreview: list: loaded\n"));
    EXPECT_EQ(seen, " 5 6 7 7P 7 7T 7 7T 7") << "a frame for each step, the panel, a text, the graph";
    EXPECT_FALSE(text) << "but not for ever";
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
    PostMessageW(GetActiveWindow(), WM_DROPFILES, reinterpret_cast<WPARAM>(drop), 0);
}

TEST(LiveView, FillsTheScreenAtItsScaleUntilAFileIsDropped) {
    calls.clear();
    results.clear();
    const wchar_t* const files[] = {L"C:\\unusable", L"C:\\b.glsl"};
    std::vector<std::wstring> dropped;
    ViewState last = {};
    EventPlayer copy({Press(0, VK_F11), Press(0, VK_F11), Press(1, VK_SHIFT), Press(1, VK_F10)});
    LiveViewOptions options = {.state = {.levels = 16,
                                         .scale = 0.25,
                                         .fullScreen = true,
                                         .settings = {{"Multi-Sample", "1"}, {"Multi-Sample", "2"}}},
                               .name = "a",
                               .command = "preview a",
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
                 L"preview a --fullscreen --scale 0.25 --levels 16 --set Multi-Sample=2");
    CloseClipboard();
}

TEST(ControlPanel, AppliesWhatIsEnteredUnlessItIsInvalidOrConflicts) {
    // The panel has no room beside it.
    ViewState state = {
        .size = {240, 120}, .realTime = true, .place = POINT{GetSystemMetrics(SM_CXSCREEN) - 90, 40}};
    ViewWindow view(state);
    HostSession session(kModule, {.width = 20, .height = 10, .autoOffscreen = true});
    session.Open();
    std::string said;
    ControlChanges changes(session, state, [&](const auto& line) { said = ToUtf8(line); });
    view.AddKeys(changes.Keys());
    view.AddKeys({{VK_RETURN, kAlt, nullptr, [&] { said = "full screen"; }}});
    ControlPanel controls(view.Frame().Handle(), session.Controls(), changes, [&] { said = "copied"; });
    controls.Toggle();
    controls.Refresh();
    const HWND panel = GetActiveWindow();
    const auto part = [panel](const wchar_t* label, int next = 0) {
        HWND found = FindWindowExW(panel, nullptr, nullptr, label);
        for (; next > 0; --next) {
            found = GetWindow(found, GW_HWNDNEXT);
        }
        return found;
    };
    const auto slide = [&](const wchar_t* label, LPARAM steps) {
        SendMessageW(part(label, 1), TBM_SETPOS, TRUE, steps);
        SendMessageW(panel, WM_HSCROLL, TB_THUMBTRACK, reinterpret_cast<LPARAM>(part(label, 1)));
    };
    const auto press = [&](UINT message, WPARAM key) {
        SetFocus(part(L"Speed", 2));
        PostMessageW(GetFocus(), message, key, 0);
        view.Frame().PumpMessages();
        view.ActOnKeys();
    };
    const auto checked = [&](const wchar_t* label) {
        controls.Refresh();
        return SendMessageW(part(label), BM_GETCHECK, 0, 0) == BST_CHECKED;
    };
    EXPECT_TRUE(checked(L"Speed follows the clock"));
    RECT label = {};
    GetWindowRect(part(L"X Tiling"), &label);
    SetCursorPos(label.left + 5, label.top + 5);
    const HWND tips = FindWindowW(TOOLTIPS_CLASSW, nullptr);
    for (int i = 0; i < 100 && !IsWindowVisible(tips); ++i) {
        Sleep(20);
        view.Frame().PumpMessages();
    }
    EXPECT_TRUE(IsWindowVisible(tips));
    SendMessageW(part(L"Copy as command line"), BM_CLICK, 0, 0);
    std::string lines = said + ", ";
    for (const WPARAM key : std::initializer_list<WPARAM>{
             VK_F6, kWithShift | VK_F6, kWithShift | VK_F6, VK_F7, kWithShift | VK_F7, VK_F8, VK_F8, VK_F9,
             VK_F9, VK_F11, VK_F11, kWithShift | VK_F2, kWithShift | VK_F3, kWithControl | VK_F3,
             kWithControl | VK_F3, kWithControl | VK_OEM_MINUS, kWithControl | VK_OEM_PLUS}) {
        HoldKey(key >> 8);
        SendMessageW(view.Frame().Handle(), WM_KEYDOWN, key & 0xFF, 0);
        view.ActOnKeys();
        lines += said + ", ";
    }
    HoldKey(0);
    EXPECT_EQ(
        lines,
        "copied, X Tiling 2, X Tiling 1, X Tiling 1, Y Tiling 2, Y Tiling 1, Mirroring false, "
        "Mirroring true, Foreground Only true, Foreground Only false, Level output, divisor 64, Colours, "
        "Time \u00D7 0.5, Time \u00D7 1, Time \u00D7 -1, Time \u00D7 1, Scale 0.5, Scale 1, ");
    RealTime(session).Advance(-64.0);
    EXPECT_EQ(session.Control("Speed")->decimal.value[0], -1.0F) << "its bound";
    changes.ChangePace(-1000.0);
    EXPECT_EQ(changes.Pace(), -64.0) << "its bounds";
    changes.ChangePace(0.0001);
    EXPECT_EQ(changes.Pace(), -1.0 / 64.0);
    slide(L"X Tiling", 4);
    EXPECT_TRUE(session.Refit(20, 10)) << "tiles need the off-screen bitmap";
    SetFocus(part(L"X Tiling", 2));
    SetWindowTextW(GetFocus(), L"40");
    SendMessageW(panel, WM_COMMAND, IDOK, 0);
    EXPECT_THAT(said, testing::HasSubstr("1 to 32"));
    SendMessageW(part(L"Foreground Only"), BM_CLICK, 0, 0);
    EXPECT_THAT(said, testing::HasSubstr("cannot be combined"));
    EXPECT_FALSE(checked(L"Foreground Only"));
    press(WM_KEYDOWN, VK_F11);
    EXPECT_THAT(said, testing::HasSubstr("level output cannot be combined"));
    SetWindowTextW(part(L"Speed", 2), L"0.2");
    press(WM_CHAR, 'p');
    RealTime(session).Advance();
    controls.Refresh();
    SetFocus(panel);
    EXPECT_THAT(said, testing::HasSubstr("cannot be \"p0.2\"")) << "what is typed counts without Enter";
    EXPECT_THAT(changes.Arguments(), testing::Not(testing::HasSubstr("Speed")));
    SetFocus(part(L"Speed", 2));
    RealTime(session).Advance(2.0);
    SetFocus(panel);
    EXPECT_TRUE(state.realTime) << "only a field that was edited counts";
    EXPECT_FALSE(changes.TakeReload());
    SendMessageW(part(L"Fast Buffers"), BM_CLICK, 0, 0);
    EXPECT_TRUE(changes.TakeReload());
    slide(L"Speed", -250);
    EXPECT_FALSE(state.realTime || checked(L"Speed follows the clock"));
    changes.ChangePace(0.5);
    controls.Refresh();
    EXPECT_EQ(SendMessageW(part(L"Speed", 1), TBM_GETPOS, 0, 0), -125) << "half as far";
    EXPECT_EQ(changes.Arguments(),
              " --window --size 240x120 --set Speed=-0.25 --set \"Fast Buffers=true\" --set \"X Tiling=4\"");
    changes.ChangeScale(16.0);
    EXPECT_EQ(ScaledSize(state.size, state.scale).cx, 960) << "at most 4";
    changes.ChangeScale(0.001);
    EXPECT_EQ(ScaledSize(state.size, state.scale).cx, 15) << "at least a sixteenth";
    HoldKey(VK_MENU);
    press(WM_SYSKEYDOWN, VK_RETURN);
    HoldKey(0);
    EXPECT_EQ(said, "full screen") << "a key of the view";
    press(WM_KEYDOWN, VK_ESCAPE);
    EXPECT_FALSE(IsWindowVisible(panel));
    EXPECT_EQ(GetFocus(), view.Frame().Handle());
    controls.Toggle();
    SendMessageW(panel, WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsWindow(panel) && !IsWindowVisible(panel));
}

}  // namespace
}  // namespace pixelforge::preview
