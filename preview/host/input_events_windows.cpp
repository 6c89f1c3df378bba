// Parses event files and posts the events as window messages.
#include "preview/host/input_events.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <string>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/host_error.h"
#include "preview/host/host_window.h"

namespace pixelforge::preview {
namespace {

struct Action {
    std::string_view name;
    unsigned message;
    std::size_t numbers;
    std::int32_t least;
    std::int32_t most;
};

// Mouse messages carry positions as signed 16-bit halves.
constexpr Action kActions[] = {
    {"key-down", WM_KEYDOWN, 1, 0, 255},
    {"key-up", WM_KEYUP, 1, 0, 255},
    {"mouse-move", WM_MOUSEMOVE, 2, -32768, 32767},
    {"button-down", WM_LBUTTONDOWN, 2, -32768, 32767},
    {"button-up", WM_LBUTTONUP, 2, -32768, 32767},
    {"resize", WM_SIZE, 2, 1, kLargestSide},
};

/// False for anything but a number in these bounds.
bool ReadNumber(std::string_view word, std::int32_t least, std::int32_t most, std::int32_t& number) {
    const bool hex = word.starts_with("0x");
    word.remove_prefix(hex ? 2 : 0);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, hex ? 16 : 10);
    return error == std::errc() && end == word.data() + word.size() && number >= least && number <= most;
}

/// False for anything but an event.
bool ReadEvent(const std::vector<std::string>& words, InputEvent& event) {
    const auto action = std::ranges::find_if(
        kActions, [&](const Action& row) { return words.size() == row.numbers + 2 && words[1] == row.name; });
    if (action == std::end(kActions)) {
        return false;
    }
    event.message = action->message;
    return ReadNumber(words[0], 0, 10'000'000, event.frame) &&
           ReadNumber(words[2], action->least, action->most, event.a) &&
           (action->numbers < 2 || ReadNumber(words[3], action->least, action->most, event.b));
}

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
    if (event.message == WM_SIZE) {
        window.SetClientSize(event.a, event.b);
    } else if (event.message == WM_KEYDOWN || event.message == WM_KEYUP) {
        HoldKey(event.a, event.message == WM_KEYDOWN);
        PostMessageW(window.Handle(), event.message, static_cast<WPARAM>(event.a),
                     KeyFlags(event.a, event.message == WM_KEYUP));
    } else {
        PostMessageW(window.Handle(), event.message, event.message == WM_LBUTTONDOWN ? MK_LBUTTON : 0,
                     MAKELPARAM(static_cast<WORD>(event.a), static_cast<WORD>(event.b)));
    }
}

}  // namespace

std::vector<InputEvent> ParseInputEvents(std::string_view text, std::string_view fileName) {
    std::vector<InputEvent> events;
    for (int number = 1; !text.empty(); ++number) {
        const std::string_view line = TakeLine(text);
        std::istringstream stream{std::string(line.substr(0, line.find('#')))};
        const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
        if (!words.empty() && !ReadEvent(words, events.emplace_back())) {
            throw HostError(ExitStatus::WrongUsage,
                            std::string(fileName) + ":" + std::to_string(number) +
                                ": not an event; expected FRAME key-down|key-up CODE, FRAME "
                                "mouse-move|button-down|button-up X Y or FRAME resize WIDTH HEIGHT");
        }
    }
    std::ranges::stable_sort(events, {}, &InputEvent::frame);
    return events;
}

void EventPlayer::Play(std::int32_t frame, HostWindow& window) {
    for (; next_ < events_.size() && events_[next_].frame <= frame; ++next_) {
        Deliver(events_[next_], window);
    }
}

}  // namespace pixelforge::preview
