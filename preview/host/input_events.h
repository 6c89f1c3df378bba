// Scripted keys, mouse and resizing: the event file and its delivery to the host's window.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace pixelforge::preview {

class HostWindow;

struct InputEvent {
    std::int32_t frame = 0;  ///< delivered before this frame is drawn; frames count from 0
    unsigned message = 0;    ///< window message; `WM_SIZE` for a resize
    std::int32_t a = 0;      ///< virtual-key code, x, or width
    std::int32_t b = 0;      ///< y from the top, or height
};

/// Reads one event per line, "FRAME ACTION NUMBERS"; ignores blank lines and comments from "#". Sorted by
/// frame, events of one frame in file order. Throws `HostError` with `WrongUsage` naming `fileName` and
/// the line.
std::vector<InputEvent> ParseInputEvents(std::string_view text, std::string_view fileName);

class EventPlayer {
public:
    explicit EventPlayer(std::vector<InputEvent> events) : events_(std::move(events)) {}

    /// Posts the messages of all pending events up to this frame, as the system would for a user. A resize
    /// takes effect immediately.
    void Play(std::int32_t frame, HostWindow& window);

private:
    std::vector<InputEvent> events_;
    std::size_t next_ = 0;
};

}  // namespace pixelforge::preview
