// The panel of controls beside the live view, built from the records that the module filled in.
#pragma once

#include <windows.h>

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
/// anything else. The description and the bounds are tool tips. It must not outlive
/// `changes` and the records.
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
    struct Row {
        const ControlRecord* record = nullptr;
        HWND box = nullptr;  ///< null if the row has no such part; children of the panel's window
        HWND slider = nullptr;
        HWND field = nullptr;
        std::string shown = {};  ///< the value that the controls show
    };

    /// Pixels at 96 dots per inch, without the margin on the left.
    struct Place {
        int left;
        int top;
        int width;
    };

    std::optional<LRESULT> Handle(UINT message, WPARAM wParam, LPARAM lParam);
    void OnCommand(WORD id, WORD code, HWND control);
    HWND Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, Place place,
             const std::string& tip = {}, WORD id = 0);
    void AddRow(const ControlRecord& record, int top);
    void CommitValue(Row& row, const std::string& value);
    void ShowValue(Row& row, const std::string& value);
    Row* RowOf(HWND control);

    ControlChanges& changes_;
    const std::function<void()> copyCommandLine_;
    UniqueFont font_;
    UniqueFont boldFont_;
    HostWindow window_;
    UniqueWindow toolTips_;
    HWND followClock_ = nullptr;
    std::vector<Row> rows_;
};

}  // namespace pixelforge::preview
