// The live view's messages and painting.
#include "preview/view/view_window.h"

#include <uxtheme.h>

#include <algorithm>
#include <cstring>

#include "base/win_handles.h"
#include "preview/host/host_error.h"
#include "preview/view/frame_graph.h"

namespace pixelforge::preview {
namespace {

unsigned HeldKeys() {
    const auto held = [](int key, unsigned flag) { return GetKeyState(key) < 0 ? flag : 0U; };
    return held(VK_SHIFT, kShift) | held(VK_CONTROL, kControl) | held(VK_MENU, kAlt);
}

constexpr int kMargin = 12;
constexpr int kFontPixels = 16;
constexpr int kSmallestFontPixels = 8;

/// Of the list of keys with its margins, in sizes of its font.
constexpr int kListLines = 27;
constexpr int kListColumns = 44;

constexpr UINT kTextLayout = DT_EXPANDTABS | DT_NOPREFIX | DT_WORDBREAK | DT_TABSTOP;
constexpr int kTabCharacters = 23;

constexpr std::size_t kGraphFrames = 240;
constexpr LONG kGraphWidth = 2 * static_cast<LONG>(kGraphFrames);
constexpr LONG kGraphHeight = 140;

UniqueFont MakeFont(int pixels) {
    return UniqueFont(CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  FIXED_PITCH | FF_MODERN, L"Consolas"));
}

/// Throws `HostError` with `WrongUsage` if there is none with this number.
POINT CornerOfMonitor(std::int32_t number) {
    std::vector<POINT> corners;
    const auto add = [](HMONITOR, HDC, LPRECT area, LPARAM list) -> BOOL {
        reinterpret_cast<std::vector<POINT>*>(list)->push_back({area->left, area->top});
        return TRUE;
    };
    EnumDisplayMonitors(nullptr, nullptr, add, reinterpret_cast<LPARAM>(&corners));
    if (number < 1 || static_cast<std::size_t>(number) > corners.size()) {
        throw HostError(ExitStatus::WrongUsage, "--monitor: there is no monitor " + std::to_string(number));
    }
    return corners[static_cast<std::size_t>(number) - 1];
}

std::wstring FirstFileOf(HDROP drop) {
    const UINT units = DragQueryFileW(drop, 0, nullptr, 0);
    std::wstring path(units, L'\0');
    DragQueryFileW(drop, 0, path.data(), units + 1);
    DragFinish(drop);
    return path;
}

}  // namespace

std::wstring ViewWindow::KeyList() const {
    std::wstring list;
    for (const ViewKey& key : keys_) {
        list += key.help ? std::wstring(key.help) + L'\n' : std::wstring();
    }
    return list + L"All other keys and the mouse go to the shader.";
}

