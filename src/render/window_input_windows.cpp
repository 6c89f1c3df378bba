// The host window's subclass: the window procedure and the count of users.
#include "render/window_input.h"

#include <windows.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "base/win_handles.h"
#include "render/input_state.h"

namespace pixelforge {
namespace {

constexpr wchar_t kProcedureProperty[] = L"OriginalWndProc";

struct SubclassedWindow {
    HWND window;
    int users;
    bool replacedByUs;  ///< false if another copy of this module had already subclassed it
    SubclassedWindow* next;
};

/// All windows with at least one user. Raw on purpose: destructors would run in process detach.
SubclassedWindow* subclassedWindows = nullptr;
constinit SlimLock subclassLock;  ///< guards the list and the replacement of procedures

constexpr int kMaxCallWaits = 10;
constexpr DWORD kCallWaitMilliseconds = 10;

std::atomic<int> runningCalls{0};  ///< of `InputProcedure`, nested ones included
std::atomic<bool> modulePinned{false};

LRESULT CALLBACK InputProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// On some systems this comes too late during an unload.
void PinModule() noexcept {
    if (!modulePinned.exchange(true)) {
        HMODULE module = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(InputProcedure), &module);
    }
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

/// A subclass on top of this one may keep calling it after the unload.
void PinUnderAnotherSubclass(HWND window, WNDPROC original) noexcept {
    const auto top = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
    if (top != InputProcedure && top != original) {
        PinModule();
    }
}

LRESULT PassOn(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto original = reinterpret_cast<WNDPROC>(GetPropW(window, kProcedureProperty));
    if (original) {
        PinUnderAnotherSubclass(window, original);
    } else {
        // The drawing thread has just restored the original procedure.
        original = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(window, GWLP_WNDPROC));
    }
    return original && original != InputProcedure ? CallWindowProcW(original, window, message, wParam, lParam)
                                                  : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK InputProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    ++runningCalls;
    RecordInput(window, message, wParam, lParam);
    const LRESULT result = PassOn(window, message, wParam, lParam);
    --runningCalls;
    return result;
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

/// False as well if the window no longer exists.
bool IsOursOnTop(HWND window) noexcept {
    return GetWindowLongPtrW(window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(InputProcedure);
}

void RestoreProcedure(HWND window) noexcept {
    if (const HANDLE former = GetPropW(window, kProcedureProperty)) {
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(former));
        RemovePropW(window, kProcedureProperty);
    }
}

void RestoreOrPin(HWND window) noexcept {
    if (IsOursOnTop(window)) {
        RestoreProcedure(window);
    } else if (IsWindow(window)) {
        PinModule();
    }
}

/// The host may be inside a call itself, in its own procedure or a modal loop, and unload the module there.
void PinUnlessCallsEnd() noexcept {
    for (int wait = 0; runningCalls > 0 && !modulePinned && wait < kMaxCallWaits; ++wait) {
        Sleep(kCallWaitMilliseconds);
    }
    if (runningCalls > 0) {
        PinModule();
    }
}

/// The link to the window's entry, or the last link, which is null.
SubclassedWindow*& Find(HWND window) noexcept {
    SubclassedWindow** link = &subclassedWindows;
    while (*link && (*link)->window != window) {
        link = &(*link)->next;
    }
    return *link;
}

/// Null for the last link.
std::unique_ptr<SubclassedWindow> Unlink(SubclassedWindow*& link) noexcept {
    std::unique_ptr<SubclassedWindow> entry(link);
    if (entry) {
        link = entry->next;
    }
    return entry;
}

}  // namespace

bool AttachWindowInput(HWND window) {
    if (!window) {
        return false;
    }
    const std::lock_guard lock(subclassLock);
    SubclassedWindow*& entry = Find(window);
    std::unique_ptr<SubclassedWindow> created(entry ? nullptr
                                                    : new SubclassedWindow{window, 0, false, nullptr});
    const bool replaces = !GetPropW(window, kProcedureProperty);
    if (replaces && !ReplaceProcedure(window)) {
        return false;
    }
    if (created) {
        entry = created.release();
    }
    entry->replacedByUs |= replaces;
    ++entry->users;
    return true;
}

void DetachWindowInput(HWND window) noexcept {
    {
        const std::lock_guard lock(subclassLock);
        SubclassedWindow*& entry = Find(window);
        if (!entry || --entry->users > 0) {
            return;
        }
        if (Unlink(entry)->replacedByUs) {
            RestoreOrPin(window);
        }
    }
    PinUnlessCallsEnd();
}

void RestoreAllWindows() noexcept {
    {
        const std::lock_guard lock(subclassLock);
        while (const auto entry = Unlink(subclassedWindows)) {
            if (entry->replacedByUs) {
                RestoreOrPin(entry->window);
            }
        }
    }
    PinUnlessCallsEnd();
}

PixelRect ClientRectOf(HWND window) noexcept {
    RECT client = {};
    GetClientRect(window, &client);
    return PixelRect{client.left, client.top, client.right, client.bottom};
}

}  // namespace pixelforge
