// The panels of text over the live view's picture: messages along the upper edge, the notice along the lower.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/module_library.h"

namespace pixelforge::preview {

enum class Edge { Upper, Lower };

/// A read-only rich edit control over the parent's whole width and at most a third of its height. It scrolls,
/// but the focus stays with the parent. Shows nothing on systems without such a control.
class TextPanel {
public:
    TextPanel(HWND parent, Edge edge);

    /// Shows 8-bit rich text; an empty one hides the panel. A click on a line opens the link with its index,
    /// if that leads to the service.
    void Show(const std::string& richText, const std::vector<std::wstring>& links = {});

    void Place();  ///< in the parent's client area

    /// Pixels of the parent that it covers; 0 while hidden.
    int Height() const noexcept { return height_; }

    /// Handle the parent's WM_MOUSEWHEEL and WM_NOTIFY.
    void OnWheel(WPARAM wParam) const;
    LRESULT OnNotify(LPARAM lParam) const;

private:
    LRESULT Send(UINT message, WPARAM wParam, LPARAM lParam) const;

    HWND parent_;
    Edge edge_;
    UniqueHandle<LoadedLibraryTraits> library_;
    UniqueWindow control_;
    std::string text_;
    std::vector<std::wstring> links_;
    int height_ = 0;
};

}  // namespace pixelforge::preview
