// The panels of the live view: the notice along the lower edge, messages along the upper one.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "base/win_handles.h"
#include "preview/host/module_library.h"
#include "preview/host/notice.h"

namespace pixelforge::preview {

/// A rich edit control in the given window; shows nothing on systems without one.
class NoticePanel {
public:
    explicit NoticePanel(HWND parent);

    /// std::nullopt hides it.
    void Show(const std::optional<Notice>& notice);

    /// Positions it in the parent's client area.
    void Place();

    /// Handles the parent's WM_NOTIFY. A page opens only on a click on the line that names it.
    LRESULT OnNotify(const NMHDR& header);

private:
    void OpenLinkAt(LPARAM point);

    HWND parent_;
    UniqueHandle<LoadedLibraryTraits> library_;
    UniqueWindow control_;
    std::optional<Notice> notice_;
};

/// A read-only edit control that scrolls by wheel and scroll bar, at most a third of the parent's height.
class MessagePanel {
public:
    /// The font must outlive the panel.
    MessagePanel(HWND parent, HFONT font);

    /// Lines end in "\r\n". An empty text hides the panel. False if it shows this text already.
    bool Show(const std::wstring& text);

    /// Positions it in the parent's client area.
    void Place();

    /// Pixels of the parent that it covers; 0 while hidden.
    int Height() const noexcept { return height_; }

    /// The parent's WM_MOUSEWHEEL, WM_COMMAND and WM_CTLCOLORSTATIC. The focus stays with the parent.
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) const;

private:
    HWND parent_;
    UniqueWindow control_;
    std::wstring text_;
    int lineHeight_ = 1;
    int height_ = 0;
};

}  // namespace pixelforge::preview
