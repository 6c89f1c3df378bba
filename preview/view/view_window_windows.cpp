// Window procedure and painting of the live view.
#include "preview/view/view_window.h"

#include <algorithm>
#include <cstring>

#include "base/bitmap.h"

namespace pixelforge::preview {
namespace {

constexpr COLORREF kWordsColor = RGB(255, 255, 255);
constexpr int kMargin = 12;
constexpr int kFontPixels = 16;
constexpr UINT kWordsLayout = DT_EXPANDTABS | DT_NOPREFIX | DT_WORDBREAK | DT_TABSTOP;
constexpr int kTabCharacters = 16;

UniqueFont MakeFont() {
    return UniqueFont(CreateFontW(-kFontPixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  FIXED_PITCH | FF_MODERN, L"Consolas"));
}

template <class Object>
Object* AddressIn(LPARAM number) {
    // The system passes addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<Object*>(number);
}

/// True when the bitmap has the size now.
bool FitBitmap(UniqueBitmap& bitmap, SIZE& current, SIZE wanted) {
    if (!bitmap || current.cx != wanted.cx || current.cy != wanted.cy) {
        bitmap = CreateHostBitmap(wanted.cx, wanted.cy);
        current = wanted;
    }
    return static_cast<bool>(bitmap);
}

}  // namespace

ViewWindow::ViewWindow(std::int32_t clientWidth, std::int32_t clientHeight)
    : canvasDc_(CreateCompatibleDC(nullptr)),
      pictureDc_(CreateCompatibleDC(nullptr)),
      font_(MakeFont()),
      frame_(clientWidth, clientHeight, {.visible = true, .procedure = Procedure, .parameter = this}),
      notice_(frame_.Handle()) {
    ready_ = true;
}

std::optional<ViewCommand> ViewWindow::TakeCommand() {
    if (commands_.empty()) {
        return std::nullopt;
    }
    const ViewCommand command = commands_.front();
    commands_.pop_front();
    return command;
}

void ViewWindow::ShowPicture(const FramePixels& pixels) {
    if (!FitBitmap(picture_, pictureSize_, {pixels.width, pixels.height})) {
        return;
    }
    GdiFlush();
    BITMAP bitmap{};
    GetObjectW(picture_.Get(), sizeof bitmap, &bitmap);
    std::memcpy(bitmap.bmBits, pixels.bytes.data(), pixels.bytes.size());
    Redraw();
}

void ViewWindow::ShowWords(const std::wstring& words) {
    if (words != words_) {
        words_ = words;
        Redraw();
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

void ViewWindow::DrawWords(SIZE size) {
    if (words_.empty()) {
        return;
    }
    const HDC dc = canvasDc_.Get();
    const GdiSelection font(dc, font_.Get());
    RECT area = {2 * kMargin, 2 * kMargin, size.cx - 2 * kMargin, size.cy - 2 * kMargin};
    DRAWTEXTPARAMS tabs{sizeof tabs, kTabCharacters, 0, 0, 0};
    DrawTextExW(dc, words_.data(), -1, &area, kWordsLayout | DT_CALCRECT, &tabs);
    RECT box = area;
    InflateRect(&box, kMargin, kMargin);
    FillRect(dc, &box, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kWordsColor);
    DrawTextExW(dc, words_.data(), -1, &area, kWordsLayout, &tabs);
}

void ViewWindow::Paint(HDC dc) {
    const SIZE size = frame_.ClientSize();
    if (size.cx < 1 || size.cy < 1 || !FitBitmap(canvas_, canvasSize_, size)) {
        return;
    }
    const GdiSelection canvas(canvasDc_.Get(), canvas_.Get());
    if (picture_) {
        const GdiSelection picture(pictureDc_.Get(), picture_.Get());
        // Sizes differ while the user drags the frame.
        StretchBlt(canvasDc_.Get(), 0, 0, size.cx, size.cy, pictureDc_.Get(), 0, 0, pictureSize_.cx,
                   pictureSize_.cy, SRCCOPY);
    }
    DrawWords(size);
    BitBlt(dc, 0, 0, size.cx, size.cy, canvasDc_.Get(), 0, 0, SRCCOPY);
}

LRESULT CALLBACK ViewWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = AddressIn<const CREATESTRUCTW>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* view = AddressIn<ViewWindow>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (view == nullptr || !view->ready_) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    view->PassInput(message, wParam, lParam);
    return view->Handle(window, message, wParam, lParam);
}

void ViewWindow::PassInput(UINT message, WPARAM wParam, LPARAM lParam) const {
    constexpr UINT kPassed[] = {WM_KEYDOWN, WM_KEYUP, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONUP};
    if (inputTarget_ != nullptr && std::ranges::find(kPassed, message) != std::end(kPassed)) {
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
            return 0;
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
            closed_ = true;  // the module still uses the window; it goes with this object
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

}  // namespace pixelforge::preview
