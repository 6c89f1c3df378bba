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

constexpr int kFollowClockId = 100;
constexpr int kCopyId = 101;

/// A row's controls have successive identifiers; it lacks some.
constexpr int kFirstRowId = 200;
enum Part { kBox, kSlider, kField, kParts };

int IdOf(std::size_t row, Part part) {
    return kFirstRowId + static_cast<int>(row) * kParts + part;
}

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

std::optional<Number> NumberOf(const ControlRecord& record) {
    if (record.kind == ControlKind::WholeNumber) {
        const auto [least, most] = record.whole.bounds[0];
        return Number{1.0 * record.whole.value[0], 1.0 * least, 1.0 * most, 1.0};
    }
    if (record.kind != ControlKind::DecimalNumber) {
        return std::nullopt;
    }
    const auto [least, most] = record.decimal.bounds[0];
    return Number{record.decimal.value[0], least, most, (most - least) / kSteps};
}

LPARAM InSteps(double value, const Number& number) {
    return std::lround(value / number.step);
}

std::string SliderValue(LRESULT position, const ControlRecord& record) {
    const Number number = *NumberOf(record);
    const double value = std::clamp(static_cast<double>(position) * number.step, number.least, number.most);
    return record.kind == ControlKind::WholeNumber ? std::to_string(std::lround(value))
                                                   : std::to_string(value);
}

}  // namespace

ControlPanel::ControlPanel(HWND owner, const HostControls& controls, ControlChanges& changes,
                           std::function<void()> copy)
    : controls_(controls),
      changes_(changes),
      copyCommandLine_(std::move(copy)),
      font_(MakeFont(FW_NORMAL)),
      boldFont_(MakeFont(FW_BOLD)),
      window_(1, 1, {.owner = owner, .title = L"Controls"}),
      shown_(controls.Records().size()) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES | ICC_WIN95_CLASSES};
    InitCommonControlsEx(&classes);
    toolTips_.Reset(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, L"",
                                    WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0, window_.Handle(),
                                    nullptr, nullptr, nullptr));
    SendMessageW(toolTips_.Get(), TTM_SETMAXTIPWIDTH, 0, Scaled(kToolTipWidth));
    int top = kMargin / 2;
    for (std::size_t row = 0; row < shown_.size(); ++row) {
        AddRow(row, top);
        top += kRowHeight;
    }
    top += kMargin / 2;
    constexpr int kHalf = kInnerWidth / 2;
    Add(L"BUTTON", L"Speed follows the clock", BS_AUTOCHECKBOX | WS_TABSTOP, {0, top, kHalf}, kFollowClockId);
    Add(L"BUTTON", L"Copy as command line", BS_PUSHBUTTON | WS_TABSTOP, {kHalf, top, kHalf}, kCopyId);
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

void ControlPanel::AddRow(std::size_t row, int top) {
    const ControlRecord& record = *controls_.Records()[row];
    constexpr DWORD kText = SS_NOTIFY | SS_CENTERIMAGE;
    if (record.kind == ControlKind::GroupHeader) {
        const HWND heading = Add(L"STATIC", FromUtf8(ControlGroup(record)), kText, {0, top, kInnerWidth}, 0,
                                 ControlDescription(record));
        SendMessageW(heading, WM_SETFONT, reinterpret_cast<WPARAM>(boldFont_.Get()), FALSE);
        return;
    }
    const std::wstring label = FromUtf8(ControlLabel(record));
    const std::string tip = ControlDescription(record) + "\r\n" + ControlRangeText(record);
    if (record.kind == ControlKind::Switch) {
        Add(L"BUTTON", label, BS_AUTOCHECKBOX | WS_TABSTOP, {0, top, kInnerWidth}, IdOf(row, kBox), tip);
        return;
    }
    Add(L"STATIC", label, kText, {0, top, kSliderLeft}, 0, tip);
    const auto number = NumberOf(record);
    if (number) {
        const HWND slider = Add(TRACKBAR_CLASSW, L"", TBS_HORZ | TBS_NOTICKS | WS_TABSTOP,
                                {kSliderLeft, top, kSliderWidth}, IdOf(row, kSlider), tip);
        SendMessageW(slider, TBM_SETRANGEMIN, FALSE, InSteps(number->least, *number));
        SendMessageW(slider, TBM_SETRANGEMAX, TRUE, InSteps(number->most, *number));
    }
    const int left = number ? kFieldLeft : kSliderLeft;
    // The module itself writes the mask in each frame.
    const DWORD readOnly = record.kind == ControlKind::BitMask ? ES_READONLY : 0;
    Add(L"EDIT", L"", WS_BORDER | ES_AUTOHSCROLL | WS_TABSTOP | readOnly, {left, top, kInnerWidth - left},
        IdOf(row, kField), tip);
}

