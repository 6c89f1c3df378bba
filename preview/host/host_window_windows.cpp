// Creates the host's window and dispatches its messages.
#include "preview/host/host_window.h"

#include <utility>

#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

const wchar_t* HostClass() {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.style = CS_OWNDC | CS_HREDRAW | CS_VREDRAW;
    description.lpfnWndProc = DefWindowProcW;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.lpszClassName = L"PixelforgePreviewHost";
    static const WindowClass registered(description);
    return registered.Name();
}

constexpr DWORD kToolStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;

/// True if the message was consumed.
bool HandleAsDialog(MSG& message) {
    const HWND root = GetAncestor(message.hwnd, GA_ROOT);
    if (!root || (GetWindowLongPtrW(root, GWL_EXSTYLE) & WS_EX_CONTROLPARENT) == 0) {
        return false;
    }
    const bool isKey = message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
    const bool isFunctionKey =
        isKey && message.message != WM_CHAR && message.wParam >= VK_F1 && message.wParam <= VK_F24;
    if (isFunctionKey || (message.message == WM_SYSKEYDOWN && message.wParam == VK_RETURN)) {
        message.hwnd = GetWindow(root, GW_OWNER);
        return false;
    }
    return IsDialogMessageW(root, &message) != FALSE;
}

}  // namespace

HostWindow::HostWindow(std::int32_t clientWidth, std::int32_t clientHeight,
                       const HostWindowOptions& options) {
    // The system limits windows with a frame or caption to the screen's size.
    const DWORD kind = options.owner ? kToolStyle : options.visible ? WS_OVERLAPPEDWINDOW : WS_POPUP;
    const DWORD style = kind | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
    const DWORD extendedStyle = options.owner ? WS_EX_TOOLWINDOW | WS_EX_CONTROLPARENT : 0;
    const int position = options.visible ? CW_USEDEFAULT : 0;
    window_.Reset(CreateWindowExW(extendedStyle, HostClass(), options.title, style, position, position, 0, 0,
                                  options.owner, nullptr, GetModuleHandleW(nullptr), nullptr));
    if (!window_) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot create a window"));
    }
    SetWindowLongPtrW(window_.Get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(options.procedure));
    SetClientSize(clientWidth, clientHeight);
    if (options.visible) {
        ShowWindow(window_.Get(), SW_SHOWNORMAL);
        SetForegroundWindow(window_.Get());
    }
}

void HostWindow::SetHandler(MessageHandler handler) {
    handler_ = std::move(handler);
    SetWindowLongPtrW(window_.Get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&handler_));
    SetWindowLongPtrW(window_.Get(), GWLP_WNDPROC,
                      reinterpret_cast<LONG_PTR>(handler_ ? Dispatch : DefWindowProcW));
}

LRESULT CALLBACK HostWindow::Dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_SYSCOMMAND && (wParam & 0xFFF0) == SC_KEYMENU && lParam == 0) {
        return 0;  // Alt alone would open the window's menu and take the keys
    }
    const auto& handler = *reinterpret_cast<const MessageHandler*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const std::optional<LRESULT> result = handler(message, wParam, lParam);
    return result ? *result : DefWindowProcW(window, message, wParam, lParam);
}

void HostWindow::SetClientSize(std::int32_t width, std::int32_t height) {
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window_.Get(), GWL_STYLE));
    const auto extendedStyle = static_cast<DWORD>(GetWindowLongPtrW(window_.Get(), GWL_EXSTYLE));
    RECT area = {0, 0, width, height};
    AdjustWindowRectEx(&area, style & ~static_cast<DWORD>(WS_VISIBLE), FALSE, extendedStyle);
    SetWindowPos(window_.Get(), nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

SIZE HostWindow::ClientSize() const {
    RECT client = {};
    GetClientRect(window_.Get(), &client);
    return {client.right, client.bottom};
}

void HostWindow::PumpMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (!HandleAsDialog(message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

}  // namespace pixelforge::preview
