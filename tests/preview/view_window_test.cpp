// The live view's window, its panels of text and the panel of controls.
#include "preview/view/view_window.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <commctrl.h>
#include <richedit.h>

#include "preview/host/notice.h"
#include "preview/view/control_changes.h"
#include "preview/view/control_panel.h"
#include "preview/view/text_panel.h"
#include "tests/preview/recording_module.h"

namespace pixelforge::preview {
namespace {

using testing::ElementsAre;

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
    ViewWindow view({.size = {600, 200}, .monitor = 1});
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
    const HWND panel = FindShown(true);
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
    for (int i = 0; i < 100 && FindShown(true) == panel; ++i) {
        Sleep(20);
        view.Frame().PumpMessages();
    }
    EXPECT_NE(FindShown(true), panel) << "a tool tip";
    SendMessageW(part(L"Copy as command line"), BM_CLICK, 0, 0);
    std::string lines = said + ", ";
    for (const WPARAM key : std::initializer_list<WPARAM>{
             VK_F6, kWithShift | VK_F6, kWithShift | VK_F6, VK_F7, kWithShift | VK_F7, VK_F8, VK_F8, VK_F9,
             VK_F9, VK_F11, VK_F11, kWithShift | VK_F2, kWithShift | VK_F3, kWithControl | VK_F3,
             kWithControl | VK_F3, kWithControl | VK_OEM_MINUS, kWithControl | VK_OEM_PLUS,
             kWithControl | VK_SUBTRACT, kWithControl | VK_ADD}) {
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
        "Time \u00D7 0.5, Time \u00D7 1, Time \u00D7 -1, Time \u00D7 1, Scale 0.5, Scale 1, Scale 0.5, Scale "
        "1, ");
    RealTime(session).Advance(-64.0);
    EXPECT_EQ(session.Control("Speed")->decimal.value[0], -1.0F) << "the control's limit";
    changes.ChangePace(-1000.0);
    EXPECT_EQ(changes.Pace(), -64.0) << "the pace's limits";
    changes.ChangePace(0.0001);
    EXPECT_EQ(changes.Pace(), -1.0 / 64.0);
    EXPECT_EQ(SendMessageW(part(L"X Tiling", 1), TBM_GETRANGEMAX, 0, 0), 32);
    EXPECT_EQ(SendMessageW(part(L"Speed", 1), TBM_GETRANGEMIN, 0, 0), -500);
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
    EXPECT_THAT(said, testing::HasSubstr("cannot be \"p0.2\"")) << "typed text is applied without Enter";
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
    EXPECT_EQ(ScaledSize(state.size, state.scale).cx, 960) << "the largest scale is 4";
    changes.ChangeScale(0.001);
    EXPECT_EQ(ScaledSize(state.size, state.scale).cx, 15) << "the smallest scale is 1/16";
    EXPECT_EQ(ScaledSize({9000, 2}, 4.0).cx, 16384) << "the largest side of a bitmap";
    EXPECT_EQ(ScaledSize({9000, 2}, 0.0625).cy, 1);
    EXPECT_EQ(QuotedArgument("") + QuotedArgument("a&b") + QuotedArgument("a/b=1"), R"("""a&b"a/b=1)");
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
