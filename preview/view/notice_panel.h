// The notice strip along the lower edge of the live view.
#pragma once

#include <windows.h>

#include <optional>

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

}  // namespace pixelforge::preview