ViewWindow::ViewWindow(const ViewState& state)
    : frame_(state.size.cx, state.size.cy, {.visible = true}),
      notice_(frame_.Handle(), Edge::Lower),
      messages_(frame_.Handle(), Edge::Upper) {
    BufferedPaintInit();
    frame_.SetHandler([this](auto... message) { return Handle(message...); });
    DragAcceptFiles(frame_.Handle(), TRUE);
    if (state.place || state.monitor != 0) {
        const POINT place = state.place ? *state.place : CornerOfMonitor(state.monitor);
        SetWindowPos(frame_.Handle(), nullptr, place.x, place.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    }
    if (state.fullScreen) {
        ToggleFullScreen();
    }
}

ViewWindow::~ViewWindow() {
    frame_.SetHandler({});
    BufferedPaintUnInit();
    SetThreadExecutionState(ES_CONTINUOUS);
}

void ViewWindow::ToggleFullScreen() {
    fullScreen_ = !fullScreen_;
    SetThreadExecutionState(fullScreen_ ? ES_CONTINUOUS | ES_DISPLAY_REQUIRED | ES_SYSTEM_REQUIRED
                                        : ES_CONTINUOUS);
    const HWND window = frame_.Handle();
    const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
    if (fullScreen_) {
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

void ViewWindow::Describe(ViewState& state) const {
    state.fullScreen = fullScreen_;
    RECT area = placement_.rcNormalPosition;
    if (!fullScreen_) {
        const SIZE size = frame_.ClientSize();
        state.size = size.cx > 0 && size.cy > 0 ? size : state.size;
        GetWindowRect(frame_.Handle(), &area);
    }
    state.place = {area.left, area.top};
}

void ViewWindow::ActOnKeys() {
    for (const std::size_t index : std::exchange(pressed_, {})) {
        keys_[index].act();
        Redraw();
    }
}

void ViewWindow::ShowPicture(const FramePixels& pixels) {
    pictureFormat_.bmiHeader = {
        sizeof(BITMAPINFOHEADER), pixels.width, pixels.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    picture_.assign(pixels.bytes.begin(), pixels.bytes.end());
    Redraw();
}

void ViewWindow::AddFrameTime(double milliseconds) {
    if (frameTimes_.size() == kGraphFrames) {
        frameTimes_.erase(frameTimes_.begin());
    }
    frameTimes_.push_back(milliseconds);
}

void ViewWindow::ShowText(const std::wstring& text) {
    if (text != text_) {
        text_ = text;
        Redraw();
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

void ViewWindow::DrawOverlay(HDC dc, SIZE size) const {
    // The largest font with which the list of keys fits.
    const auto pixels = std::clamp<int>(std::min(size.cx / kListColumns, size.cy / kListLines),
                                        kSmallestFontPixels, kFontPixels);
    const UniqueFont font = MakeFont(pixels);
    const GdiSelection selection(dc, font.Get());
    DRAWTEXTPARAMS tabs{sizeof tabs, kTabCharacters, 0, 0, 0};
    std::wstring text = text_;
    RECT area = {2 * kMargin, messages_.Height() + kMargin, size.cx - 2 * kMargin, size.cy};
    DrawTextExW(dc, text.data(), -1, &area, kTextLayout | DT_CALCRECT, &tabs);
    RECT box = area;
    InflateRect(&box, kMargin, kMargin);
    FillRect(dc, &box, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    DrawTextExW(dc, text.data(), -1, &area, kTextLayout, &tabs);
}

void ViewWindow::OnPaint() {
    PAINTSTRUCT paint;
    const HDC window = BeginPaint(frame_.Handle(), &paint);
    const SIZE size = frame_.ClientSize();
    const RECT area = {0, 0, size.cx, size.cy};
    HDC buffer = nullptr;  // against flicker
    if (const auto painting = BeginBufferedPaint(window, &area, BPBF_COMPATIBLEBITMAP, nullptr, &buffer)) {
        Compose(buffer, size);
        EndBufferedPaint(painting, TRUE);
    }
    EndPaint(frame_.Handle(), &paint);
}

void ViewWindow::Compose(HDC dc, SIZE size) const {
    const BITMAPINFOHEADER& format = pictureFormat_.bmiHeader;
    if (picture_.empty()) {
        PatBlt(dc, 0, 0, size.cx, size.cy, BLACKNESS);
    } else {
        // The sizes differ at another scale than 1, and while the user resizes the window.
        SetStretchBltMode(dc, COLORONCOLOR);
        StretchDIBits(dc, 0, 0, size.cx, size.cy, 0, 0, format.biWidth, std::abs(format.biHeight),
                      picture_.data(), &pictureFormat_, DIB_RGB_COLORS, SRCCOPY);
    }
    if (graphShown_) {
        const LONG right = size.cx - kMargin;
        const LONG bottom = size.cy - kMargin;
        DrawFrameGraph(dc, {right - kGraphWidth, bottom - kGraphHeight, right, bottom},
                       MakeFont(kFontPixels).Get(), frameTimes_, kGraphFrames);
    }
    if (!text_.empty()) {
        DrawOverlay(dc, size);
    }
}

void ViewWindow::ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const {
    if (message == WM_KEYDOWN || message == WM_KEYUP) {
        SendMessageW(moduleWindow_.Handle(), message, wParam, lParam);
    } else if (message == WM_MOUSEMOVE || message == WM_LBUTTONDOWN || message == WM_LBUTTONUP) {
        const SIZE from = frame_.ClientSize();
        const SIZE to = moduleWindow_.ClientSize();
        const int x = MulDiv(static_cast<short>(LOWORD(lParam)), to.cx, std::max<int>(from.cx, 1));
        const int y = MulDiv(static_cast<short>(HIWORD(lParam)), to.cy, std::max<int>(from.cy, 1));
        SendMessageW(moduleWindow_.Handle(), message, wParam,
                     MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)));
    }
}

std::optional<LRESULT> ViewWindow::TakeKey(WPARAM key) {
    const auto row = std::ranges::find_if(
        keys_, [key, held = HeldKeys()](const ViewKey& one) { return one.key == key && one.held == held; });
    if (row == keys_.end()) {
        return std::nullopt;
    }
    pressed_.push_back(static_cast<std::size_t>(row - keys_.begin()));
    return 0;
}

std::optional<LRESULT> ViewWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    ForwardInput(message, wParam, lParam);
    switch (message) {
        case WM_SYSKEYDOWN:  // F10, and every key with Alt
        case WM_KEYDOWN:
            return TakeKey(wParam);
        case WM_SYSCHAR:  // Alt+Enter would beep
            return wParam == VK_RETURN ? std::optional<LRESULT>(0) : std::nullopt;
        case WM_SETCURSOR:
            if (!fullScreen_ || LOWORD(lParam) != HTCLIENT) {
                return std::nullopt;
            }
            SetCursor(nullptr);
            return TRUE;
        case WM_DROPFILES:
            droppedFile_ = FirstFileOf(reinterpret_cast<HDROP>(wParam));
            return 0;
        case WM_LBUTTONDOWN:
            SetCapture(frame_.Handle());
            SetFocus(frame_.Handle());
            return 0;
        case WM_LBUTTONUP:
            ReleaseCapture();
            return 0;
        case WM_SIZE:
            notice_.Place();
            messages_.Place();
            return 0;
        case WM_MOUSEWHEEL:
            (messages_.Height() > 0 ? messages_ : notice_).OnWheel(wParam);
            return 0;
        case WM_NOTIFY:
            return messages_.OnNotify(lParam) | notice_.OnNotify(lParam);
        case WM_ERASEBKGND:
            return 1;
        case WM_PAINT:
            OnPaint();
            return 0;
        case WM_CLOSE:
            closed_ = true;  // destroyed with this object
            return 0;
        default:
            return std::nullopt;
    }
}

}  // namespace pixelforge::preview
