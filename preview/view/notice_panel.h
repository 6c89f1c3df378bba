// The strip at the lower edge of the live view that shows the notice.
#pragma once

#include <windows.h>

#include <optional>

#include "base/win_handles.h"
#include "preview/host/module_library.h"
#include "preview/host/notice.h"

namespace pixelforge::preview {

/// A rich edit control in the given window. On systems without one nothing is ever shown.
class NoticePanel {
public:
    explicit NoticePanel(HWND parent);

    /// Empty: hides it.
    void Show(const std::optional<Notice>& notice);

    /// Fits it to the parent's client area.
    void Place();

    /// The parent's WM_NOTIFY: a click on a name opens its page, and nothing else ever opens one.
    LRESULT OnNotify(const NMHDR& header);

private:
    void OpenLinkAt(LPARAM point);

    HWND parent_;
    UniqueHandle<LoadedLibraryTraits> library_;
    UniqueWindow control_;
    std::optional<Notice> notice_;
};

}  // namespace pixelforge::preview
