// The rich edit control of the notice, and the edit control of messages.
#include "preview/view/notice_panel.h"

#include <richedit.h>
#include <shellapi.h>

#include <algorithm>
#include <string>

#include "service/service_urls.h"

namespace pixelforge::preview {
namespace {

constexpr int kHeight = 84;
constexpr COLORREF kBackground = RGB(16, 20, 28);  // first in the colour table of `NoticeAsRichText`
constexpr DWORD kStyle = WS_CHILD | WS_CLIPSIBLINGS | ES_MULTILINE | ES_READONLY;
constexpr COLORREF kMessageColor = RGB(255, 255, 255);
constexpr int kMessageMargin = 12;
constexpr int kShareOfHeight = 3;

/// Both libraries are part of the system; the newer one supports emoji and right-to-left text.
UniqueWindow MakeControl(HWND parent, UniqueHandle<LoadedLibraryTraits>& library) {
    constexpr const wchar_t* kChoices[][2] = {{L"Msftedit.dll", L"RICHEDIT50W"},
                                              {L"Riched20.dll", L"RichEdit20W"}};
    for (const auto& [file, className] : kChoices) {
        library.Reset(LoadLibraryExW(file, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
        UniqueWindow control(CreateWindowExW(0, className, L"", kStyle, 0, 0, 10, 10, parent, nullptr,
                                             GetModuleHandleW(nullptr), nullptr));
        if (control) {
            return control;
        }
    }
    return {};
}

/// Rejects forged links: a shader's name may contain the text that precedes a link.
bool IsServiceLink(const std::wstring& link) {
    return link.starts_with(std::wstring(L"https://") + kServiceHost + L"/");
}

}  // namespace

NoticePanel::NoticePanel(HWND parent) : parent_(parent), control_(MakeControl(parent, library_)) {
    if (control_) {
        SendMessageW(control_.Get(), EM_SETBKGNDCOLOR, 0, kBackground);
        SendMessageW(control_.Get(), EM_SETEVENTMASK, 0, ENM_MOUSEEVENTS);
        Place();
    }
}

void NoticePanel::Show(const std::optional<Notice>& notice) {
    notice_ = notice;
    if (!control_) {
        return;
    }
    if (notice) {
        SETTEXTEX settings = {};
        settings.codepage = CP_ACP;
        const std::string text = NoticeAsRichText(*notice);
        SendMessageW(control_.Get(), EM_SETTEXTEX, reinterpret_cast<WPARAM>(&settings),
                     reinterpret_cast<LPARAM>(text.c_str()));
    }
    // The focus stays with the shader's window.
    ShowWindow(control_.Get(), notice ? SW_SHOWNOACTIVATE : SW_HIDE);
}

void NoticePanel::Place() {
    if (control_) {
        RECT client = {};
        GetClientRect(parent_, &client);
        SetWindowPos(control_.Get(), HWND_TOP, 0, client.bottom - kHeight, client.right, kHeight,
                     SWP_NOACTIVATE);
    }
}

LRESULT NoticePanel::OnNotify(const NMHDR& header) {
    if (!control_ || header.hwndFrom != control_.Get() || header.code != EN_MSGFILTER) {
        return 0;
    }
    const auto& filter = reinterpret_cast<const MSGFILTER&>(header);
    if (filter.msg == WM_LBUTTONDOWN) {
        OpenLinkAt(filter.lParam);
        return 1;  // otherwise the control would take the focus
    }
    return 0;
}

/// The first line names the shader, the second its author.
void NoticePanel::OpenLinkAt(LPARAM point) {
    POINTL position = {static_cast<short>(LOWORD(point)), static_cast<short>(HIWORD(point))};
    const LRESULT character =
        SendMessageW(control_.Get(), EM_CHARFROMPOS, 0, reinterpret_cast<LPARAM>(&position));
    const LRESULT line = SendMessageW(control_.Get(), EM_EXLINEFROMCHAR, 0, character);
    if (!notice_ || line > 1) {
        return;
    }
    const std::wstring& link = line == 0 ? notice_->shaderLink : notice_->authorLink;
    if (IsServiceLink(link)) {
        ShellExecuteW(parent_, L"open", link.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    }
}

MessagePanel::MessagePanel(HWND parent, HFONT font)
    : parent_(parent),
      control_(CreateWindowExW(0, L"EDIT", L"", kStyle | WS_VSCROLL | ES_AUTOVSCROLL, 0, 0, 10, 10, parent,
                               nullptr, GetModuleHandleW(nullptr), nullptr)) {
    SendMessageW(control_.Get(), WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SendMessageW(control_.Get(), EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN,
                 MAKELPARAM(kMessageMargin, kMessageMargin));
    const WindowDc dc(control_.Get());
    const GdiSelection selection(dc.Get(), font);
    TEXTMETRICW metrics = {};
    if (GetTextMetricsW(dc.Get(), &metrics)) {
        lineHeight_ = static_cast<int>(metrics.tmHeight);
    }
}

bool MessagePanel::Show(const std::wstring& text) {
    if (text == text_) {
        return false;
    }
    text_ = text;
    SetWindowTextW(control_.Get(), text.c_str());
    Place();
    ShowWindow(control_.Get(), text.empty() ? SW_HIDE : SW_SHOWNOACTIVATE);
    return true;
}

void MessagePanel::Place() {
    RECT client = {};
    GetClientRect(parent_, &client);
    const int most = static_cast<int>(client.bottom) / kShareOfHeight;
    // The width first: it decides into how many lines the text breaks.
    SetWindowPos(control_.Get(), HWND_TOP, 0, 0, client.right, most, SWP_NOACTIVATE);
    const auto lines = static_cast<int>(SendMessageW(control_.Get(), EM_GETLINECOUNT, 0, 0));
    const int shown = std::min(most, lines * lineHeight_ + 2);
    SetWindowPos(control_.Get(), HWND_TOP, 0, 0, client.right, shown, SWP_NOACTIVATE);
    height_ = text_.empty() ? 0 : shown;
}

LRESULT MessagePanel::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) const {
    if (message == WM_MOUSEWHEEL) {
        return SendMessageW(control_.Get(), message, wParam, lParam);
    }
    if (reinterpret_cast<HWND>(lParam) != control_.Get()) {
        return DefWindowProcW(parent_, message, wParam, lParam);
    }
    if (message == WM_COMMAND && HIWORD(wParam) == EN_SETFOCUS) {
        SetFocus(parent_);
    }
    if (message == WM_CTLCOLORSTATIC) {
        SetTextColor(reinterpret_cast<HDC>(wParam), kMessageColor);
        SetBkColor(reinterpret_cast<HDC>(wParam), RGB(0, 0, 0));
        return reinterpret_cast<LRESULT>(GetStockObject(BLACK_BRUSH));
    }
    return 0;
}

}  // namespace pixelforge::preview
