// The panel of controls beside the live view, built from the records that the module filled in.
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_controls.h"
#include "preview/host/host_window.h"
#include "preview/view/control_changes.h"

namespace pixelforge::preview {

/// A window of the system's own controls, initially hidden, owned by the live view's window. One row for each
/// record: a heading for a group, a check box for a switch, a slider and a field for a number, a field for
/// anything else. Descriptions and bounds are tool tips. Must not outlive `changes` and the records.
class ControlPanel {
public:
    ControlPanel(HWND owner, const HostControls& controls, ControlChanges& changes,
                 std::function<void()> copy);
    ~ControlPanel() { window_.SetHandler({}); }
    ControlPanel(const ControlPanel&) = delete;
    ControlPanel& operator=(const ControlPanel&) = delete;

    void Toggle();

    /// Shows the records' values, except in a field that the user is editing. Does nothing while hidden.
    void Refresh();

private:
    /// Pixels at 96 dots per inch, without the margin on the left.
    struct Place {
        int left;
        int top;
        int width;
    };

    std::optional<LRESULT> Handle(UINT message, WPARAM wParam, LPARAM lParam);
    void OnCommand(WORD id, WORD code);
    HWND Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, Place place, int id,
             const std::string& tip = {});
    void AddRow(std::size_t row, int top);
    void Commit(int id);
    void ShowValue(std::size_t row, const std::string& value);

    const HostControls& controls_;
    ControlChanges& changes_;
    const std::function<void()> copyCommandLine_;
    UniqueFont font_;
    UniqueFont boldFont_;
    HostWindow window_;
    UniqueWindow toolTips_;
    std::vector<std::string> shown_;  ///< for each record the value that its row shows
};

}  // namespace pixelforge::preview
