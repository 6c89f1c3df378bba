// The live view's key table, window procedure and painting.
#include "preview/view/view_window.h"

#include <algorithm>

#include "base/bitmap.h"

namespace pixelforge::preview {
namespace {

constexpr unsigned F(unsigned number) {
    return VK_F1 + number - 1;
}

struct KeyBinding {
    unsigned virtualKey;
    bool shift;
    ViewCommand command;
    const wchar_t* help;  ///< null: listed with another key
};

// Function keys, Pause and Insert only, plus "?" in WM_CHAR: letters, digits and arrows belong to the shader,
// which also receives these keys. F10 is omitted because it opens the window's menu.
constexpr KeyBinding kKeys[] = {
    {F(1), false, ViewCommand::Help, L"F1 or ?\tshow this list"},
    {F(2), false, ViewCommand::Pause, L"F2 or Pause\tpause / resume"},
    {VK_PAUSE, false, ViewCommand::Pause, nullptr},
    {F(3), false, ViewCommand::Step, L"F3\tpause, then step one frame"},
    {F(4), false, ViewCommand::NextPick, L"F4, Shift+F4\tnext / previous shader of the playlist"},
    {F(4), true, ViewCommand::PreviousPick, nullptr},
    {F(5), false, ViewCommand::Reload, L"F5\treload the shader"},
    {F(5), true, ViewCommand::Messages, L"Shift+F5\thide / show the shader's messages"},
    {F(6), false, ViewCommand::MoreColumns, L"F6, Shift+F6\tmore / fewer tiles across"},
    {F(6), true, ViewCommand::FewerColumns, nullptr},
    {F(7), false, ViewCommand::MoreRows, L"F7, Shift+F7\tmore / fewer tiles down"},
    {F(7), true, ViewCommand::FewerRows, nullptr},
    {F(8), false, ViewCommand::Mirror, L"F8\tmirror every second tile on / off"},
    {F(9), false, ViewCommand::Foreground, L"F9\tforeground only on / off"},
    {F(11), false, ViewCommand::Levels, L"F11\tlevel output / colours"},
    {F(12), false, ViewCommand::SavePicture, L"F12\tsave a PNG"},
    {VK_INSERT, false, ViewCommand::AddFavourite, L"Insert\tadd the shader to the favourites"},
};

std::optional<ViewCommand> CommandOfKey(unsigned virtualKey, bool shift) {
    for (const KeyBinding& key : kKeys) {
        if (key.virtualKey == virtualKey && key.shift == shift) {
            return key.command;
        }
    }
    return std::nullopt;
}

constexpr COLORREF kTextColor = RGB(255, 255, 255);
constexpr int kMargin = 12;
constexpr int kFontPixels = 16;
constexpr UINT kTextLayout = DT_EXPANDTABS | DT_NOPREFIX | DT_WORDBREAK | DT_TABSTOP;
constexpr int kTabCharacters = 16;

UniqueFont MakeFont() {
    return UniqueFont(CreateFontW(-kFontPixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  FIXED_PITCH | FF_MODERN, L"Consolas"));
}

template <class Object>
Object* AddressIn(LPARAM number) {
    return reinterpret_cast<Object*>(number);
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

ViewWindow::ViewWindow(std::int32_t clientWidth, std::int32_t clientHeight)
    : canvasDc_(CreateCompatibleDC(nullptr)),
      pictureDc_(CreateCompatibleDC(nullptr)),
      font_(MakeFont()),
      frame_(clientWidth, clientHeight, {.visible = true, .procedure = Procedure, .parameter = this}),
      notice_(frame_.Handle()),
      messages_(frame_.Handle(), font_.Get()) {
    ready_ = true;
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
        // The sizes differ while the user resizes the window.
        StretchBlt(canvasDc_.Get(), 0, 0, size.cx, size.cy, pictureDc_.Get(), 0, 0, pixels.width,
                   pixels.height, SRCCOPY);
    } else {
        PatBlt(canvasDc_.Get(), 0, 0, size.cx, size.cy, BLACKNESS);
    }
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
    return view->Handle(window, message, wParam, lParam);
}

void ViewWindow::ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const {
    constexpr UINT kForwarded[] = {WM_KEYDOWN, WM_KEYUP, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONUP};
    if (inputTarget_ && std::ranges::find(kForwarded, message) != std::end(kForwarded)) {
        SendMessageW(inputTarget_, message, wParam, lParam);
    }
}

LRESULT ViewWindow::Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_KEYDOWN:
            if (const auto command = CommandOfKey(static_cast<unsigned>(wParam), GetKeyState(VK_SHIFT) < 0)) {
                commands_.push_back(*command);
            }
            return 0;
        case WM_CHAR:
            if (wParam == L'?') {
                commands_.push_back(ViewCommand::Help);
            }
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
