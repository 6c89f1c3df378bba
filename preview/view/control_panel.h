// The panel of controls beside the live view, built from the records that the module filled in.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_controls.h"

namespace pixelforge::preview {

struct PanelActions {
    std::function<void(const ControlSetting&)> change;  ///< the user's new value; it may be invalid
    std::function<void(bool)> followClock;
    std::function<void()> copyCommandLine;
};

/// A window of the system's own controls, initially hidden, owned by the live view's window. One row for each
/// record: a heading for a group, a check box for a switch, a slider and a field for a number, a field for
/// anything else. The description and the bounds are tool tips. The records must outlive it.
class ControlPanel {
public:
    ControlPanel(HWND owner, const HostControls& controls, PanelActions actions);
    ~ControlPanel();
    ControlPanel(const ControlPanel&) = delete;
    ControlPanel& operator=(const ControlPanel&) = delete;

    void Toggle();
    bool Shown() const noexcept { return IsWindowVisible(window_.Get()) != FALSE; }

    /// Shows the records' values, except in a field that the user is editing.
    void Refresh(bool followsClock);

private:
    struct Row {
        const ControlRecord* record = nullptr;
        HWND box = nullptr;  ///< null if the row has no such part; children of the panel's window
        HWND slider = nullptr;
        HWND field = nullptr;
        std::string shown;  ///< the value that the controls show
    };

    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void OnCommand(WORD id, WORD code, HWND control);
    HWND Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, const RECT& area,
             WORD id = 0);
    void AddRow(const ControlRecord& record, int top);
    void AddButtons(int top);
    void AddToolTip(HWND control, const std::string& text);
    void Place(int height);
    void CommitValue(Row& row, const std::string& value);
    void ShowValue(Row& row, const std::string& value);
    Row* RowOf(HWND control);

    const PanelActions actions_;
    WindowClass class_;
    UniqueFont font_;
    UniqueFont boldFont_;
    UniqueWindow window_;
    UniqueWindow toolTips_;
    HWND followClock_ = nullptr;
    std::vector<Row> rows_;
    bool ready_ = false;
};

}  // namespace pixelforge::preview
