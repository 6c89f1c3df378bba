// The window that the host owns: the module puts its GL context on it and listens to its input.
#pragma once

#include <cstdint>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// What a window is beside a hidden surface of some size.
struct HostWindowOptions {
    bool visible = false;                ///< with a frame that the user can drag, shown at once
    WNDPROC procedure = DefWindowProcW;  ///< receives `parameter` in WM_NCCREATE
    void* parameter = nullptr;
    const wchar_t* title = L"Pixelforge preview";
};

/// A real top-level window whose client area has the frame's size, as far as the system grants it to a
/// visible one. Everything about it belongs to the thread that made it.
class HostWindow {
public:
    /// Throws `HostError` with `Failed` when the window cannot be made.
    HostWindow(std::int32_t clientWidth, std::int32_t clientHeight, const HostWindowOptions& options = {});

    HWND Handle() const noexcept { return window_.Get(); }

    void SetClientSize(std::int32_t width, std::int32_t height);
    SIZE ClientSize() const;  ///< empty while the window is minimised

    /// Delivers every message that waits for this thread.
    void PumpMessages();

private:
    WindowClass class_;
    UniqueWindow window_;
};

}  // namespace pixelforge::preview
