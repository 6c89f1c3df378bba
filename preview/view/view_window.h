// The window of the live view: shows pictures with words over them and collects the user's commands.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "base/win_handles.h"
#include "preview/host/frame_pixels.h"
#include "preview/host/host_window.h"
#include "preview/host/notice.h"
#include "preview/view/notice_panel.h"
#include "preview/view/view_keys.h"

namespace pixelforge::preview {

/// Belongs to the thread that makes it. Everything arrives while that thread delivers its messages. The
/// module works on a hidden window, because on some systems what is painted on a window with an OpenGL
/// context stays invisible behind that; keys and mouse are passed on to it as they come.
class ViewWindow {
public:
    /// Throws `HostError` with `Failed` when the window cannot be made.
    ViewWindow(std::int32_t clientWidth, std::int32_t clientHeight);

    /// The module's window; it takes no input any more once this is told null.
    void PassInputTo(HWND window) noexcept { inputTarget_ = window; }
    ~ViewWindow() { ready_ = false; }
    ViewWindow(const ViewWindow&) = delete;
    ViewWindow& operator=(const ViewWindow&) = delete;

    HostWindow& Frame() noexcept { return frame_; }
    bool Closed() const noexcept { return closed_; }
    std::optional<ViewCommand> TakeCommand();

    /// Copies the picture and shows it; it stays until the next one.
    void ShowPicture(const FramePixels& pixels);

    /// Words in the upper left corner, over every picture; tabs separate two columns.
    void ShowWords(const std::wstring& words);
    void SetTitle(const std::wstring& title);

    /// Empty: hides it.
    void ShowNotice(const std::optional<Notice>& notice);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void PassInput(UINT message, WPARAM wParam, LPARAM lParam) const;
    void Paint(HDC dc);
    void DrawWords(SIZE size);
    void Redraw();

    bool ready_ = false;  ///< messages before that, and while the end destroys the window, are not for us
    bool closed_ = false;
    HWND inputTarget_ = nullptr;
    std::deque<ViewCommand> commands_;
    std::wstring words_;
    std::wstring title_;
    UniqueBitmap picture_;
    SIZE pictureSize_{};
    UniqueBitmap canvas_;  ///< picture and words together, so that nothing flickers
    SIZE canvasSize_{};
    UniqueMemoryDc canvasDc_;
    UniqueMemoryDc pictureDc_;
    UniqueFont font_;
    HostWindow frame_;
    NoticePanel notice_;
};

}  // namespace pixelforge::preview
