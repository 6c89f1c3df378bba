// The live view's messages and painting.
#include "preview/view/view_window.h"

#include <algorithm>
#include <cstring>

#include "base/bitmap.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

unsigned HeldKeys() {
    const auto held = [](int key, unsigned flag) { return GetKeyState(key) < 0 ? flag : 0U; };
    return held(VK_SHIFT, kShift) | held(VK_CONTROL, kControl) | held(VK_MENU, kAlt);
}

constexpr COLORREF kTextColor = RGB(255, 255, 255);
constexpr int kMargin = 12;
constexpr int kFontPixels = 16;
constexpr int kSmallestFontPixels = 8;
constexpr UINT kTextLayout = DT_EXPANDTABS | DT_NOPREFIX | DT_WORDBREAK | DT_TABSTOP;
constexpr int kTabCharacters = 18;

constexpr std::size_t kGraphFrames = 240;
constexpr LONG kGraphWidth = 2 * static_cast<LONG>(kGraphFrames);
constexpr LONG kGraphHeight = 140;

UniqueFont MakeFont(int pixels) {
    return UniqueFont(CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  FIXED_PITCH | FF_MODERN, L"Consolas"));
}

/// Throws `HostError` with `WrongUsage` if there is none with this number.
WindowPlace CornerOfMonitor(std::int32_t number) {
    std::vector<RECT> areas;
    const auto add = [](HMONITOR, HDC, LPRECT area, LPARAM list) -> BOOL {
        reinterpret_cast<std::vector<RECT>*>(list)->push_back(*area);
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

std::wstring ViewWindow::KeyList() const {
    std::wstring list;
    for (const ViewKey& key : keys_) {
        list += key.help ? std::wstring(key.help) + L'\n' : std::wstring();
    }
    return list + L"All other keys and the mouse go to the shader.";
}

ViewWindow::ViewWindow(const ViewWindowOptions& options)
    : graph_(kGraphFrames),
      canvasDc_(CreateCompatibleDC(nullptr)),
      pictureDc_(CreateCompatibleDC(nullptr)),
      frame_(options.width, options.height, {.visible = true}),
      notice_(frame_.Handle(), Edge::Lower),
      messages_(frame_.Handle(), Edge::Upper) {
    frame_.SetHandler([this](auto... message) { return Handle(message...); });
    DragAcceptFiles(frame_.Handle(), TRUE);
    const std::optional<WindowPlace> place =
        options.place || options.monitor == 0 ? options.place : CornerOfMonitor(options.monitor);
    if (place) {
        SetWindowPos(frame_.Handle(), nullptr, place->left, place->top, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    }
    SetFullScreen(options.fullScreen);
}

ViewWindow::~ViewWindow() {
    frame_.SetHandler({});
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

void ViewWindow::ActOnKeys() {
    for (const std::size_t index : std::exchange(pressed_, {})) {
        keys_[index].act();
    }
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

std::string ViewWindow::Arguments() const {
    const SIZE size = frame_.ClientSize();
    return fullScreen_ ? " --fullscreen"
                       : " --window --size " + std::to_string(size.cx) + "x" + std::to_string(size.cy);
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

/// In the largest font with which the text fits.
void ViewWindow::DrawOverlay(SIZE size) {
    if (text_.empty()) {
        return;
    }
    const HDC dc = canvasDc_.Get();
    DRAWTEXTPARAMS tabs{sizeof tabs, kTabCharacters, 0, 0, 0};
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kTextColor);
    for (int pixels = kFontPixels;; --pixels) {
        const UniqueFont font = MakeFont(pixels);
        const GdiSelection selection(dc, font.Get());
        RECT area = {2 * kMargin, messages_.Height() + kMargin, size.cx - 2 * kMargin, size.cy};
        DrawTextExW(dc, text_.data(), -1, &area, kTextLayout | DT_CALCRECT, &tabs);
        const bool fits = area.right + kMargin <= size.cx && area.bottom <= size.cy;
        if (fits || pixels == kSmallestFontPixels) {
            RECT box = area;
            InflateRect(&box, kMargin, kMargin);
            FillRect(dc, &box, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
            DrawTextExW(dc, text_.data(), -1, &area, kTextLayout, &tabs);
            return;
        }
    }
}

void ViewWindow::OnPaint() {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(frame_.Handle(), &paint);
    const SIZE size = frame_.ClientSize();
    if (size.cx > 0 && size.cy > 0 && FitBitmap(canvas_, size.cx, size.cy)) {
        const GdiSelection canvas(canvasDc_.Get(), canvas_.Get());
        Compose(size);
        BitBlt(dc, 0, 0, size.cx, size.cy, canvasDc_.Get(), 0, 0, SRCCOPY);
    }
    EndPaint(frame_.Handle(), &paint);
}

void ViewWindow::Compose(SIZE size) {
    const HDC dc = canvasDc_.Get();
    if (picture_) {
        const GdiSelection picture(pictureDc_.Get(), picture_.Get());
        const SectionPixels pixels = PixelsOf(picture_.Get());
        // The sizes differ at another scale than 1, and while the user resizes the window.
        SetStretchBltMode(dc, COLORONCOLOR);
        StretchBlt(dc, 0, 0, size.cx, size.cy, pictureDc_.Get(), 0, 0, pixels.width, pixels.height, SRCCOPY);
    } else {
        PatBlt(dc, 0, 0, size.cx, size.cy, BLACKNESS);
    }
    if (graphShown_) {
        const LONG right = size.cx - kMargin;
        const LONG bottom = size.cy - kMargin;
        const UniqueFont font = MakeFont(kFontPixels);
        graph_.Draw(dc, {right - kGraphWidth, bottom - kGraphHeight, right, bottom}, font.Get());
    }
    DrawOverlay(size);
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

bool ViewWindow::TakeKey(UINT message, WPARAM wParam) {
    const unsigned held = message == WM_CHAR ? kCharacter : HeldKeys();
    const auto key = std::ranges::find_if(
        keys_, [&](const ViewKey& row) { return row.key == wParam && row.held == held; });
    if (key == keys_.end()) {
        return false;
    }
    pressed_.push_back(static_cast<std::size_t>(key - keys_.begin()));
    return true;
}

std::optional<LRESULT> ViewWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    ForwardInput(message, wParam, lParam);
    switch (message) {
        case WM_SYSKEYDOWN:  // F10, and every key with Alt
        case WM_KEYDOWN:
        case WM_CHAR:
            return TakeKey(message, wParam) ? std::optional<LRESULT>(0) : std::nullopt;
        case WM_SYSCHAR:  // Alt+Enter would beep
            return wParam == VK_RETURN ? std::optional<LRESULT>(0) : std::nullopt;
        case WM_SETCURSOR:
            if (!fullScreen_ || LOWORD(lParam) != HTCLIENT) {
                return std::nullopt;
            }
            SetCursor(nullptr);
            return TRUE;
        case WM_DROPFILES:
            TakeDrop(reinterpret_cast<HDROP>(wParam));
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
