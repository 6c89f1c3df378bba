// The live view's window: shows frames with text over them and turns key presses into actions.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/view/frame_graph.h"
#include "preview/view/text_panel.h"

namespace pixelforge::preview {

inline constexpr unsigned kShift = 1;
inline constexpr unsigned kControl = 2;
inline constexpr unsigned kAlt = 4;
inline constexpr unsigned kCharacter = 8;  ///< the key is the character that it types

struct ViewKey {
    unsigned key;         ///< virtual-key code
    unsigned held;        ///< the sum of the flags above
    const wchar_t* help;  ///< keys, tab, meaning; null: listed with another key
    std::function<void()> act;
};

struct ViewWindowOptions {
    std::int32_t width;  ///< of the client area
    std::int32_t height;
    bool fullScreen = false;
    std::int32_t monitor = 0;               ///< from 1, in the system's order; 0: the system's choice
    std::optional<WindowPlace> place = {};  ///< instead of a monitor
};

/// Use only on the thread that created it; input arrives while that thread dispatches messages. The module
/// gets its own hidden window, because on some systems GDI output on a window with an OpenGL context stays
/// invisible. Keys and mouse are forwarded to it.
class ViewWindow {
public:
    /// Throws `HostError`: `Failed` if the window cannot be created, `WrongUsage` if there is no such
    /// monitor.
    explicit ViewWindow(const ViewWindowOptions& options);
    ~ViewWindow();
    ViewWindow(const ViewWindow&) = delete;
    ViewWindow& operator=(const ViewWindow&) = delete;

    /// Forwards keys and mouse to this window, positions scaled to its size; null stops forwarding.
    void ForwardInputTo(HWND window) noexcept { inputTarget_ = window; }

    /// Covers the monitor, hides the pointer and keeps the screen awake; or undoes that.
    void SetFullScreen(bool on);
    void ToggleFullScreen() { SetFullScreen(!fullScreen_); }
    bool IsFullScreen() const noexcept { return fullScreen_; }

    /// Of the window without full screen.
    WindowPlace Place() const;

    HostWindow& Frame() noexcept { return frame_; }
    TextPanel& Messages() noexcept { return messages_; }
    TextPanel& Notice() noexcept { return notice_; }
    bool Closed() const noexcept { return closed_; }

    void AddKeys(const std::vector<ViewKey>& keys) { keys_.insert(keys_.end(), keys.begin(), keys.end()); }

    /// The keys for the user, one line each.
    std::wstring KeyList() const;

    /// Calls the actions of the keys that were pressed since the last call. A window procedure must not: it
    /// may run within a frame.
    void ActOnKeys();

    /// The file that the user dropped on the window since the last call.
    std::optional<std::wstring> DroppedFile() { return std::exchange(droppedFile_, std::nullopt); }

    /// Copies the picture and shows it until the next one.
    void ShowPicture(const FramePixels& pixels);

    /// Text over the picture in the upper left corner, below the messages; tabs separate two columns. In a
    /// small window the font is smaller.
    void ShowText(const std::wstring& text);
    void SetTitle(const std::wstring& title) { SetWindowTextW(frame_.Handle(), title.c_str()); }

    /// Those of `preview` for a window of this size.
    std::string Arguments() const;

    /// Puts the text on the clipboard. False if another program holds it.
    bool CopyText(const std::wstring& text);

    /// The graph of frame times, in the lower right corner, is hidden at first.
    void ToggleGraph() noexcept { graphShown_ = !graphShown_; }
    void AddFrameTime(double milliseconds) { graph_.Add(milliseconds); }

private:
    std::optional<LRESULT> Handle(UINT message, WPARAM wParam, LPARAM lParam);
    bool TakeKey(UINT message, WPARAM wParam);
    void ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const;
    void OnPaint();
    void Compose(SIZE size);
    void DrawOverlay(SIZE size);
    void TakeDrop(HDROP drop);
    LPARAM InTarget(LPARAM position) const;
    void Redraw() { InvalidateRect(frame_.Handle(), nullptr, FALSE); }

    std::vector<ViewKey> keys_;
    std::vector<std::size_t> pressed_;  ///< indices of keys
    bool closed_ = false;
    HWND inputTarget_ = nullptr;
    std::optional<std::wstring> droppedFile_;
    bool fullScreen_ = false;
    WINDOWPLACEMENT placement_{};  ///< before full screen
    FrameGraph graph_;
    bool graphShown_ = false;
    std::wstring text_;
    UniqueBitmap picture_;
    UniqueBitmap canvas_;  ///< picture and text are composed here to avoid flicker
    UniqueMemoryDc canvasDc_;
    UniqueMemoryDc pictureDc_;
    HostWindow frame_;
    TextPanel notice_;
    TextPanel messages_;
};

}  // namespace pixelforge::preview
