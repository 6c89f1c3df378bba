// The host's window, on which the module creates its GL context and whose input it receives.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// Returns the result of a message, or std::nullopt for the system's own handling.
using MessageHandler = std::function<std::optional<LRESULT>(UINT message, WPARAM wParam, LPARAM lParam)>;

/// The defaults make a hidden window.
struct HostWindowOptions {
    bool visible = false;  ///< shown immediately, with a resizable frame
    HWND owner = nullptr;  ///< not null: a hidden tool window of this one, with a dialog's keys
    WNDPROC procedure = DefWindowProcW;
    const wchar_t* title = L"Pixelforge preview";
};

/// A top-level window with a client area of the frame's size; the system may limit a visible one. Use only on
/// the thread that created it.
class HostWindow {
public:
    /// Throws `HostError` with `Failed` if the window cannot be created.
    HostWindow(std::int32_t clientWidth, std::int32_t clientHeight, const HostWindowOptions& options = {});

    HWND Handle() const noexcept { return window_.Get(); }

    /// Replaces the procedure; an empty handler ends that. Do not move the window meanwhile.
    void SetHandler(MessageHandler handler);

    void SetClientSize(std::int32_t width, std::int32_t height);
    SIZE ClientSize() const;  ///< empty while the window is minimised

    /// Dispatches all pending messages of this thread. A tool window gets a dialog's keys, but function keys
    /// and Alt+Enter go to its owner.
    void PumpMessages();

private:
    static LRESULT CALLBACK Dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    MessageHandler handler_;
    UniqueWindow window_;
};

}  // namespace pixelforge::preview
