// The live view's window: shows frames with text over them and turns key presses into commands.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "base/win_handles.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/host/notice.h"
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
};

/// The live view's keys for the user, one line each.
std::wstring KeyList();

/// Use only on the thread that created it; input arrives while that thread dispatches messages. The module
/// gets its own hidden window, because on some systems GDI output on a window with an OpenGL context stays
/// invisible. Keys and mouse are forwarded to it.
class ViewWindow {
public:
    /// Throws `HostError` with `Failed` if the window cannot be created.
    ViewWindow(std::int32_t clientWidth, std::int32_t clientHeight);
    ~ViewWindow() { ready_ = false; }
    ViewWindow(const ViewWindow&) = delete;
    ViewWindow& operator=(const ViewWindow&) = delete;

    /// Forwards keys and mouse to this window; null stops forwarding.
    void ForwardInputTo(HWND window) noexcept { inputTarget_ = window; }

    HostWindow& Frame() noexcept { return frame_; }
    bool Closed() const noexcept { return closed_; }

    /// The oldest pending command.
    std::optional<ViewCommand> NextCommand();

    /// Copies the picture and shows it until the next one.
    void ShowPicture(const FramePixels& pixels);

    /// In a panel that scrolls and covers at most the upper third; an empty text hides it.
    void ShowMessages(const std::wstring& text);

    /// Text over the picture in the upper left corner, below the messages; tabs separate two columns.
    void ShowText(const std::wstring& text);
    void SetTitle(const std::wstring& title);

    /// std::nullopt hides it.
    void ShowNotice(const std::optional<Notice>& notice);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void ForwardInput(UINT message, WPARAM wParam, LPARAM lParam) const;
    void Paint(HDC dc);
    void DrawOverlay(SIZE size);
    void Redraw();

    bool ready_ = false;  ///< false during construction and destruction: messages get default handling
    bool closed_ = false;
    HWND inputTarget_ = nullptr;
    std::deque<ViewCommand> commands_;
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
