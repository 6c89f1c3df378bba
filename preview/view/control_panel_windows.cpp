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

/// A number with its bounds; a slider counts in steps.
struct Number {
    double value;
    double least;
    double most;
    double step;
};

Number NumberOf(const ControlRecord& record) {
    if (record.kind == ControlKind::WholeNumber) {
        const auto [least, most] = record.whole.bounds[0];
        return {1.0 * record.whole.value[0], 1.0 * least, 1.0 * most, 1.0};
    }
    const auto [least, most] = record.decimal.bounds[0];
    return {record.decimal.value[0], least, most, (most - least) / kSteps};
}

LPARAM InSteps(double value, const Number& number) {
    return std::lround(value / number.step);
}

std::string SliderValue(HWND slider, const ControlRecord& record) {
    const Number number = NumberOf(record);
    const auto position = static_cast<double>(SendMessageW(slider, TBM_GETPOS, 0, 0));
    const double value = std::clamp(position * number.step, number.least, number.most);
    return record.kind == ControlKind::WholeNumber ? std::to_string(std::lround(value))
                                                   : std::to_string(value);
}

bool IsChecked(HWND box) {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
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
    // Over the owner's right edge if the desktop has no room beside it.
    RECT panel = {};
    RECT view = {};
    GetWindowRect(window_.Handle(), &panel);
    GetWindowRect(owner, &view);
    const int end = GetSystemMetrics(SM_XVIRTUALSCREEN) + GetSystemMetrics(SM_CXVIRTUALSCREEN);
    SetWindowPos(window_.Handle(), nullptr, std::min<int>(view.right, end - panel.right + panel.left),
                 view.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    window_.SetHandler([this](auto... message) { return Handle(message...); });
}

void ControlPanel::AddRow(const ControlRecord& record, int top) {
    constexpr DWORD kText = SS_NOTIFY | SS_CENTERIMAGE;
    if (record.kind == ControlKind::GroupHeader) {
        const HWND heading = Add(L"STATIC", FromUtf8(ControlGroup(record)), kText, {0, top, kInnerWidth},
                                 ControlDescription(record));
        SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(boldFont_.Get()), FALSE);
        return;
    }
    const std::wstring label = FromUtf8(ControlLabel(record));
    const std::string tip = ControlDescription(record) + "\r\n" + ControlRangeText(record);
    Row& row = rows_.emplace_back(Row{.record = &record});
    if (record.kind == ControlKind::Switch) {
        row.box = Add(L"BUTTON", label, BS_AUTOCHECKBOX | WS_TABSTOP, {0, top, kInnerWidth}, tip);
        return;
    }
    Add(L"STATIC", label, kText, {0, top, kSliderLeft}, tip);
    int fieldLeft = kSliderLeft;
    if (record.kind == ControlKind::WholeNumber || record.kind == ControlKind::DecimalNumber) {
        fieldLeft = kFieldLeft;
        row.slider = Add(TRACKBAR_CLASSW, L"", TBS_HORZ | TBS_NOTICKS | WS_TABSTOP,
                         {kSliderLeft, top, kSliderWidth}, tip);
        const Number number = NumberOf(record);
        SendMessageW(row.slider, TBM_SETRANGEMIN, FALSE, InSteps(number.least, number));
        SendMessageW(row.slider, TBM_SETRANGEMAX, TRUE, InSteps(number.most, number));
    }
    // The module itself writes the mask in each frame.
    const DWORD readOnly = record.kind == ControlKind::BitMask ? ES_READONLY : 0;
    row.field = Add(L"EDIT", L"", WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP | readOnly,
                    {fieldLeft, top, kInnerWidth - fieldLeft}, tip);
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
    SendMessageW(followClock_, BM_SETCHECK, changes_.State().realTime ? BST_CHECKED : BST_UNCHECKED, 0);
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
        const Number number = NumberOf(*row.record);
        SendMessageW(row.slider, TBM_SETPOS, TRUE, InSteps(number.value, number));
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
                CommitValue(*row, SliderValue(slider, *row->record));
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
        changes_.State().realTime = IsChecked(control);
    } else if (id == kCopyId) {
        copyCommandLine_();
    } else if (row && control == row->box && code == BN_CLICKED) {
        CommitValue(*row, IsChecked(control) ? "true" : "false");
    }
}

}  // namespace pixelforge::preview