HWND ControlPanel::Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, Place place, int id,
                       const std::string& tip) {
    const HWND control = CreateWindowExW(
        0, windowClass, text.c_str(), style | WS_CHILD | WS_VISIBLE, Scaled(kMargin + place.left),
        Scaled(place.top), Scaled(place.width), Scaled(kControlHeight), window_.Handle(),
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
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
    CheckDlgButton(window_.Handle(), kFollowClockId, changes_.State().realTime ? BST_CHECKED : BST_UNCHECKED);
    for (std::size_t row = 0; row < shown_.size(); ++row) {
        const std::string value = ControlValueText(*controls_.Records()[row]);
        const HWND field = GetDlgItem(window_.Handle(), IdOf(row, kField));
        if (value != shown_[row] && (!field || GetFocus() != field)) {
            ShowValue(row, value);
        }
    }
}

void ControlPanel::ShowValue(std::size_t row, const std::string& value) {
    const HWND panel = window_.Handle();
    const ControlRecord& record = *controls_.Records()[row];
    shown_[row] = value;
    CheckDlgButton(panel, IdOf(row, kBox), value == "true" ? BST_CHECKED : BST_UNCHECKED);
    if (const auto number = NumberOf(record)) {
        SendDlgItemMessageW(panel, IdOf(row, kSlider), TBM_SETPOS, TRUE, InSteps(number->value, *number));
    }
    SetDlgItemTextW(panel, IdOf(row, kField), FromUtf8(value).c_str());
}

/// Sets the control to what this part of its row shows; a rejected value is replaced by the current one.
void ControlPanel::Commit(int id) {
    if (id < kFirstRowId) {
        return;
    }
    const HWND panel = window_.Handle();
    const auto row = static_cast<std::size_t>((id - kFirstRowId) / kParts);
    const int part = (id - kFirstRowId) % kParts;
    const ControlRecord& record = *controls_.Records()[row];
    wchar_t text[kHostTextUnits] = {};
    GetDlgItemTextW(panel, id, text, kHostTextUnits);
    const std::string value = part == kSlider
                                  ? SliderValue(SendDlgItemMessageW(panel, id, TBM_GETPOS, 0, 0), record)
                              : part == kBox ? std::string(IsDlgButtonChecked(panel, id) ? "true" : "false")
                                             : ToUtf8(text);
    if (value != shown_[row]) {
        changes_.Set({ControlLabel(record), value});
        ShowValue(row, ControlValueText(record));
    }
}

std::optional<LRESULT> ControlPanel::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_HSCROLL:
            Commit(GetDlgCtrlID(reinterpret_cast<HWND>(lParam)));
            return 0;
        case WM_COMMAND:
            OnCommand(LOWORD(wParam), HIWORD(wParam));
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

void ControlPanel::OnCommand(WORD id, WORD code) {
    if (id == IDCANCEL) {  // Escape
        Toggle();
    } else if (id == IDOK) {  // Enter in a field
        Commit(GetDlgCtrlID(GetFocus()));
    } else if (id == kFollowClockId) {
        changes_.State().realTime = IsDlgButtonChecked(window_.Handle(), id) == BST_CHECKED;
    } else if (id == kCopyId) {
        copyCommandLine_();
    } else if (code == EN_KILLFOCUS || code == BN_CLICKED) {
        Commit(id);
    }
}

}  // namespace pixelforge::preview
