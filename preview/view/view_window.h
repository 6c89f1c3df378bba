// The live view's window: shows frames with text over them and turns key presses into commands.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/host/notice.h"
#include "preview/view/frame_graph.h"
#include "preview/view/notice_panel.h"

namespace pixelforge::preview {

enum class ViewCommand {
    Help,
    Pause,
    Step,
    Reload,
    Messages,
    MoreColumns,
    FewerColumns,
    MoreRows,
    FewerRows,
    Mirror,
    Foreground,
    Levels,
    SavePicture,
    NextPick,
    PreviousPick,
    AddFavourite,
    Panel,
    CopyCommandLine,
    Slower,
    Faster,
    Backwards,
    Graph,
    FullScreen,
    LowerScale,
    HigherScale,
};

struct ViewWindowOptions {
    std::int32_t width;  ///< of the client area
    std::int32_t height;
    bool fullScreen = false;
    std::int32_t monitor = 0;               ///< from 1, in the system's order; 0: the system's choice
    std::optional<WindowPlace> place = {};  ///< instead of a monitor
};

/// The live view's keys for the user, one line each.
std::wstring KeyList();

/// True for a WM_SYSCOMMAND of Alt alone, which would open the window's menu and take the keys.
constexpr bool IsMenuKey(WPARAM wParam, LPARAM lParam) {
    return (wParam & 0xFFF0) == SC_KEYMENU && lParam == 0;
}

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
    bool IsFullScreen() const noexcept { return fullScreen_; }

    /// Of the window without full screen.
    WindowPlace Place() const;

    HostWindow& Frame() noexcept { return frame_; }
    bool Closed() const noexcept { return closed_; }

    /// The oldest pending command.
    std::optional<ViewCommand> NextCommand();

    /// The file that the user dropped on the window since the last call.
    std::optional<std::wstring> DroppedFile() { return std::exchange(droppedFile_, std::nullopt); }

    /// Copies the picture and shows it until the next one.
    void ShowPicture(const FramePixels& pixels);

    /// In a panel that scrolls and covers at most the upper third; an empty text hides it.
    void ShowMessages(const std::wstring& text);

    /// Text over the picture in the upper left corner, below the messages; tabs separate two columns.
    void ShowText(const std::wstring& text);
    void SetTitle(const std::wstring& title);

    /// Puts the text on the clipboard. False if another program holds it.
    bool CopyText(const std::wstring& text);

    /// Drawn with the next picture.
    FrameGraph& Graph() noexcept { return graph_; }

    /// std::nullopt hides it.
    void ShowNotice(const std::optional<Notice>& notice);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool TakeKey(UINT message, WPARAM wParam, LPARAM lParam);
    void ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const;
    void Paint(HDC dc);
    void DrawOverlay(SIZE size);
    void TakeDrop(HDROP drop);
    LPARAM InTarget(LPARAM position) const;
    void Redraw();

    bool ready_ = false;  ///< false during construction and destruction: messages get default handling
    bool closed_ = false;
    HWND inputTarget_ = nullptr;
    std::deque<ViewCommand> commands_;
    std::optional<std::wstring> droppedFile_;
    bool fullScreen_ = false;
    WINDOWPLACEMENT placement_{};  ///< before full screen
    FrameGraph graph_;
    std::wstring text_;
    std::wstring title_;
    UniqueBitmap picture_;
    UniqueBitmap canvas_;  ///< picture and text are composed here to avoid flicker
    UniqueMemoryDc canvasDc_;
    UniqueMemoryDc pictureDc_;
    UniqueFont font_;
    HostWindow frame_;
    NoticePanel notice_;
    MessagePanel messages_;
};

}  // namespace pixelforge::preview
