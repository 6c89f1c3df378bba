// Posts scripted events as window messages.
#include "preview/host/input_events.h"

#include "preview/host/host_window.h"

namespace pixelforge::preview {
namespace {

/// In the order of `EventKind`.
constexpr UINT kMessages[] = {WM_KEYDOWN, WM_KEYUP, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONUP};

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

void Deliver(const InputEvent& event, HostWindow& window) {
    if (event.kind == EventKind::Resize) {
        return window.SetClientSize(event.a, event.b);
    }
    const UINT message = kMessages[static_cast<std::size_t>(event.kind)];
    if (message == WM_KEYDOWN || message == WM_KEYUP) {
        HoldKey(event.a, message == WM_KEYDOWN);
        PostMessageW(window.Handle(), message, static_cast<WPARAM>(event.a),
                     KeyFlags(event.a, message == WM_KEYUP));
    } else {
        PostMessageW(window.Handle(), message, message == WM_LBUTTONDOWN ? MK_LBUTTON : 0,
                     MAKELPARAM(static_cast<WORD>(event.a), static_cast<WORD>(event.b)));
    }
}

}  // namespace

void EventPlayer::Play(std::int32_t frame, HostWindow& window) {
    for (; next_ < events_.size() && events_[next_].frame <= frame; ++next_) {
        Deliver(events_[next_], window);
    }
}

}  // namespace pixelforge::preview
