// Builds the panel's controls and turns their messages into settings.
#include "preview/view/control_panel.h"

#include <commctrl.h>

#include <algorithm>
#include <cmath>

#include "base/text.h"

namespace pixelforge::preview {
namespace {

// Pixels at 96 dots per inch.
constexpr int kRowHeight = 24;
constexpr int kControlHeight = 20;
constexpr int kSliderLeft = 112;
constexpr int kSliderWidth = 180;
constexpr int kFieldLeft = 302;
constexpr int kInnerWidth = 378;
constexpr int kMargin = 10;
constexpr int kToolTipWidth = 320;
constexpr int kFontHeight = 13;

/// Of a slider for a decimal number.
constexpr int kSteps = 1000;

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

int SliderPosition(const ControlRecord& record) {
    if (record.kind == ControlKind::WholeNumber) {
        return record.whole.value[0];
    }
    const auto [least, most] = record.decimal.bounds[0];
    return static_cast<int>(std::lround((record.decimal.value[0] - least) / (most - least) * kSteps));
}

std::string SliderValue(const ControlRecord& record, int position) {
    if (record.kind == ControlKind::WholeNumber) {
        return std::to_string(position);
    }
    const auto [least, most] = record.decimal.bounds[0];
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

ControlPanel::ControlPanel(HWND owner, const HostControls& controls, ControlChanges& changes,
                           std::function<void()> copy)
    : changes_(changes),
      copyCommandLine_(std::move(copy)),
      font_(MakeFont(FW_NORMAL)),
      boldFont_(MakeFont(FW_BOLD)),
      window_(1, 1, {.owner = owner, .title = L"Controls"}) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES | ICC_WIN95_CLASSES};
    InitCommonControlsEx(&classes);
    toolTips_.Reset(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, L"",
                                    WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0, window_.Handle(),
                                    nullptr, nullptr, nullptr));
    SendMessageW(toolTips_.Get(), TTM_SETMAXTIPWIDTH, 0, Scaled(kToolTipWidth));
    int top = kMargin / 2;
    for (const auto& record : controls.Records()) {
        AddRow(*record, top);
        top += kRowHeight;
    }
    top += kMargin / 2;
    constexpr int kHalf = kInnerWidth / 2;
    followClock_ = Add(L"BUTTON", L"Speed follows the clock", BS_AUTOCHECKBOX | WS_TABSTOP, {0, top, kHalf},
                       {}, kFollowClockId);
    Add(L"BUTTON", L"Copy as command line", BS_PUSHBUTTON | WS_TABSTOP, {kHalf, top, kHalf}, {}, kCopyId);
    window_.SetClientSize(Scaled(kInnerWidth + 2 * kMargin), Scaled(top + kRowHeight + kMargin));
    MoveBesideOwner();
    window_.SetHandler([this](auto... message) { return Handle(message...); });
}

void ControlPanel::AddRow(const ControlRecord& record, int top) {
    const std::wstring label = FromUtf8(ControlLabel(record));
    const std::string tip = ControlDescription(record) + "\r\n" + ControlRangeText(record);
    constexpr DWORD kText = SS_NOTIFY | SS_CENTERIMAGE;
    constexpr DWORD kField = WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP;
    Row row;
    row.record = &record;
    switch (record.kind) {
        case ControlKind::GroupHeader: {
            const HWND heading = Add(L"STATIC", FromUtf8(ControlGroup(record)), kText, {0, top, kInnerWidth},
                                     ControlDescription(record));
            SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(boldFont_.Get()), FALSE);
            return;
        }
        case ControlKind::Switch:
            row.box = Add(L"BUTTON", label, BS_AUTOCHECKBOX | WS_TABSTOP, {0, top, kInnerWidth}, tip);
            break;
        case ControlKind::WholeNumber:
        case ControlKind::DecimalNumber:
            Add(L"STATIC", label, kText, {0, top, kSliderLeft}, tip);
            row.slider = Add(TRACKBAR_CLASSW, L"", TBS_HORZ | TBS_NOTICKS | WS_TABSTOP,
                             {kSliderLeft, top, kSliderWidth}, tip);
            SetSliderBounds(row.slider, record);
            row.field = Add(L"EDIT", L"", kField, {kFieldLeft, top, kInnerWidth - kFieldLeft}, tip);
            break;
        default:
            Add(L"STATIC", label, kText, {0, top, kSliderLeft}, tip);
            // The module itself writes the mask in each frame.
            row.field = Add(L"EDIT", L"", kField | (record.kind == ControlKind::BitMask ? ES_READONLY : 0),
                            {kSliderLeft, top, kInnerWidth - kSliderLeft}, tip);
    }
    rows_.push_back(row);
}

HWND ControlPanel::Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, Place place,
                       const std::string& tip, WORD id) {
    const HWND control = CreateWindowExW(
        0, windowClass, text.c_str(), style | WS_CHILD | WS_VISIBLE, Scaled(kMargin + place.left),
        Scaled(place.top), Scaled(place.width), Scaled(kControlHeight), window_.Handle(),
        reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_.Get()), FALSE);
    std::wstring wideTip = FromUtf8(tip);
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;  // every version of the library accepts this one
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = window_.Handle();
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = wideTip.data();  // if empty, nothing is shown
    SendMessageW(toolTips_.Get(), TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    return control;
}

/// Over the owner's right edge if the screen has no room beside it.
void ControlPanel::MoveBesideOwner() {
    const HWND owner = GetWindow(window_.Handle(), GW_OWNER);
    RECT panel = {};
    RECT view = {};
    GetWindowRect(window_.Handle(), &panel);
    GetWindowRect(owner, &view);
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTONEAREST), &monitor);
    SetWindowPos(window_.Handle(), nullptr,
                 std::min(view.right, monitor.rcWork.right - (panel.right - panel.left)),
                 std::max(view.top, monitor.rcWork.top), 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void ControlPanel::Toggle() {
    const bool shown = IsWindowVisible(window_.Handle()) != FALSE;
    ShowWindow(window_.Handle(), shown ? SW_HIDE : SW_SHOW);
    if (shown) {
        SetFocus(GetWindow(window_.Handle(), GW_OWNER));
    }
}

void ControlPanel::Refresh() {
    if (!IsWindowVisible(window_.Handle())) {
        return;
    }
    SendMessageW(followClock_, BM_SETCHECK, changes_.FollowsClock() ? BST_CHECKED : BST_UNCHECKED, 0);
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
        changes_.Set({ControlLabel(*row.record), value});
    }
}

std::optional<LRESULT> ControlPanel::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
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
        case WM_ERASEBKGND: {
            const SIZE size = window_.ClientSize();
            const RECT area = {0, 0, size.cx, size.cy};
            FillRect(reinterpret_cast<HDC>(wParam), &area, GetSysColorBrush(COLOR_BTNFACE));
            return 1;
        }
        case WM_CLOSE:
            Toggle();
            return 0;
        default:
            return std::nullopt;
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
        changes_.FollowClock(SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED);
    } else if (id == kCopyId) {
        copyCommandLine_();
    } else if (row && control == row->box && code == BN_CLICKED) {
        CommitValue(*row, SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED ? "true" : "false");
    }
}

}  // namespace pixelforge::preview
