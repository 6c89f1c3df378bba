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

#include "preview/host/host_controls.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/view/text_panel.h"

namespace pixelforge::preview {

inline constexpr unsigned kShift = 1;
inline constexpr unsigned kControl = 2;
inline constexpr unsigned kAlt = 4;

struct ViewKey {
    unsigned key;         ///< virtual-key code
    unsigned held;        ///< modifiers that must be down, and no others
    const wchar_t* help;  ///< keys, tab, meaning; null: listed with another key
    std::function<void()> act;
};

/// What a run starts with, and the next one in its place.
struct ViewState {
    SIZE size = {1280, 720};  ///< pixels of the frame, or of the window's client area
    std::int32_t levels = 0;  ///< divisor of level output; 0: colours
    bool realTime = false;    ///< "Speed" is the time since the previous frame
    double scale = 1.0;       ///< frame size by window size
    bool fullScreen = false;
    std::int32_t monitor = 0;         ///< from 1, in the system's order; 0: the system's choice
    std::optional<POINT> place = {};  ///< the window's upper left corner, instead of a monitor
    std::vector<ControlSetting> settings = {};
};

/// Use only on the thread that created it; input arrives while that thread dispatches messages. The module
/// gets its own hidden window, because on some systems GDI output on a window with an OpenGL context stays
/// invisible. Keys and mouse are forwarded to it, positions scaled to its size.
class ViewWindow {
public:
    /// Throws `HostError`: `Failed` if a window cannot be created, `WrongUsage` if there is no such monitor.
    explicit ViewWindow(const ViewState& state);
    ~ViewWindow();
    ViewWindow(const ViewWindow&) = delete;
    ViewWindow& operator=(const ViewWindow&) = delete;

    /// Covers the monitor, hides the pointer and keeps the screen awake; or undoes that.
    void ToggleFullScreen();

    /// Updates size and place, those without full screen.
    void Describe(ViewState& state) const;

    HostWindow& Frame() noexcept { return frame_; }
    HostWindow& ModuleWindow() noexcept { return moduleWindow_; }
    TextPanel& Messages() noexcept { return messages_; }
    TextPanel& Notice() noexcept { return notice_; }
    bool Closed() const noexcept { return closed_; }

    void AddKeys(const std::vector<ViewKey>& keys) { keys_.insert(keys_.end(), keys.begin(), keys.end()); }

    std::wstring KeyList() const;  ///< for the user

    /// Calls the actions of the keys that were pressed since the last call. A window procedure must not: it
    /// may run within a frame.
    void ActOnKeys();

    /// The file that the user dropped on the window since the last call.
    std::optional<std::wstring> DroppedFile() { return std::exchange(droppedFile_, std::nullopt); }

    void ShowPicture(const FramePixels& pixels);  ///< copies it

    /// Text in the upper left corner, below the messages; tabs separate two columns.
    void ShowText(const std::wstring& text);
    void SetTitle(const std::wstring& title) { SetWindowTextW(frame_.Handle(), title.c_str()); }

    /// Puts the text on the clipboard. False if another program holds it.
    bool CopyText(const std::wstring& text);

    /// The graph of frame times, in the lower right corner, is hidden at first.
    void ToggleGraph() noexcept { graphShown_ = !graphShown_; }
    void AddFrameTime(double milliseconds);

private:
    std::optional<LRESULT> Handle(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> TakeKey(WPARAM key);
    void ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const;
    void OnPaint();
    void Compose(HDC dc, SIZE size) const;
    void DrawOverlay(HDC dc, SIZE size) const;
    void Redraw() { InvalidateRect(frame_.Handle(), nullptr, FALSE); }

    std::vector<ViewKey> keys_;
    std::vector<std::size_t> pressed_;  ///< indices of keys
    bool closed_ = false;
    std::optional<std::wstring> droppedFile_;
    bool fullScreen_ = false;
    WINDOWPLACEMENT placement_{};  ///< before full screen
    std::vector<double> frameTimes_;
    bool graphShown_ = false;
    std::wstring text_;
    BITMAPINFO pictureFormat_{};
    std::vector<std::uint8_t> picture_;  ///< empty before the first
    HostWindow moduleWindow_{1, 1};
    HostWindow frame_;
    TextPanel notice_;
    TextPanel messages_;
};

}  // namespace pixelforge::preview
