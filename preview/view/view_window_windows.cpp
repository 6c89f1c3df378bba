// The live view's key table, window procedure and painting.
#include "preview/view/view_window.h"

#include <algorithm>
#include <cstring>

#include "base/bitmap.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr unsigned F(unsigned number) {
    return VK_F1 + number - 1;
}

constexpr unsigned kShift = 1;
constexpr unsigned kControl = 2;
constexpr unsigned kAlt = 4;

struct KeyBinding {
    unsigned virtualKey;
    unsigned held;  ///< the sum of `kShift`, `kControl` and `kAlt`
    ViewCommand command;
    const wchar_t* help;  ///< null: listed with another key
};

// No letters, digits or arrows: they belong to the shader, which also receives these keys. "?" is in WM_CHAR.
constexpr KeyBinding kKeys[] = {
    {F(1), 0, ViewCommand::Help, L"F1 or ?\tshow this list"},
    {F(2), 0, ViewCommand::Pause, L"F2 or Pause\tpause / resume"},
    {VK_PAUSE, 0, ViewCommand::Pause, nullptr},
    {F(3), 0, ViewCommand::Step, L"F3\tpause, then step one frame"},
    {F(4), 0, ViewCommand::NextPick, L"F4, Shift+F4\tnext / previous shader of the playlist"},
    {F(4), kShift, ViewCommand::PreviousPick, nullptr},
    {F(5), 0, ViewCommand::Reload, L"F5\treload the shader"},
    {F(5), kShift, ViewCommand::Messages, L"Shift+F5\thide / show the shader's messages"},
    {F(6), 0, ViewCommand::MoreColumns, L"F6, Shift+F6\tmore / fewer tiles across"},
    {F(6), kShift, ViewCommand::FewerColumns, nullptr},
    {F(7), 0, ViewCommand::MoreRows, L"F7, Shift+F7\tmore / fewer tiles down"},
    {F(7), kShift, ViewCommand::FewerRows, nullptr},
    {F(8), 0, ViewCommand::Mirror, L"F8\tmirror every second tile on / off"},
    {F(9), 0, ViewCommand::Foreground, L"F9\tforeground only on / off"},
    {F(11), 0, ViewCommand::Levels, L"F11\tlevel output / colours"},
    {F(12), 0, ViewCommand::SavePicture, L"F12\tsave a PNG"},
    {VK_INSERT, 0, ViewCommand::AddFavourite, L"Insert\tadd the shader to the favourites"},
    {VK_TAB, 0, ViewCommand::Panel, L"Tab or F10\tall controls"},
    {F(10), 0, ViewCommand::Panel, nullptr},
    {F(10), kShift, ViewCommand::CopyCommandLine, L"Shift+F10\tcopy the settings as a command line"},
    {F(2), kShift, ViewCommand::Slower, L"Shift+F2, F3\ttime slower / faster"},
    {F(3), kShift, ViewCommand::Faster, nullptr},
    {F(3), kControl, ViewCommand::Backwards, L"Ctrl+F3\ttime backwards / forwards"},
    {F(12), kShift, ViewCommand::Graph, L"Shift+F12\tgraph of frame times"},
    {VK_RETURN, kAlt, ViewCommand::FullScreen, L"Alt+Enter\tfull screen / window"},
    {VK_OEM_MINUS, kControl, ViewCommand::LowerScale, L"Ctrl+Minus, Plus\tlower / higher resolution"},
    {VK_SUBTRACT, kControl, ViewCommand::LowerScale, nullptr},
    {VK_OEM_PLUS, kControl, ViewCommand::HigherScale, nullptr},
    {VK_ADD, kControl, ViewCommand::HigherScale, nullptr},
};

unsigned HeldKeys() {
    const auto held = [](int key, unsigned flag) { return GetKeyState(key) < 0 ? flag : 0U; };
    return held(VK_SHIFT, kShift) | held(VK_CONTROL, kControl) | held(VK_MENU, kAlt);
}

