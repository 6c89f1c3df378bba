// Builds the panel's controls and turns their messages into settings.
#include "preview/view/control_panel.h"

#include <commctrl.h>

#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {
namespace {

// Pixels at 96 dots per inch.
constexpr int kRowHeight = 24;
constexpr int kControlHeight = 20;
constexpr int kLabelWidth = 112;
constexpr int kSliderWidth = 180;
constexpr int kFieldWidth = 76;
constexpr int kMargin = 10;
constexpr int kInnerWidth = kLabelWidth + kSliderWidth + kFieldWidth + kMargin;
constexpr int kToolTipWidth = 320;
constexpr int kFontHeight = 13;

/// Of a slider for a decimal number.
constexpr int kSteps = 1000;

constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;
constexpr DWORD kExtendedStyle = WS_EX_TOOLWINDOW | WS_EX_CONTROLPARENT;
constexpr WORD kFollowClockId = 100;
constexpr WORD kCopyId = 101;

int Scaled(int pixels) {
    const WindowDc screen(nullptr);
    return MulDiv(pixels, GetDeviceCaps(screen.Get(), LOGPIXELSY), 96);
}

UniqueFont MakeFont(int weight) {
    return UniqueFont(CreateFontW(-Scaled(kFontHeight), 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                  VARIABLE_PITCH | FF_SWISS, L"Segoe UI"));
}

WindowClass RegisterPanelClass(WNDPROC procedure) {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.lpfnWndProc = procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    description.lpszClassName = L"PixelforgePreviewPanel";
    return WindowClass(description);
}

RECT Area(int left, int top, int width, int height) {
    return {Scaled(left), top, Scaled(left + width), top + Scaled(height)};
}

int SliderPosition(const ControlRecord& record) {
    if (record.kind == ControlKind::WholeNumber) {
        return record.whole.value[0];
    }
    const auto& [least, most] = record.decimal.bounds[0];
    return static_cast<int>(std::lround((record.decimal.value[0] - least) / (most - least) * kSteps));
}

std::string SliderValue(const ControlRecord& record, int position) {
    if (record.kind == ControlKind::WholeNumber) {
        return std::to_string(position);
    }
    const auto& [least, most] = record.decimal.bounds[0];
    return std::to_string(least + (most - least) * static_cast<float>(position) / kSteps);
}

void SetSliderBounds(HWND slider, const ControlRecord& record) {
    const bool whole = record.kind == ControlKind::WholeNumber;
    SendMessageW(slider, TBM_SETRANGEMIN, FALSE, whole ? record.whole.bounds[0][0] : 0);
    SendMessageW(slider, TBM_SETRANGEMAX, TRUE, whole ? record.whole.bounds[0][1] : kSteps);
}

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)), L'\0');
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

}  // namespace

ControlPanel::ControlPanel(HWND owner, const HostControls& controls, PanelActions actions)
    : actions_(std::move(actions)),
      class_(RegisterPanelClass(Procedure)),
      font_(MakeFont(FW_NORMAL)),
      boldFont_(MakeFont(FW_BOLD)) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES | ICC_WIN95_CLASSES};
    InitCommonControlsEx(&classes);
    window_.Reset(CreateWindowExW(kExtendedStyle, class_.Name(), L"Controls", kStyle, 0, 0, 10, 10, owner,
                                  nullptr, class_.Module(), this));
    if (!window_) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot create the panel"));
    }
    toolTips_.Reset(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, L"",
                                    WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0, window_.Get(),
                                    nullptr, class_.Module(), nullptr));
    SendMessageW(toolTips_.Get(), TTM_SETMAXTIPWIDTH, 0, Scaled(kToolTipWidth));
    int top = Scaled(kMargin) / 2;
    for (const auto& record : controls.Records()) {
        AddRow(*record, top);
        top += Scaled(kRowHeight);
    }
    AddButtons(top + Scaled(kMargin) / 2);
    Place(top + Scaled(kRowHeight + 2 * kMargin));
    ready_ = true;
}

