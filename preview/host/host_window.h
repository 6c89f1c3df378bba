// The host's window, on which the module creates its GL context and whose input it receives.
#pragma once

#include <cstdint>

#include "base/win_handles.h"

namespace pixelforge::preview {

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

    /// Dispatches all pending messages of this thread.
    void PumpMessages();

private:
    WindowClass class_;
    UniqueWindow window_;
};

}  // namespace pixelforge::preview