std::optional<ViewCommand> CommandOfKey(unsigned virtualKey, unsigned held) {
    for (const KeyBinding& key : kKeys) {
        if (key.virtualKey == virtualKey && key.held == held) {
            return key.command;
        }
    }
    return std::nullopt;
}

constexpr COLORREF kTextColor = RGB(255, 255, 255);
constexpr int kMargin = 12;
constexpr int kFontPixels = 16;
constexpr UINT kTextLayout = DT_EXPANDTABS | DT_NOPREFIX | DT_WORDBREAK | DT_TABSTOP;
constexpr int kTabCharacters = 18;

UniqueFont MakeFont() {
    return UniqueFont(CreateFontW(-kFontPixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  FIXED_PITCH | FF_MODERN, L"Consolas"));
}

template <class Object>
Object* AddressIn(LPARAM number) {
    return reinterpret_cast<Object*>(number);
}

/// Throws `HostError` with `WrongUsage` if there is none with this number.
WindowPlace CornerOfMonitor(std::int32_t number) {
    std::vector<RECT> areas;
    const auto add = [](HMONITOR, HDC, LPRECT area, LPARAM list) -> BOOL {
        AddressIn<std::vector<RECT>>(list)->push_back(*area);
        return TRUE;
    };
    EnumDisplayMonitors(nullptr, nullptr, add, reinterpret_cast<LPARAM>(&areas));
    if (number < 1 || static_cast<std::size_t>(number) > areas.size()) {
        throw HostError(ExitStatus::WrongUsage, "--monitor: there is no monitor " + std::to_string(number) +
                                                    ", only 1 to " + std::to_string(areas.size()));
    }
    const RECT& area = areas[static_cast<std::size_t>(number) - 1];
    return {area.left, area.top};
}

/// Replaces a bitmap of a different size. False if out of memory.
bool FitBitmap(UniqueBitmap& bitmap, std::int32_t width, std::int32_t height) {
    const SectionPixels current = PixelsOf(bitmap.Get());
    if (current.width != width || current.height != height) {
        bitmap = CreateHostBitmap(width, height);
    }
    return static_cast<bool>(bitmap);
}

}  // namespace

std::wstring KeyList() {
    std::wstring list;
    for (const KeyBinding& key : kKeys) {
        if (key.help) {
            list += key.help;
            list += L'\n';
        }
    }
    return list + L"All other keys and the mouse go to the shader.";
}

