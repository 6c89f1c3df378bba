// The host window's subclass: window procedure and the count of its users.
#include "render/window_input.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "base/win_handles.h"
#include "render/input_state.h"

namespace pixelforge {

namespace {

constexpr wchar_t kProcedureProperty[] = L"OriginalWndProc";

struct SubclassedWindow {
    HWND window;
    int users;
    bool replacedByUs;  ///< another copy of this module may have been first; its procedure stays then
};

/// Exists from the first use on; without users there are no entries.
struct Bookkeeping {
    CriticalSection section;
    std::vector<SubclassedWindow> windows;
};

Bookkeeping& Books() {
    static Bookkeeping books;
    return books;
}

void TakeInput(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    InputState& input = HostInput();
    switch (message) {
        case WM_KEYDOWN:
            input.KeyDown(wParam);
            break;
        case WM_KEYUP:
            input.KeyUp(wParam);
            break;
        case WM_MOUSEMOVE:
            input.MouseMove(lParam, ClientRectOf(window).bottom);
            break;
        case WM_LBUTTONDOWN:
            input.ButtonDown(lParam, ClientRectOf(window).bottom);
            break;
        case WM_LBUTTONUP:
            input.ButtonUp();
            break;
        default:
            break;
    }
}

LRESULT CALLBACK InputProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    TakeInput(window, message, wParam, lParam);
    auto original = reinterpret_cast<WNDPROC>(GetPropW(window, kProcedureProperty));
    if (!original) {
        // The drawing thread has just taken the subclass away: the window's own procedure is back already.
        original = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
    }
    return original && original != InputProcedure ? CallWindowProcW(original, window, message, wParam, lParam)
                                                  : DefWindowProcW(window, message, wParam, lParam);
}

/// The property is there before the procedure can be called: the window may belong to another thread.
bool ReplaceProcedure(HWND window) noexcept {
    const LONG_PTR former = GetWindowLongPtrW(window, GWLP_WNDPROC);
    if (!former || !SetPropW(window, kProcedureProperty, reinterpret_cast<HANDLE>(former))) {
        return false;
    }
    if (!SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(InputProcedure))) {
        RemovePropW(window, kProcedureProperty);
        return false;
    }
    return true;
}

void RestoreProcedure(HWND window) noexcept {
    if (const HANDLE former = GetPropW(window, kProcedureProperty)) {
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(former));
        RemovePropW(window, kProcedureProperty);
    }
}

std::vector<SubclassedWindow>::iterator Find(std::vector<SubclassedWindow>& windows, HWND window) noexcept {
    return std::find_if(windows.begin(), windows.end(),
                        [window](const SubclassedWindow& entry) { return entry.window == window; });
}

}  // namespace

bool AttachWindowInput(HWND window) {
    if (!window) {
        return false;
    }
    Bookkeeping& books = Books();
    const std::lock_guard lock(books.section);
    auto entry = Find(books.windows, window);
    if (entry == books.windows.end()) {
        entry = books.windows.insert(entry, SubclassedWindow{window, 0, false});
    }
    if (!GetPropW(window, kProcedureProperty)) {
        if (!ReplaceProcedure(window)) {
            if (entry->users == 0) {
                books.windows.erase(entry);
            }
            return false;
        }
        entry->replacedByUs = true;
    }
    ++entry->users;
    return true;
}

void DetachWindowInput(HWND window) noexcept {
    Bookkeeping& books = Books();
    const std::lock_guard lock(books.section);
    const auto entry = Find(books.windows, window);
    if (entry == books.windows.end()) {
        return;
    }
    if (--entry->users == 0) {
        if (entry->replacedByUs) {
            RestoreProcedure(window);
        }
        books.windows.erase(entry);
    }
}

PixelRect ClientRectOf(HWND window) noexcept {
    RECT client{};
    GetClientRect(window, &client);
    return PixelRect{client.left, client.top, client.right, client.bottom};
}

}  // namespace pixelforge
