// Posts scripted events as window messages.
#include "preview/host/input_events.h"

#include "preview/host/host_window.h"

namespace pixelforge::preview {
namespace {

/// The lParam of WM_KEYDOWN and WM_KEYUP.
LPARAM KeyFlags(std::int32_t virtualKey, bool up) {
    const UINT scan = MapVirtualKeyW(static_cast<UINT>(virtualKey), MAPVK_VK_TO_VSC) & 0xFF;
    // Repeat count 1; bits 30 and 31 of WM_KEYUP: previously down, being released.
    return static_cast<LPARAM>(1u | scan << 16 | (up ? 0xC0000000u : 0u));
}

/// Posted messages do not change the state of Shift, Control and Alt, which a window asks for.
void HoldKey(std::int32_t virtualKey, bool down) {
    BYTE keys[256] = {};
    GetKeyboardState(keys);
    keys[virtualKey & 0xFF] = down ? 0x80 : 0;
    SetKeyboardState(keys);
}

LPARAM Position(const InputEvent& event) {
    return MAKELPARAM(static_cast<WORD>(event.a), static_cast<WORD>(event.b));
}

void Deliver(const InputEvent& event, HostWindow& window) {
    const HWND handle = window.Handle();
    const auto key = static_cast<WPARAM>(event.a);
    switch (event.kind) {
        case EventKind::KeyDown:
            HoldKey(event.a, true);
            PostMessageW(handle, WM_KEYDOWN, key, KeyFlags(event.a, false));
            break;
        case EventKind::KeyUp:
            HoldKey(event.a, false);
            PostMessageW(handle, WM_KEYUP, key, KeyFlags(event.a, true));
            break;
        case EventKind::MouseMove:
            PostMessageW(handle, WM_MOUSEMOVE, 0, Position(event));
            break;
        case EventKind::ButtonDown:
            PostMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, Position(event));
            break;
        case EventKind::ButtonUp:
            PostMessageW(handle, WM_LBUTTONUP, 0, Position(event));
            break;
        case EventKind::Resize:
            window.SetClientSize(event.a, event.b);
            break;
    }
}

}  // namespace

void EventPlayer::Play(std::int32_t frame, HostWindow& window) {
    for (; next_ < events_.size() && events_[next_].frame <= frame; ++next_) {
        Deliver(events_[next_], window);
    }
}

}  // namespace pixelforge::preview