ViewWindow::ViewWindow(const ViewWindowOptions& options)
    : canvasDc_(CreateCompatibleDC(nullptr)),
      pictureDc_(CreateCompatibleDC(nullptr)),
      font_(MakeFont()),
      frame_(options.width, options.height, {.visible = true, .procedure = Procedure, .parameter = this}),
      notice_(frame_.Handle()),
      messages_(frame_.Handle(), font_.Get()) {
    ready_ = true;
    DragAcceptFiles(frame_.Handle(), TRUE);
    const std::optional<WindowPlace> place =
        options.place || options.monitor == 0 ? options.place : CornerOfMonitor(options.monitor);
    if (place) {
        SetWindowPos(frame_.Handle(), nullptr, place->left, place->top, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    }
    if (options.fullScreen) {
        SetFullScreen(true);
    }
}

ViewWindow::~ViewWindow() {
    ready_ = false;
    SetThreadExecutionState(ES_CONTINUOUS);
}

void ViewWindow::SetFullScreen(bool on) {
    if (on == fullScreen_) {
        return;
    }
    const HWND window = frame_.Handle();
    const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
    fullScreen_ = on;
    SetThreadExecutionState(on ? ES_CONTINUOUS | ES_DISPLAY_REQUIRED | ES_SYSTEM_REQUIRED : ES_CONTINUOUS);
    if (on) {
        placement_.length = sizeof placement_;
        GetWindowPlacement(window, &placement_);
        MONITORINFO monitor = {};
        monitor.cbSize = sizeof monitor;
        GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
        const RECT& area = monitor.rcMonitor;
        SetWindowLongPtrW(window, GWL_STYLE, style & ~static_cast<LONG_PTR>(WS_OVERLAPPEDWINDOW));
        SetWindowPos(window, HWND_TOP, area.left, area.top, area.right - area.left, area.bottom - area.top,
                     SWP_FRAMECHANGED);
    } else {
        SetWindowLongPtrW(window, GWL_STYLE, style | static_cast<LONG_PTR>(WS_OVERLAPPEDWINDOW));
        SetWindowPlacement(window, &placement_);
        SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    }
}

WindowPlace ViewWindow::Place() const {
    RECT area = placement_.rcNormalPosition;
    if (!fullScreen_) {
        GetWindowRect(frame_.Handle(), &area);
    }
    return {area.left, area.top};
}

std::optional<ViewCommand> ViewWindow::NextCommand() {
    if (commands_.empty()) {
        return std::nullopt;
    }
    const ViewCommand command = commands_.front();
    commands_.pop_front();
    return command;
}

void ViewWindow::ShowPicture(const FramePixels& pixels) {
    if (FitBitmap(picture_, pixels.width, pixels.height)) {
        GdiFlush();
        std::ranges::copy(pixels.bytes, PixelsOf(picture_.Get()).bytes.begin());
        Redraw();
    }
}

void ViewWindow::ShowText(const std::wstring& text) {
    if (text != text_) {
        text_ = text;
        Redraw();
    }
}

void ViewWindow::ShowMessages(const std::wstring& text) {
    if (messages_.Show(text)) {
        Redraw();  // other text starts below them
    }
}

void ViewWindow::SetTitle(const std::wstring& title) {
    if (title != title_) {
        title_ = title;
        SetWindowTextW(frame_.Handle(), title.c_str());
    }
}

bool ViewWindow::CopyText(const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!block || !OpenClipboard(frame_.Handle())) {
        GlobalFree(block);
        return false;
    }
    std::memcpy(GlobalLock(block), text.c_str(), bytes);
    GlobalUnlock(block);
    EmptyClipboard();
    const bool copied = SetClipboardData(CF_UNICODETEXT, block) != nullptr;
    CloseClipboard();
    return copied;
}

void ViewWindow::ShowNotice(const std::optional<Notice>& notice) {
    notice_.Show(notice);
}

void ViewWindow::Redraw() {
    const WindowDc dc(frame_.Handle());
    Paint(dc.Get());
}

void ViewWindow::DrawOverlay(SIZE size) {
    if (text_.empty()) {
        return;
    }
    const HDC dc = canvasDc_.Get();
    const GdiSelection font(dc, font_.Get());
    const LONG top = messages_.Height() + 2 * kMargin;
    RECT area = {2 * kMargin, top, size.cx - 2 * kMargin, size.cy - 2 * kMargin};
    DRAWTEXTPARAMS tabs{sizeof tabs, kTabCharacters, 0, 0, 0};
    DrawTextExW(dc, text_.data(), -1, &area, kTextLayout | DT_CALCRECT, &tabs);
    RECT box = area;
    InflateRect(&box, kMargin, kMargin);
    FillRect(dc, &box, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kTextColor);
    DrawTextExW(dc, text_.data(), -1, &area, kTextLayout, &tabs);
}

void ViewWindow::Paint(HDC dc) {
    const SIZE size = frame_.ClientSize();
    if (size.cx < 1 || size.cy < 1 || !FitBitmap(canvas_, size.cx, size.cy)) {
        return;
    }
    const GdiSelection canvas(canvasDc_.Get(), canvas_.Get());
    if (picture_) {
        const GdiSelection picture(pictureDc_.Get(), picture_.Get());
        const SectionPixels pixels = PixelsOf(picture_.Get());
        // The sizes differ at another scale than 1, and while the user resizes the window.
        SetStretchBltMode(canvasDc_.Get(), COLORONCOLOR);
        StretchBlt(canvasDc_.Get(), 0, 0, size.cx, size.cy, pictureDc_.Get(), 0, 0, pixels.width,
                   pixels.height, SRCCOPY);
    } else {
        PatBlt(canvasDc_.Get(), 0, 0, size.cx, size.cy, BLACKNESS);
    }
    graph_.Draw(canvasDc_.Get(), size, font_.Get());
    DrawOverlay(size);
    BitBlt(dc, 0, 0, size.cx, size.cy, canvasDc_.Get(), 0, 0, SRCCOPY);
}

