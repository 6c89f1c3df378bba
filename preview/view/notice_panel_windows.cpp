// The rich edit control of the notice.
#include "preview/view/notice_panel.h"

#include <richedit.h>
#include <shellapi.h>

#include <string>

#include "service/service_urls.h"

namespace pixelforge::preview {
namespace {

constexpr int kHeight = 84;
constexpr COLORREF kBackground = RGB(16, 20, 28);  // the first colour of the notice's table
constexpr DWORD kStyle = WS_CHILD | WS_CLIPSIBLINGS | ES_MULTILINE | ES_READONLY;

/// Both libraries are parts of the system; the newer one draws emoji and both directions of writing.
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

/// A shader's name can imitate the words that a link follows; such a link leads nowhere.
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
        SETTEXTEX how{};
        how.codepage = CP_ACP;
        const std::string text = NoticeAsRichText(*notice);
        SendMessageW(control_.Get(), EM_SETTEXTEX, reinterpret_cast<WPARAM>(&how),
                     reinterpret_cast<LPARAM>(text.c_str()));
    }
    // Without the focus, which stays with the shader's window.
    ShowWindow(control_.Get(), notice ? SW_SHOWNOACTIVATE : SW_HIDE);
}

void NoticePanel::Place() {
    if (control_) {
        RECT client{};
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
        return 1;  // not handled by the control, which would take the focus
    }
    return 0;
}

/// The names stand in the first two lines.
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

}  // namespace pixelforge::preview
