// The host's window, on which the module creates its GL context and whose input it receives.
#pragma once

#include <cstdint>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// The upper left corner of a window's frame, on the desktop.
struct WindowPlace {
    std::int32_t left;
    std::int32_t top;
};

/// The defaults make a hidden window.
struct HostWindowOptions {
    bool visible = false;                ///< shown immediately, with a resizable frame
    WNDPROC procedure = DefWindowProcW;  ///< receives `parameter` in WM_NCCREATE
    void* parameter = nullptr;
    const wchar_t* title = L"Pixelforge preview";
};

/// A top-level window with a client area of the frame's size; the system may limit a visible one. Use only on
/// the thread that created it.
class HostWindow {
public:
    /// Throws `HostError` with `Failed` if the window cannot be created.
    HostWindow(std::int32_t clientWidth, std::int32_t clientHeight, const HostWindowOptions& options = {});

    HWND Handle() const noexcept { return window_.Get(); }

    void SetClientSize(std::int32_t width, std::int32_t height);
    SIZE ClientSize() const;  ///< empty while the window is minimised

    /// Dispatches all pending messages of this thread. A window with WS_EX_CONTROLPARENT gets a dialog's
    /// keys, but function keys go to its owner.
    void PumpMessages();

private:
    WindowClass class_;
    UniqueWindow window_;
};

}  // namespace pixelforge::preview
