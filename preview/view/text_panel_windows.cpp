// The rich edit control of a panel.
#include "preview/view/text_panel.h"

#include <richedit.h>
#include <shellapi.h>

#include <algorithm>

#include "service/service_urls.h"

namespace pixelforge::preview {
namespace {

constexpr COLORREF kBackground = RGB(16, 20, 28);  // first in the colour table of the rich text
constexpr DWORD kStyle = WS_CHILD | WS_CLIPSIBLINGS | WS_VSCROLL | ES_MULTILINE | ES_READONLY;
constexpr int kLineHeight = 24;  ///< enough for one line of text
constexpr int kShareOfHeight = 3;

/// Rejects forged links: a shader's name may contain the text that precedes a link.
const std::wstring kServiceStart = std::wstring(L"https://") + kServiceHost + L"/";

}  // namespace

TextPanel::TextPanel(HWND parent, Edge edge)
    : parent_(parent),
      edge_(edge),
      library_(LoadLibraryExW(L"Msftedit.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)),
      control_(CreateWindowExW(0, L"RICHEDIT50W", L"", kStyle, 0, 0, 10, 10, parent, nullptr,
                               GetModuleHandleW(nullptr), nullptr)) {
    Send(EM_SETBKGNDCOLOR, 0, kBackground);
    Send(EM_SETEVENTMASK, 0, ENM_MOUSEEVENTS);
}

LRESULT TextPanel::Send(UINT message, WPARAM wParam, LPARAM lParam) const {
    return SendMessageW(control_.Get(), message, wParam, lParam);
}

void TextPanel::Show(const std::string& richText, const std::vector<std::wstring>& links) {
    if (richText == text_) {
        return;
    }
    text_ = richText;
    links_ = links;
    SETTEXTEX settings = {};
    settings.codepage = CP_ACP;
    Send(EM_SETTEXTEX, reinterpret_cast<WPARAM>(&settings), reinterpret_cast<LPARAM>(text_.c_str()));
    Place();
    Send(WM_VSCROLL, SB_TOP, 0);
    ShowWindow(control_.Get(), text_.empty() ? SW_HIDE : SW_SHOWNOACTIVATE);
    InvalidateRect(parent_, nullptr, FALSE);
}

void TextPanel::Place() {
    RECT client = {};
    GetClientRect(parent_, &client);
    const int most = static_cast<int>(client.bottom) / kShareOfHeight;
    // The width first: it decides into how many lines the text breaks.
    SetWindowPos(control_.Get(), HWND_TOP, 0, 0, client.right, most, SWP_NOACTIVATE | SWP_NOMOVE);
    const auto topOf = [&](LRESULT character) {
        POINTL position = {};
        Send(EM_POSFROMCHAR, reinterpret_cast<WPARAM>(&position), character);
        return static_cast<int>(position.y);
    };
    const auto lastLine = static_cast<WPARAM>(Send(EM_GETLINECOUNT, 0, 0) - 1);
    const int textHeight = topOf(Send(EM_LINEINDEX, lastLine, 0)) - topOf(0) + kLineHeight;
    height_ = text_.empty() || !control_ ? 0 : std::min(most, textHeight);
    SetWindowPos(control_.Get(), HWND_TOP, 0, edge_ == Edge::Upper ? 0 : client.bottom - height_,
                 client.right, height_, SWP_NOACTIVATE);
}

void TextPanel::OnWheel(WPARAM wParam) const {
    const WPARAM step = GET_WHEEL_DELTA_WPARAM(wParam) > 0 ? SB_LINEUP : SB_LINEDOWN;
    for (int line = 0; line < 3; ++line) {
        Send(WM_VSCROLL, step, 0);
    }
}

LRESULT TextPanel::OnNotify(LPARAM lParam) const {
    const auto& filter = *reinterpret_cast<const MSGFILTER*>(lParam);
    const NMHDR& header = filter.nmhdr;
    if (!control_ || header.hwndFrom != control_.Get() || header.code != EN_MSGFILTER) {
        return 0;
    }
    if (filter.msg == WM_MOUSEWHEEL) {
        OnWheel(filter.wParam);
    } else if (filter.msg == WM_LBUTTONDOWN) {
        POINTL point = {static_cast<short>(LOWORD(filter.lParam)), static_cast<short>(HIWORD(filter.lParam))};
        const LRESULT character = Send(EM_CHARFROMPOS, 0, reinterpret_cast<LPARAM>(&point));
        const auto line = static_cast<std::size_t>(Send(EM_EXLINEFROMCHAR, 0, character));
        if (line < links_.size() && links_[line].starts_with(kServiceStart)) {
            ShellExecuteW(parent_, L"open", links_[line].c_str(), nullptr, nullptr, SW_SHOWNORMAL);
        }
    }
    return 1;  // otherwise a click would set the focus
}

}  // namespace pixelforge::preview