ControlPanel::~ControlPanel() {
    ready_ = false;
}

void ControlPanel::AddRow(const ControlRecord& record, int top) {
    const std::wstring label = FromUtf8(ControlLabel(record));
    const RECT whole = Area(kMargin, top, kInnerWidth, kControlHeight);
    const RECT right = Area(kMargin + kLabelWidth, top, kInnerWidth - kLabelWidth, kControlHeight);
    const std::string tip = ControlDescription(record) + "\r\n" + ControlRangeText(record);
    Row row;
    row.record = &record;
    if (record.kind == ControlKind::GroupHeader) {
        const HWND heading =
            Add(L"STATIC", FromUtf8(ControlGroup(record)), SS_NOTIFY | SS_CENTERIMAGE, whole);
        SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(boldFont_.Get()), FALSE);
        AddToolTip(heading, ControlDescription(record));
        return;
    }
    if (record.kind == ControlKind::Switch) {
        row.box = Add(L"BUTTON", label, BS_AUTOCHECKBOX | WS_TABSTOP, whole);
    } else {
        AddToolTip(Add(L"STATIC", label, SS_NOTIFY | SS_CENTERIMAGE,
                       Area(kMargin, top, kLabelWidth, kControlHeight)),
                   tip);
    }
    if (record.kind == ControlKind::WholeNumber || record.kind == ControlKind::DecimalNumber) {
        row.slider = Add(TRACKBAR_CLASSW, L"", TBS_HORZ | TBS_NOTICKS | WS_TABSTOP,
                         Area(kMargin + kLabelWidth, top, kSliderWidth, kControlHeight));
        SetSliderBounds(row.slider, record);
        row.field = Add(L"EDIT", L"", WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP,
                        Area(2 * kMargin + kLabelWidth + kSliderWidth, top, kFieldWidth, kControlHeight));
    } else if (!row.box) {
        // The module itself writes the mask in each frame.
        const DWORD readOnly = record.kind == ControlKind::BitMask ? ES_READONLY : 0;
        row.field = Add(L"EDIT", L"", WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP | readOnly, right);
    }
    for (const HWND control : {row.box, row.slider, row.field}) {
        AddToolTip(control, tip);
    }
    rows_.push_back(row);
}

void ControlPanel::AddButtons(int top) {
    followClock_ = Add(L"BUTTON", L"Speed follows the clock", BS_AUTOCHECKBOX | WS_TABSTOP,
                       Area(kMargin, top, kInnerWidth / 2, kControlHeight), kFollowClockId);
    Add(L"BUTTON", L"Copy as command line", BS_PUSHBUTTON | WS_TABSTOP,
        Area(kMargin + kInnerWidth / 2, top, kInnerWidth / 2, kRowHeight), kCopyId);
}

HWND ControlPanel::Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, const RECT& area,
                       WORD id) {
    const HWND control =
        CreateWindowExW(0, windowClass, text.c_str(), style | WS_CHILD | WS_VISIBLE, area.left, area.top,
                        area.right - area.left, area.bottom - area.top, window_.Get(),
                        reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), class_.Module(), nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_.Get()), FALSE);
    return control;
}

void ControlPanel::AddToolTip(HWND control, const std::string& text) {
    std::wstring wide = FromUtf8(text);
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;  // every version of the library accepts this one
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = window_.Get();
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = wide.data();
    SendMessageW(toolTips_.Get(), TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

/// Beside the owner if the screen has room there, else over its right edge.
void ControlPanel::Place(int height) {
    RECT size = {0, 0, Scaled(kInnerWidth + 2 * kMargin), height};
    AdjustWindowRectEx(&size, kStyle, FALSE, kExtendedStyle);
    const HWND owner = GetWindow(window_.Get(), GW_OWNER);
    RECT view = {};
    GetWindowRect(owner, &view);
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTONEAREST), &monitor);
    const LONG width = size.right - size.left;
    const LONG left = std::min(view.right, monitor.rcWork.right - width);
    SetWindowPos(window_.Get(), nullptr, left, std::max(view.top, monitor.rcWork.top), width,
                 size.bottom - size.top, SWP_NOZORDER | SWP_NOACTIVATE);
}

