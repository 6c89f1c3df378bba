// The host window's subclass: the window procedure and the count of users.
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
    bool replacedByUs;  ///< false if another copy of this module had already subclassed it
};

/// All windows with at least one user.
struct Subclasses {
    CriticalSection section;
    std::vector<SubclassedWindow> windows;
};

Subclasses& HostSubclasses() {
    static Subclasses subclasses;
    return subclasses;
}

void RecordInput(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
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
    RecordInput(window, message, wParam, lParam);
    auto original = reinterpret_cast<WNDPROC>(GetPropW(window, kProcedureProperty));
    if (!original) {
        // The drawing thread has just restored the original procedure.
        original = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
    }
    return original && original != InputProcedure ? CallWindowProcW(original, window, message, wParam, lParam)
                                                  : DefWindowProcW(window, message, wParam, lParam);
}

/// Sets the property first: on another thread, the window may call the new procedure immediately.
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
    Subclasses& subclasses = HostSubclasses();
    const std::lock_guard lock(subclasses.section);
    auto entry = Find(subclasses.windows, window);
    if (entry == subclasses.windows.end()) {
        entry = subclasses.windows.insert(entry, SubclassedWindow{window, 0, false});
    }
    if (!GetPropW(window, kProcedureProperty)) {
        if (!ReplaceProcedure(window)) {
            if (entry->users == 0) {
                subclasses.windows.erase(entry);
            }
            return false;
        }
        entry->replacedByUs = true;
    }
    ++entry->users;
    return true;
}

void DetachWindowInput(HWND window) noexcept {
    Subclasses& subclasses = HostSubclasses();
    const std::lock_guard lock(subclasses.section);
    const auto entry = Find(subclasses.windows, window);
    if (entry == subclasses.windows.end()) {
        return;
    }
    if (--entry->users == 0) {
        if (entry->replacedByUs) {
            RestoreProcedure(window);
        }
        subclasses.windows.erase(entry);
    }
}

PixelRect ClientRectOf(HWND window) noexcept {
    RECT client = {};
    GetClientRect(window, &client);
    return PixelRect{client.left, client.top, client.right, client.bottom};
}

}  // namespace pixelforge