LRESULT CALLBACK ViewWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = AddressIn<const CREATESTRUCTW>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* view = AddressIn<ViewWindow>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!view || !view->ready_) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    view->ForwardInput(message, wParam, lParam);
    return view->TakeKey(message, wParam, lParam) ? 0 : view->Handle(window, message, wParam, lParam);
}

void ViewWindow::ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const {
    constexpr UINT kForwarded[] = {WM_KEYDOWN, WM_KEYUP, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONUP};
    if (inputTarget_ && std::ranges::find(kForwarded, message) != std::end(kForwarded)) {
        const bool isKey = message == WM_KEYDOWN || message == WM_KEYUP;
        SendMessageW(inputTarget_, message, wParam, isKey ? lParam : InTarget(lParam));
    }
}

LPARAM ViewWindow::InTarget(LPARAM position) const {
    RECT target = {};
    GetClientRect(inputTarget_, &target);
    const SIZE size = frame_.ClientSize();
    const int x = MulDiv(static_cast<short>(LOWORD(position)), target.right, std::max<int>(size.cx, 1));
    const int y = MulDiv(static_cast<short>(HIWORD(position)), target.bottom, std::max<int>(size.cy, 1));
    return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y));
}

void ViewWindow::TakeDrop(HDROP drop) {
    const UINT units = DragQueryFileW(drop, 0, nullptr, 0);
    std::wstring path(units, L'\0');
    DragQueryFileW(drop, 0, path.data(), units + 1);
    DragFinish(drop);
    droppedFile_ = path;
}

bool ViewWindow::TakeKey(UINT message, WPARAM wParam, LPARAM lParam) {
    std::optional<ViewCommand> command;
    switch (message) {
        case WM_SYSKEYDOWN:  // F10, and every key with Alt
        case WM_KEYDOWN:
            command = CommandOfKey(static_cast<unsigned>(wParam), HeldKeys());
            break;
        case WM_CHAR:
            command = wParam == L'?' ? std::optional(ViewCommand::Help) : std::nullopt;
            break;
        case WM_SYSCHAR:  // Alt+Enter would beep
            return wParam == VK_RETURN;
        case WM_SYSCOMMAND:
            return IsMenuKey(wParam, lParam);
        default:
            return false;
    }
    if (command) {
        commands_.push_back(*command);
    }
    return command.has_value();
}

LRESULT ViewWindow::Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_SETCURSOR:
            if (fullScreen_ && LOWORD(lParam) == HTCLIENT) {
                SetCursor(nullptr);
                return TRUE;
            }
            return DefWindowProcW(window, message, wParam, lParam);
        case WM_DROPFILES:
            TakeDrop(reinterpret_cast<HDROP>(wParam));
            return 0;
        case WM_LBUTTONDOWN:
            SetCapture(window);
            SetFocus(window);
            return 0;
        case WM_LBUTTONUP:
            ReleaseCapture();
            return 0;
        case WM_SIZE:
            notice_.Place();
            messages_.Place();
            return 0;
        case WM_MOUSEWHEEL:
        case WM_COMMAND:
        case WM_CTLCOLORSTATIC:
            return messages_.OnMessage(message, wParam, lParam);
        case WM_NOTIFY:
            return notice_.OnNotify(*AddressIn<const NMHDR>(lParam));
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT: {
            PAINTSTRUCT paint;
            Paint(BeginPaint(window, &paint));
            EndPaint(window, &paint);
            return 0;
        }
        case WM_CLOSE:
            closed_ = true;  // destroyed with this object
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

}  // namespace pixelforge::preview
