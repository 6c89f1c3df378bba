// The live view's window, its panels of text and the panel of controls.
#include "preview/view/view_window.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <commctrl.h>
#include <richedit.h>

#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/frame_graph.h"
#include "preview/view/text_panel.h"
#include "tests/preview/recording_module.h"
#include "tests/support/temp_file.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

TEST(TextPanel, CoversAtMostAThirdScrollsAndOpensNoForgedLink) {
    HostWindow window(300, 150);
    TextPanel panel(window.Handle(), Edge::Upper);
    window.SetHandler([&](UINT message, WPARAM, LPARAM notice) {
        return message == WM_NOTIFY ? std::optional(panel.OnNotify(notice)) : std::nullopt;
    });
    panel.Show(TextAsRichText(L"1\n2\n3\n4\n5\n6\n7\n8"));
    EXPECT_EQ(panel.Height(), 50);
    const HWND control = GetWindow(window.Handle(), GW_CHILD);
    for (const auto& [delta, line] : {std::pair(-WHEEL_DELTA, 3), {WHEEL_DELTA, 0}}) {
        SendMessageW(control, WM_MOUSEWHEEL, MAKEWPARAM(0, delta), 0);
        EXPECT_EQ(SendMessageW(control, EM_GETFIRSTVISIBLELINE, 0, 0), line) << delta;
    }
    panel.Show(TextAsRichText(L"a line that breaks in a narrow window"));
    EXPECT_EQ(panel.Height(), 24);
    window.SetClientSize(100, 900);
    panel.Place();
    EXPECT_GT(panel.Height(), 24);
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
    view.ModuleWindow().SetHandler([&](UINT message, WPARAM wParam, LPARAM lParam) {
        got.insert(got.end(), {message, static_cast<LPARAM>(wParam), lParam});
        return 0;
    });
    SetFocus(nullptr);
    SendMessageW(frame, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    EXPECT_TRUE(GetCapture() == frame && GetFocus() == frame);
    SendMessageW(frame, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-20, -8));
    SendMessageW(frame, WM_LBUTTONUP, 0, 0);
    SendMessageW(frame, WM_KEYDOWN, 'A', 1);
    SendMessageW(frame, WM_KEYUP, 'A', 1);
    SendMessageW(frame, WM_SYSCOMMAND, SC_KEYMENU, 0);  // Alt: no wait in a menu
    view.ModuleWindow().SetHandler({});
    EXPECT_THAT(got, ElementsAre(WM_LBUTTONDOWN, MK_LBUTTON, 0, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-10, -2),
                                 WM_LBUTTONUP, 0, 0, WM_KEYDOWN, 'A', 1, WM_KEYUP, 'A', 1));
    EXPECT_EQ(GetCapture(), nullptr);
    view.Messages().Show(TextAsRichText(L"1\n2\n3\n4\n5\n6\n7\n8"));
    SendMessageW(frame, WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
    EXPECT_GT(SendMessageW(GetTopWindow(frame), EM_GETFIRSTVISIBLELINE, 0, 0), 0);
    constexpr EXECUTION_STATE kAwake = ES_CONTINUOUS | ES_DISPLAY_REQUIRED | ES_SYSTEM_REQUIRED;
    RECT window = {};
    GetWindowRect(frame, &window);
    for (const bool full : {true, false}) {
        view.ToggleFullScreen();
        SendMessageW(frame, WM_SETCURSOR, reinterpret_cast<WPARAM>(frame), HTCLIENT);
        EXPECT_EQ(GetCursor() == nullptr, full);
        EXPECT_EQ(SetThreadExecutionState(ES_CONTINUOUS), full ? kAwake : ES_CONTINUOUS)
            << "returns the previous state";
        EXPECT_EQ(GetWindowLongPtrW(frame, GWL_STYLE) & WS_OVERLAPPEDWINDOW, full ? 0 : WS_OVERLAPPEDWINDOW);
        RECT area = {};
        GetWindowRect(frame, &area);
        const RECT screen = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
        EXPECT_TRUE(EqualRect(&area, full ? &screen : &window));
        view.Describe(state);
        EXPECT_TRUE(state.size.cx == 240 && state.place->x == 30 && state.place->y == 40 &&
                    state.fullScreen == full);
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
    SendMessageW(frame, WM_SYSKEYDOWN, VK_F4, KF_ALTDOWN << 16);
    HoldKey(0);
    view.Frame().PumpMessages();
    view.ActOnKeys();
    EXPECT_TRUE(view.Closed() && IsWindow(frame));
    EXPECT_TRUE(GetWindowLongPtrW(frame, GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
}

TEST(ViewWindow, DrawsThePictureUprightAndTheLatestTimesOverIt) {
    ViewWindow view({.size = {600, 200}, .monitor = 1});
    constexpr std::uint8_t kWhiteBelowRed[] = {255, 255, 255, 0, 0, 0, 255, 0};
    const WindowDc dc(view.Frame().Handle());
    const auto at = [&](int x, int y) {
        UpdateWindow(view.Frame().Handle());
        return GetPixel(dc.Get(), x, y);
    };
    EXPECT_EQ(at(300, 195), RGB(0, 0, 0)) << "no frame yet";
    view.ToggleGraph();
    view.AddFrameTime(1000.0);
    view.ShowPicture({.bytes = kWhiteBelowRed, .width = 1, .height = 2});
    EXPECT_TRUE(at(107, 99) == RGB(255, 0, 0) && at(107, 100) == RGB(255, 255, 255));
    EXPECT_TRUE(at(108, 187) == RGB(16, 20, 28) && at(587, 187) == RGB(230, 80, 70)) << "the graph's corners";
    EXPECT_TRUE(at(588, 187) == RGB(255, 255, 255) && at(587, 188) == at(588, 187) &&
                at(587, 47) == at(107, 99));
    for (int i = 0; i < 240; ++i) {
        view.AddFrameTime(10.0);
    }
    view.ShowPicture({.bytes = kWhiteBelowRed, .width = 1, .height = 2});
    EXPECT_TRUE(at(108, 187) == RGB(80, 200, 120) && at(587, 75) == RGB(16, 20, 28)) << "only the latest";
}

TEST(FrameGraph, ShowsTheWorstOfTimesThatShareAPixelAndTheirFigures) {
    std::vector<double> times(1920, 5.0);
    std::fill_n(times.begin(), 960, 10.0);
    times[1000] = 40.0;
    times[1403] = 18.0;
    const HostSurface expected(960, 270);
    const HDC dc = expected.DeviceContext();
    const GdiSelection bitmap(dc, expected.Bitmap());
    const GdiSelection font(dc, GetStockObject(DEFAULT_GUI_FONT));
    const std::pair<RECT, COLORREF> areas[] = {
        {{0, 0, 960, 270}, RGB(16, 20, 28)},       {{0, 233, 480, 270}, RGB(80, 200, 120)},
        {{480, 251, 960, 270}, RGB(80, 200, 120)}, {{500, 121, 501, 270}, RGB(230, 80, 70)},
        {{701, 203, 702, 270}, RGB(240, 180, 60)}, {{0, 208, 960, 209}, RGB(255, 255, 255)}};
    for (const auto& [area, color] : areas) {
        FillRect(dc, &area, UniqueBrush(CreateSolidBrush(color)).Get());
    }
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    RECT caption = {4, 0, 956, 22};
    DrawTextW(dc, L"median 10.0, worst 40.0, top 67 ms; line 60/s", -1, &caption, DT_SINGLELINE | DT_VCENTER);
    const test::TempFile files[] = {test::TempFile(""), test::TempFile("")};
    WritePng(files[0].Path(), expected.Pixels());
    WriteFrameGraph(files[1].Path(), times);
    EXPECT_TRUE(test::ContentOf(files[1].Path()) == test::ContentOf(files[0].Path()));
}

TEST_F(LiveViewTest, HasAPanelWithEveryControlItsBoundsAndTip) {
    const Action look = [](HWND view) {
        const HWND panel = FindShown(true);
        HWND toolTips = nullptr;
        do {
            toolTips = FindWindowExW(nullptr, toolTips, TOOLTIPS_CLASSW, nullptr);
        } while (toolTips && GetWindow(toolTips, GW_OWNER) != panel);
        // A line for each row: its top and bottom; then each part's left edge, width, text or position, "|"
        // for a tab stop, "*" for bold, "!" for read-only; in parentheses each new tip's last 40 characters.
        std::string rows;
        std::wstring previous;
        RECT area = {};
        for (HWND part = GetWindow(panel, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
            GetWindowRect(part, &area);
            MapWindowPoints(nullptr, panel, reinterpret_cast<POINT*>(&area), 2);
            rows +=
                area.left == 10 ? "\n" + std::to_string(area.top) + "-" + std::to_string(area.bottom) : "";
            wchar_t text[400] = {};
            GetWindowTextW(part, text, 400);
            const std::string slider = std::to_string(SendMessageW(part, TBM_GETPOS, 0, 0)) + " of " +
                                       std::to_string(SendMessageW(part, TBM_GETRANGEMAX, 0, 0));
            LOGFONTW font = {};
            GetObjectW(reinterpret_cast<HFONT>(SendMessageW(part, WM_GETFONT, 0, 0)), sizeof font, &font);
            const LONG_PTR style = GetWindowLongPtrW(part, GWL_STYLE);
            rows += " " + std::to_string(area.left) + "+" + std::to_string(area.right - area.left) + " " +
                    (*text ? ToUtf8(text) : slider) + ((style & WS_TABSTOP) != 0 ? "|" : "") +
                    (font.lfWeight == FW_BOLD ? "*" : "") + ((style & ES_READONLY) != 0 ? "!" : "");
            text[0] = L'\0';
            const auto id = reinterpret_cast<UINT_PTR>(part);
            TTTOOLINFOW tool = {TTTOOLINFOW_V1_SIZE, 0, panel, id, {}, nullptr, text, 0, nullptr};
            SendMessageW(toolTips, TTM_GETTEXTW, 400, reinterpret_cast<LPARAM>(&tool));
            if (text != std::exchange(previous, text)) {
                const std::string tip = WithoutControls(text);
                rows += " (" + tip.substr(tip.size() - std::min(tip.size(), std::size_t{40})) + ")";
            }
        }
        EXPECT_THAT(rows, testing::StartsWith(R"(
5-25 10+378 General* (General module configuration controls)
29-49 10+112 Speed (Animation speed  number, -1 to 1) 122+180 15 of 500| 312+76 0.03|
53-73 10+112 Playlist File(s) (ile(s)  file name in the playlist folder) 122+266 0 of 0|
77-97 10+378 Fast Buffers| (tible frame buffer format  true or false)
)"));
        EXPECT_THAT(rows, testing::EndsWith(R"(
389-409 10+112 Tile Mask ( displayed  columns x rows, 1x1 to 32x32) 122+266 32x32|!
413-433 10+378 Drawing* (s for when the module will draw or reset)
437-457 10+378 Draw Event| (dule will draw when TRUE.  true or false)
461-481 10+378 Reset Event| (d reinitialize when TRUE.  true or false)
485-505 10+112 Min Reset Time ( milliseconds.  whole number, 0 to 20000) 122+180 5000 of 20000| 312+76 5000|
514-534 10+189 Speed follows the clock| () 199+189 Copy as command line|)"));
        GetClientRect(panel, &area);
        EXPECT_TRUE(area.right == 398 && area.bottom == 548);
        EXPECT_EQ(GetPixel(WindowDc(panel).Get(), 397, 547), GetSysColor(COLOR_BTNFACE));
        RECT beside = {};
        GetWindowRect(view, &beside);
        GetWindowRect(panel, &area);
        EXPECT_TRUE(area.right == GetSystemMetrics(SM_CXSCREEN) && area.top == beside.top)
            << "there is no room";
        EXPECT_EQ(SendMessageW(toolTips, TTM_GETMAXTIPWIDTH, 0, 0), 320) << "otherwise tips have one line";
        SetCursorPos(area.left + 20, area.top + 60);
    };
    options_.state.place = POINT{GetSystemMetrics(SM_CXSCREEN) - 1100, 40};
    Run({{Key(VK_TAB), opened_ + "draw*4 [1] "}, {look, "draw*60 ", {}, 60}});  // a tool tip covers the panel
}

Action Slide(const wchar_t* label, LPARAM steps) {
    return [=](HWND) {
        SendMessageW(Part(label, 1), TBM_SETPOS, TRUE, steps);
        SendMessageW(FindShown(true), WM_HSCROLL, TB_THUMBTRACK, reinterpret_cast<LPARAM>(Part(label, 1)));
    };
}

/// In the field of "Speed" or, if there is a text, instead of that of "X Tiling".
Action Type(UINT message, WPARAM key, const wchar_t* text = nullptr) {
    return [=](HWND) {
        HoldKey(0);
        SetFocus(Part(text ? L"X Tiling" : L"Speed", 2));
        if (text) {
            SetWindowTextW(GetFocus(), text);
        }
        PostMessageW(GetFocus(), message, key, 0);
    };
}

void LeaveField(HWND) {
    SetFocus(Part(L"Speed follows the clock"));
    PostMessageW(GetFocus(), WM_KEYDOWN, VK_RETURN, 0);  // does nothing there
}

TEST_F(LiveViewTest, AppliesThePanelsEntriesUnlessTheyAreInvalidOrConflict) {
    const std::string copied = "Copied: c --window --size 1000x300 --set ";
    options_.playlistName = "p";
    options_.state.settings.push_back({"Tile Mask", "2x3"});
    options_.state.realTime = true;
    Run({{Key(VK_TAB), opened_ + "draw*4 [1] clock "},
         {Key(VK_F3, VK_CONTROL), "draw*4 [1] clock ", "Time \u00D7 -1"},
         {[](HWND) { EXPECT_LT(speeds.back(), 0.0F); }, "draw*4 [1] clock "},
         {Slide(L"X Tiling", 4), refitted_ + "[4] clock ", "X Tiling 4"},
         {Type(WM_KEYDOWN, VK_RETURN, L"40"), "draw*4 [4] clock ",
          "\"X Tiling\" cannot be \"40\": whole number, 1 to 32"},
         {Type(WM_KEYDOWN, VK_RETURN, L"5"), "draw*4 [5] clock ", "X Tiling 5"},
         {Click(L"Foreground Only"), "draw*4 [5] clock ",
          "\"Foreground Only\" cannot be combined with tiles, which cover the whole of the host's picture"},
         {Type(WM_KEYDOWN, VK_F11), "draw*4 [5] clock ",
          "level output cannot be combined with tiles, which the module draws in colour"},
         {Click(L"Fast Buffers"), "initialize draw*4 [5] clock ", "Fast Buffers true"},
         {Type(WM_KEYDOWN, VK_TAB), "draw*4 [5] clock ", "Fast Buffers true"},
         {Click(L"Copy as command line"), "draw*4 [5] clock ",
          copied + "\"Fast Buffers=true\" --set \"Info Time=0\" --set \"X Tiling=5\""},
         {Slide(L"Speed", -250), "draw*4 [5] ", "Speed -0.5"},
         {Key(VK_F10, VK_SHIFT), "draw*4 [5] ",
          copied + "Speed=-0.5 --set \"Fast Buffers=true\" --set \"Info Time=0\" --set \"X Tiling=5\""},
         {Type(WM_CHAR, 'p'), "draw*4 [5] "},
         {LeaveField, "draw*4 [5] ", "\"Speed\" cannot be \"p-0.5\": number, -1 to 1"},
         {Click(L"Speed follows the clock"), "draw*4 [5] clock "},
         {Click(L"Speed follows the clock"), "draw*4 [5] "},
         {Type(WM_KEYDOWN, VK_ESCAPE), "draw*4 "},
         {[](HWND view) { EXPECT_EQ(GetFocus(), view); }, "draw*4 "},
         {Key(VK_F10), "draw*4 [5] "},
         {[](HWND) { SendMessageW(FindShown(true), WM_CLOSE, 0, 0); }, "draw*4 "},
         {Key(VK_TAB), "draw*4 [5] "}});
}

TEST_F(LiveViewTest, ChangesSettingsByKeys) {
    options_.state.levels = 16;
    Run({{Key(VK_F11), opened_ + "draw levels pre-initialize initialize draw*3 ", "Colours"},
         {Key(VK_F11), "draw pre-initialize initialize draw levels*3 ", "Level output, divisor 16"},
         {Key(VK_F11), "draw levels pre-initialize initialize draw*3 ", "Colours"},
         {Key(VK_F6), refitted_, "X Tiling 2"},
         {Key(VK_F9), "draw*4 ",
          "\"Foreground Only\" cannot be combined with tiles, which cover the whole of the host's picture"},
         {Key(VK_F6, VK_SHIFT), refitted_, "X Tiling 1"},
         {Key(VK_F6, VK_SHIFT), "draw*4 ", "X Tiling 1"},
         {Key(VK_F7), refitted_, "Y Tiling 2"},
         {Key(VK_F7, VK_SHIFT), refitted_, "Y Tiling 1"},
         {Key(VK_F8), "draw*4 ", "Mirroring false"},
         {Key(VK_F8), "draw*4 ", "Mirroring true"},
         {Key(VK_F9), refitted_},
         {Key(VK_F9), refitted_, "Foreground Only false"},
         {Key(VK_F2, VK_SHIFT), "draw*4 ", "Speed 0.015"},
         {Key(VK_F3, VK_SHIFT), "draw*4 ", "Speed 0.03"},
         {Key(VK_F3, VK_CONTROL), "draw*4 ", "Speed -0.03"},
         {Key(VK_OEM_MINUS, VK_CONTROL), refitted_, "Scale 0.5"},
         {Key(VK_OEM_PLUS, VK_CONTROL), refitted_, "Scale 1"},
         {Key(VK_SUBTRACT, VK_CONTROL), refitted_, "Scale 0.5"},
         {Key(VK_ADD, VK_CONTROL), refitted_, "Scale 1"},
         {Key(VK_OEM_PLUS, VK_CONTROL, VK_SHIFT), refitted_, "Scale 2"}});
}

TEST(ControlChanges, LimitsPaceAndScale) {
    ViewState state = {.levels = 8, .realTime = true, .fullScreen = true};
    HostSession session(kModule, {.width = 20, .height = 10});
    std::string said;
    ControlChanges changes(session, state, [&](auto& line) { said += ToUtf8(line) + ", "; });
    for (const double factor : {0.5, -1000.0, 0.0001}) {
        changes.ChangePace(factor);
        changes.ChangeScale(std::abs(factor));
    }
    EXPECT_EQ(said,
              "Time \u00D7 0.5, Scale 0.5, Time \u00D7 -64, Scale 4, Time \u00D7 -0.015625, Scale 0.0625, ");
    EXPECT_EQ(changes.Pace(), -1.0 / 64.0);
    EXPECT_EQ(changes.Arguments(), " --fullscreen --scale 0.0625 --levels 8");
    EXPECT_EQ(ScaledSize({9000, 3}, 4.0).cx, 16384) << "the largest side of a bitmap";
    EXPECT_EQ(ScaledSize({3, 2}, 0.5).cx * 10 + ScaledSize({3, 2}, 0.0625).cy, 21);
    EXPECT_EQ(QuotedArgument("") + QuotedArgument("a&b") + QuotedArgument("a/b=1"), R"("""a&b"a/b=1)");
}

}  // namespace
}  // namespace pixelforge::preview