void ControlPanel::Toggle() {
    if (Shown()) {
        ShowWindow(window_.Get(), SW_HIDE);
        SetFocus(GetWindow(window_.Get(), GW_OWNER));
    } else {
        ShowWindow(window_.Get(), SW_SHOW);
    }
}

void ControlPanel::Refresh(bool followsClock) {
    SendMessageW(followClock_, BM_SETCHECK, followsClock ? BST_CHECKED : BST_UNCHECKED, 0);
    for (Row& row : rows_) {
        const std::string value = ControlValueText(*row.record);
        if (value != row.shown && (!row.field || GetFocus() != row.field)) {
            ShowValue(row, value);
        }
    }
}

void ControlPanel::ShowValue(Row& row, const std::string& value) {
    row.shown = value;
    if (row.box) {
        SendMessageW(row.box, BM_SETCHECK, value == "true" ? BST_CHECKED : BST_UNCHECKED, 0);
    }
    if (row.slider) {
        SendMessageW(row.slider, TBM_SETPOS, TRUE, SliderPosition(*row.record));
    }
    if (row.field) {
        SetWindowTextW(row.field, FromUtf8(value).c_str());
    }
}

ControlPanel::Row* ControlPanel::RowOf(HWND control) {
    const auto found = std::ranges::find_if(rows_, [control](const Row& row) {
        return control && (control == row.box || control == row.slider || control == row.field);
    });
    return found != rows_.end() ? &*found : nullptr;
}

/// An invalid or conflicting value is replaced by the current one at the next `Refresh`.
void ControlPanel::CommitValue(Row& row, const std::string& value) {
    if (value != row.shown) {
        row.shown.clear();
        actions_.change({ControlLabel(*row.record), value});
    }
}

LRESULT CALLBACK ControlPanel::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* panel = reinterpret_cast<ControlPanel*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!panel || !panel->ready_) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    return panel->Handle(window, message, wParam, lParam);
}

LRESULT ControlPanel::Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_HSCROLL: {
            const auto slider = reinterpret_cast<HWND>(lParam);
            if (Row* row = RowOf(slider)) {
                const auto position = static_cast<int>(SendMessageW(slider, TBM_GETPOS, 0, 0));
                CommitValue(*row, SliderValue(*row->record, position));
            }
            return 0;
        }
        case WM_COMMAND:
            OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
            return 0;
        case WM_CLOSE:
            Toggle();
            return 0;
        case WM_SYSCOMMAND:  // as in the view
            return IsMenuKey(wParam, lParam) ? 0 : DefWindowProcW(window, message, wParam, lParam);
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

void ControlPanel::OnCommand(WORD id, WORD code, HWND control) {
    // Enter commits the field that has the focus; Escape closes the panel.
    Row* row = RowOf(id == IDOK ? GetFocus() : control);
    const bool edited = row && row->field && (id == IDOK || (code == EN_KILLFOCUS && control == row->field));
    if (edited) {
        CommitValue(*row, ToUtf8(TextOf(row->field)));
        ShowValue(*row, ControlValueText(*row->record));
    } else if (id == IDCANCEL) {
        Toggle();
    } else if (id == kFollowClockId) {
        actions_.followClock(SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED);
    } else if (id == kCopyId) {
        actions_.copyCommandLine();
    } else if (row && control == row->box && code == BN_CLICKED) {
        CommitValue(*row, SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED ? "true" : "false");
    }
}

}  // namespace pixelforge::preview
